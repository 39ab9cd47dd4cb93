// grundel.iff.Writer: writing chunk files, groups as context managers.
#include "bindings.h"

#include <climits>
#include <cstdlib>
#include <memory>

namespace grundel::python {

namespace {

class Writer;

/// A group begun by Writer.group: ends on end() or on leaving its with block.
class Group {
public:
    Group(std::shared_ptr<Writer*> writer, unsigned depth) : fWriter(std::move(writer)), fDepth(depth) {}
    void end();
    unsigned depth() const { return fDepth; }

private:
    std::shared_ptr<Writer*> fWriter; // null inside once the writer is gone
    unsigned fDepth;
};

class Writer {
public:
    explicit Writer(py::object name) : fName(std::move(name)), fSelf(std::make_shared<Writer*>(this)) {
        std::string encoded;
        if (!encodeName(fName.ptr(), encoded))
            throw py::error_already_set();
        fFile = openName(encoded, "w");
        if (!fFile)
            throwIffError(FLerror(), fName.ptr());
    }
    ~Writer() {
        *fSelf = nullptr;
        finish(false);
    }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    Group group(py::handle id, py::handle type) {
        const TuInt32 groupId = toId(id);
        const TuInt32 groupType = toId(type);
        check(FLbgnwgroup(open(), groupId, groupType));
        return Group(fSelf, ++fDepth);
    }

    void chunk(py::handle id, py::handle data) {
        const TuInt32 chunkId = toId(id);
        Py_buffer view;
        if (PyObject_GetBuffer(data.ptr(), &view, PyBUF_SIMPLE) != 0)
            throw py::error_already_set();
        const Py_ssize_t length = view.len;
        const int code = length > INT32_MAX ? FLseterror(kFLbadSize)
                                            : FLputchunk(open(), chunkId, static_cast<Tint32>(length), view.buf);
        PyBuffer_Release(&view);
        check(code);
    }

    // Ends groups, innermost first, until depth groups remain open.
    void endGroupsTo(unsigned depth) {
        while (fFile && fDepth > depth) {
            --fDepth;
            check(FLendwgroup(fFile));
        }
    }

    void close() { finish(true); }
    bool closed() const { return !fFile; }
    unsigned depth() const { return fDepth; }
    py::object name() const { return fName; }

    // Closing ends every group still open, as the library does, so that a
    // file left by an exception is still a readable file.
    void finish(bool raise) {
        if (!fFile)
            return;
        _FLfile* file = fFile;
        fFile = nullptr;
        fDepth = 0;
        void* block = nullptr;
        std::size_t size = 0;
        const int result = FLclosemem(file, &block, &size);
        std::free(block); // a "mem:" file written from Python has nobody to hand it to
        if (result != 0 && raise)
            throwIffError(FLerror() ? FLerror() : kFLio, fName.ptr());
    }

private:
    _FLfile* open() const {
        if (!fFile)
            throw py::value_error("the chunk file is closed");
        return fFile;
    }
    static TuInt32 toId(py::handle text) {
        TuInt32 id = 0;
        if (!parseId(text.ptr(), id))
            throw py::error_already_set();
        return id;
    }
    void check(int code) const {
        if (code != kFLnoError)
            throwIffError(code, fName.ptr());
    }

    py::object fName;
    _FLfile* fFile = nullptr;
    unsigned fDepth = 0;
    std::shared_ptr<Writer*> fSelf;
};

void Group::end() {
    if (Writer* writer = *fWriter)
        writer->endGroupsTo(fDepth - 1);
}

} // namespace

void bindWriter(py::module_& module) {
    py::class_<Group>(module, "Group", "A group begun by Writer.group; a context manager that ends it.")
        .def("end", &Group::end,
             "Ends the group, and first any group begun inside it and still open.\n"
             "Nothing when it has ended already. IffError when the library refuses.")
        .def("__enter__", [](py::object self) { return self; }, "The group itself.")
        .def(
            "__exit__",
            [](Group& group, py::handle, py::handle, py::handle) {
                group.end();
                return false;
            },
            "Ends the group, also when an exception leaves the block (which goes on).");

    py::class_<Writer>(module, "Writer",
                       "Writer(name): a chunk file opened for writing; a context manager that closes it.\n\n"
                       "name as for walk(), with \"stdout\" or \"-\" for the standard output (sys.stdout\n"
                       "is flushed first; on a stream, sizes stay unknown: groups end with \"GEND\").\n"
                       "Groups begun with group() and still open at close() are\n"
                       "ended then, innermost first, so that a file left by an exception is readable.\n"
                       "IffError, with the library's code, when the file cannot be opened.")
        .def(py::init<py::object>(), py::arg("name"))
        .def("group", &Writer::group, py::arg("id"), py::arg("type"),
             "group(id, type) -> Group\n\n"
             "Begins a group (\"FORM\", \"FOR4\", \"LIST\", ...) of the given type code; use it in a\n"
             "with block, which ends the group also when an exception leaves it. IffError with\n"
             "the library's code for a group the file may not hold there (12 at the root for\n"
             "a property group, 14 for a property group outside a list, 3 for a bad id).")
        .def("chunk", &Writer::chunk, py::arg("id"), py::arg("data"),
             "chunk(id, data)\n\n"
             "Writes a data chunk: data is any object with the buffer protocol (bytes,\n"
             "bytearray, memoryview, array, NumPy arrays in C order). IffError with the\n"
             "library's code (12 \"bad root block\" outside any group).")
        .def("close", &Writer::close,
             "Ends the groups still open and closes the file; nothing when it is closed.\n"
             "IffError when the library reports a failure (a full disk, say).")
        .def_property_readonly("closed", &Writer::closed, "Whether the file is closed.")
        .def_property_readonly("depth", &Writer::depth, "How many groups are open.")
        .def_property_readonly("name", &Writer::name, "The name as given.")
        .def("__enter__", [](py::object self) { return self; }, "The writer itself.")
        .def(
            "__exit__",
            [](Writer& writer, py::handle type, py::handle, py::handle) {
                // With an exception on its way out, that exception is the
                // news; the file is still closed as well as it can be.
                writer.finish(type.is_none());
                return false;
            },
            "Closes the file as close() does; with an exception leaving the block, a\n"
            "failure to close does not replace it.");
}

} // namespace grundel::python
