// The parts of the Python module quarnnc, each adding its classes and functions to the module.
#pragma once

#include <pybind11/pybind11.h>

namespace Quarn::Python {

namespace py = pybind11;

// quarnnc.Error, quarnnc.FormatError and the translation of the library's exceptions.
void bindErrors(py::module_& module);
// quarnnc.Context and quarnnc.Tool: copies of NCContext and NCTool with read-only properties, so
// that py::cast of either gives its Python object.
void bindValues(py::module_& module);
// read, iter_moves, Program and the dtype of the move arrays.
void bindReading(py::module_& module);
// convert, the stages of a chain, quarnnc.NCStream for stages written in Python, validation.
void bindChains(py::module_& module);
// diff and the classes of its result (Comparison, Deviations, Place, Location, Differences,
// ValueDifference).
void bindCompare(py::module_& module);

} // namespace Quarn::Python
