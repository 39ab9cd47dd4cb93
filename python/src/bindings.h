// Shared pieces of the _grundel extension: errors, names, and the parts of
// the module each file binds.
#pragma once

#include <pybind11/pybind11.h>

#include <grundel/iff/FLfile.h>

#include <string>

namespace grundel::python {

namespace py = pybind11;

/// Sets grundel.IffError for the library's code as the pending Python error,
/// with the library's message, filename (may be null) and, for the system
/// error code 40 only, errno. Always returns null, for C API returns.
PyObject* setIffError(int code, PyObject* filename);
/// The same, thrown as a C++ exception for pybind11 code.
[[noreturn]] void throwIffError(int code, PyObject* filename);

/// A name as os.fsencode gives it (str, bytes or os.PathLike). False with a
/// Python error set: TypeError for another type, IffError 21 "bad file name"
/// for a name holding a zero byte.
bool encodeName(PyObject* name, std::string& encoded);
/// FLopen under the module's process-wide special-name setting; "-" is
/// "stdin" for reading and "stdout" for writing, and sys.stdout is flushed
/// before the standard output is opened. The GIL is released while the name
/// is opened (a command may be started).
_FLfile* openName(const std::string& encoded, const char* mode);

/// A four-character identifier from a str of four characters below U+0100
/// or four bytes. False with ValueError or TypeError set.
bool parseId(PyObject* text, TuInt32& id);

void bindData(py::module_& module);
void bindNames(py::module_& module);
void bindWalk(py::module_& module);
void bindWriter(py::module_& module);

} // namespace grundel::python
