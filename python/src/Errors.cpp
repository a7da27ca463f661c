// The exceptions of the Python module: the library's failures as the exceptions Python users expect.
#include "python/src/Bindings.h"

#include "tools/quarnnc/ToolError.h"
#include "util/utility/RuntimeException.h"
#include "util/utility/text/Unicode.h"

#include <cerrno>

namespace Quarn::Python {

namespace {

// Created once by bindErrors and kept for the life of the interpreter.
PyObject* errorType = nullptr;
PyObject* formatErrorType = nullptr;

// An OSError of the subclass Python picks for the errno, with the file name.
void raiseOSError(int number, Tool::ToolError const& e)
{
    py::object const error = py::reinterpret_steal<py::object>(
        PyObject_CallFunction(PyExc_OSError, "isz", number, e.what(), e.getFile().c_str()));
    if (error)
        PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(error.ptr())), error.ptr());
}

// quarnnc.FormatError("FILE:POSITION: message") with the attributes file, line, offset and message.
void raiseFormatError(Tool::ToolError const& e)
{
    py::object const type = py::reinterpret_borrow<py::object>(formatErrorType);
    py::object const error = type(e.describe());
    error.attr("file") = e.getFile();
    error.attr("message") = std::string(e.what());
    bool const isLine = e.getPositionKind() == Tool::ToolError::Position::Line;
    py::object const position = e.getPosition() ? py::cast(*e.getPosition()) : py::none();
    error.attr("line") = isLine ? position : py::none();
    error.attr("offset") = isLine ? py::none() : position;
    PyErr_SetObject(formatErrorType, error.ptr());
}

void raise(Tool::ToolError const& e)
{
    switch (e.getStatus()) {
    case Tool::ExitNoInput:
        raiseOSError(std::string_view(e.what()) == "No such file." ? ENOENT
                : std::string_view(e.what()) == "Is a directory." ? EISDIR
                                                                  : EACCES,
            e);
        break;
    case Tool::ExitDataError:
        raiseFormatError(e);
        break;
    case Tool::ExitCannotCreate:
    case Tool::ExitIOError:
        raiseOSError(EIO, e);
        break;
    default:
        PyErr_SetString(PyExc_ValueError, e.what());
        break;
    }
}

} // namespace

void bindErrors(py::module_& module)
{
    errorType = PyErr_NewExceptionWithDoc("quarnnc.Error", "Base class of the errors quarnnc raises itself.",
        PyExc_Exception, nullptr);
    py::tuple const bases = py::make_tuple(py::handle(errorType), py::handle(PyExc_ValueError));
    formatErrorType = PyErr_NewExceptionWithDoc("quarnnc.FormatError",
        "A file that is malformed, cut short or in no format quarnnc reads. Attributes: file (the path), "
        "line (the line of a text format, or None), offset (the byte offset in a binary format, or None) "
        "and message (the library's text); str() gives \"FILE:POSITION: message\".",
        bases.ptr(), nullptr);
    module.add_object("Error", py::handle(errorType));
    module.add_object("FormatError", py::handle(formatErrorType));
    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            if (thrown)
                std::rethrow_exception(thrown);
        } catch (Tool::ToolError const& e) {
            raise(e);
        } catch (RuntimeException const& e) {
            PyErr_SetString(errorType, Unicode::toUTF8(e.getMessage()).c_str());
        }
    });
}

} // namespace Quarn::Python
