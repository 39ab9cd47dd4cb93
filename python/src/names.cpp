// Names, identifiers, errors and the special-name switch.
#include "bindings.h"

#include <atomic>
#include <cstring>

namespace grundel::python {

namespace {

// The library keeps its switch per thread; scripts expect one setting for
// the whole interpreter, so the module keeps its own and applies it around
// every open it makes.
std::atomic<bool> gSpecialNames{false};

// grundel.IffError, looked up once (the package defines it in Python before
// it imports the extension).
PyObject* iffErrorClass() {
    static PyObject* cls = [] {
        PyObject* package = PyImport_ImportModule("grundel");
        PyObject* found = package ? PyObject_GetAttrString(package, "IffError") : nullptr;
        Py_XDECREF(package);
        return found;
    }();
    return cls;
}

} // namespace

PyObject* setIffError(int code, PyObject* filename) {
    const int osError = FLoserror();
    PyObject* cls = iffErrorClass();
    if (!cls)
        return nullptr; // the import's own error stands
    PyObject* errnoValue = code == kFLio ? PyLong_FromLong(osError) : (Py_INCREF(Py_None), Py_None);
    PyObject* error = errnoValue ? PyObject_CallFunction(cls, "isOO", code, FLstrerror(code),
                                                         filename ? filename : Py_None, errnoValue)
                                 : nullptr;
    Py_XDECREF(errnoValue);
    if (error) {
        PyErr_SetObject(cls, error);
        Py_DECREF(error);
    }
    return nullptr;
}

void throwIffError(int code, PyObject* filename) {
    setIffError(code, filename);
    throw py::error_already_set();
}

bool encodeName(PyObject* name, std::string& encoded) {
    PyObject* path = PyOS_FSPath(name);
    if (!path)
        return false;
    PyObject* bytes = PyUnicode_Check(path) ? PyUnicode_EncodeFSDefault(path) : (Py_INCREF(path), path);
    Py_DECREF(path);
    if (!bytes)
        return false;
    char* data = nullptr;
    Py_ssize_t length = 0;
    if (PyBytes_AsStringAndSize(bytes, &data, &length) != 0) {
        Py_DECREF(bytes);
        return false;
    }
    encoded.assign(data, static_cast<std::size_t>(length));
    Py_DECREF(bytes);
    if (encoded.find('\0') != std::string::npos) {
        FLseterror(kFLbadName);
        setIffError(kFLbadName, name);
        return false;
    }
    return true;
}

_FLfile* openName(const std::string& encoded, const char* mode) {
    const bool writing = mode[0] == 'w';
    // "-" is the standard stream of the direction, as on command lines.
    const char* name = encoded == "-" ? (writing ? "stdout" : "stdin") : encoded.c_str();
    if (writing && std::strcmp(name, "stdout") == 0) {
        // What the script printed goes out before the chunks.
        if (PyObject* out = PySys_GetObject("stdout"); out && out != Py_None) {
            if (PyObject* done = PyObject_CallMethod(out, "flush", nullptr))
                Py_DECREF(done);
            else
                PyErr_Clear(); // a stdout that cannot flush is no reason to fail
        }
    }
    const bool special = gSpecialNames.load();
    _FLfile* file = nullptr;
    Py_BEGIN_ALLOW_THREADS
    {
        const TiffSpecialNames scope(special);
        file = FLopen(name, mode);
    }
    Py_END_ALLOW_THREADS
    return file;
}

bool parseId(PyObject* text, TuInt32& id) {
    unsigned char chars[4];
    if (PyUnicode_Check(text)) {
        if (PyUnicode_GET_LENGTH(text) != 4) {
            PyErr_Format(PyExc_ValueError, "an identifier is four characters, not %R", text);
            return false;
        }
        for (Py_ssize_t i = 0; i < 4; ++i) {
            const Py_UCS4 c = PyUnicode_READ_CHAR(text, i);
            if (c > 0xFF) {
                PyErr_Format(PyExc_ValueError, "an identifier's characters are below U+0100: %R", text);
                return false;
            }
            chars[i] = static_cast<unsigned char>(c);
        }
    } else if (PyBytes_Check(text)) {
        if (PyBytes_GET_SIZE(text) != 4) {
            PyErr_Format(PyExc_ValueError, "an identifier is four bytes, not %R", text);
            return false;
        }
        std::memcpy(chars, PyBytes_AS_STRING(text), 4);
    } else {
        PyErr_Format(PyExc_TypeError, "an identifier is a str or bytes, not %.100s", Py_TYPE(text)->tp_name);
        return false;
    }
    id = TuInt32(chars[0]) << 24 | TuInt32(chars[1]) << 16 | TuInt32(chars[2]) << 8 | TuInt32(chars[3]);
    return true;
}

void bindNames(py::module_& module) {
    module.def(
        "set_special_names", [](bool on) { return gSpecialNames.exchange(on); }, py::arg("on"),
        "Turns the chunk library's special name forms (\"|command\", \"pipe:\", \"fd:\", \"mem:\",\n"
        "drivers, \"host:path\") on or off for every open the module makes, in every thread:\n"
        "the setting is process-wide. Off by default; turn it on only for names a user typed,\n"
        "never for a name read from a file. Returns the setting before the call.");
    module.def(
        "special_names", [] { return gSpecialNames.load(); },
        "Whether the module opens names with the special name forms on (process-wide).");
    module.def(
        "strerror", [](int code) { return py::str(FLstrerror(code)); }, py::arg("code"),
        "The chunk library's message for a code (\"unknown error code\" for one without).");
}

} // namespace grundel::python
