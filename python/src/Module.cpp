// The Python module quarnnc: NC programs read into numpy arrays, converted, run through chains of
// the library's filters and writers and of stages written in Python, and compared.
#include "python/src/Bindings.h"

PYBIND11_MODULE(quarnnc, module)
{
    module.doc() = "NC programs of every format quarnnc reads: their moves as numpy arrays, conversion into "
                   "every format it writes, chains of filters, writers and Python stages, and the comparison of "
                   "two programs by the path of the tool tip.";
    Quarn::Python::bindErrors(module);
    Quarn::Python::bindValues(module);
    Quarn::Python::bindReading(module);
    Quarn::Python::bindChains(module);
    Quarn::Python::bindCompare(module);
}
