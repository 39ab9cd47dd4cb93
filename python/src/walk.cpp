// grundel.iff.walk: every chunk of a file in file order.
//
// The walk is the module's hot path (a script may walk files of a hundred
// thousand chunks), so its iterator and chunk types are written on the C API
// directly: one call per chunk, plain member slots, identifiers shared
// through a small cache instead of a new str per chunk.
#include "bindings.h"

#include <structmember.h>

#include <cstdlib>

namespace grundel::python {

namespace {

// Data chunks at least this big in a file read from memory come back as a
// memoryview over the mapping instead of a copy.
constexpr Tint32 kZeroCopyFrom = 64 * 1024;

PyTypeObject* gWalkType = nullptr;
PyTypeObject* gChunkType = nullptr;

struct IdCacheEntry {
    TuInt32 id;
    PyObject* text; // owned; null when empty
};
constexpr unsigned kIdCacheBits = 6;

struct WalkObject {
    PyObject_HEAD
    _FLfile* file;       // null once closed
    PyObject* filename;  // as given, for errors
    unsigned long serial; // of the chunk yielded last
    bool dataOpen;       // a data chunk's header is read and not yet ended
    bool enterGroup;     // the chunk yielded last is a group: enter it next
    bool done;
    int failure;         // a code to raise at the next step (0: none)
    Py_ssize_t exports;  // views of the mapping alive
    const char* block;   // the file's bytes, for a file read from memory
    std::size_t blockSize;
    IdCacheEntry ids[1u << kIdCacheBits];
};

struct ChunkObject {
    PyObject_HEAD
    PyObject* id;        // str
    PyObject* groupType; // str, or None for a data chunk
    unsigned int size;   // the size field as stored
    unsigned long long offset;
    unsigned int depth;
    char isGroup;
    WalkObject* walk;    // owned
    unsigned long serial;
    PyObject* data;      // what read() gave, kept for a second call
};

// The identifier as a str of four characters (each byte one character),
// shared between the chunks that carry it.
PyObject* idText(WalkObject* walk, TuInt32 id) {
    IdCacheEntry& entry = walk->ids[(id * 2654435761u) >> (32 - kIdCacheBits)];
    if (!entry.text || entry.id != id) {
        const char chars[4] = {char(id >> 24), char(id >> 16), char(id >> 8), char(id)};
        PyObject* text = PyUnicode_DecodeLatin1(chars, 4, nullptr);
        if (!text)
            return nullptr;
        Py_XDECREF(entry.text);
        entry.text = text;
        entry.id = id;
    }
    Py_INCREF(entry.text);
    return entry.text;
}

void closeFile(WalkObject* walk) {
    if (walk->file && walk->exports == 0) {
        (void)FLclose(walk->file);
        walk->file = nullptr;
        walk->block = nullptr;
        walk->blockSize = 0;
    }
}

// Ends the walk with the library's code raised now.
PyObject* fail(WalkObject* walk, int code) {
    walk->done = true;
    walk->dataOpen = false;
    closeFile(walk);
    return setIffError(code, walk->filename);
}

// A failed read() ends the walk too; the next step raises the code again, so
// that a loop that goes on after the error does not end as if the file did.
PyObject* failRead(WalkObject* walk, int code) {
    fail(walk, code);
    walk->failure = code;
    return nullptr;
}

PyObject* makeChunk(WalkObject* walk, TuInt32 id, Tint32 size, bool group) {
    const _FLcontext* level = walk->file->context;
    ChunkObject* chunk = PyObject_New(ChunkObject, gChunkType);
    if (!chunk)
        return nullptr;
    chunk->id = idText(walk, id);
    chunk->groupType = group ? idText(walk, level->type) : (Py_INCREF(Py_None), Py_None);
    chunk->size = static_cast<unsigned int>(size);
    chunk->offset = level->start - 8;
    chunk->depth = level->depth;
    chunk->isGroup = group;
    Py_INCREF(walk);
    chunk->walk = walk;
    chunk->serial = ++walk->serial;
    chunk->data = nullptr;
    if (!chunk->id || !chunk->groupType) {
        Py_DECREF(chunk);
        return nullptr;
    }
    return reinterpret_cast<PyObject*>(chunk);
}

PyObject* walkNext(PyObject* self) {
    WalkObject* walk = reinterpret_cast<WalkObject*>(self);
    if (walk->failure) {
        const int code = walk->failure;
        walk->failure = 0;
        return setIffError(code, walk->filename);
    }
    if (walk->done)
        return nullptr;
    int code = kFLnoError;
    if (walk->dataOpen) {
        walk->dataOpen = false;
        if ((code = FLendget(walk->file)) != kFLnoError)
            return fail(walk, code);
    }
    if (walk->enterGroup) {
        walk->enterGroup = false;
        if ((code = FLbgnrgroup(walk->file, nullptr, nullptr)) != kFLnoError)
            return fail(walk, code);
    }
    for (;;) {
        TuInt32 id = 0;
        Tint32 size = 0;
        code = FLbgnget(walk->file, &id, &size);
        if (code == kFLnoError || code == kFLgroupHeader) {
            const bool group = code == kFLgroupHeader;
            PyObject* chunk = makeChunk(walk, id, size, group);
            if (chunk) {
                walk->enterGroup = group;
                walk->dataOpen = !group;
            }
            return chunk;
        }
        if (code != kFLend)
            return fail(walk, code);
        if (!walk->file->context->parent) {
            walk->done = true;
            closeFile(walk);
            return nullptr;
        }
        if ((code = FLendrgroup(walk->file)) != kFLnoError)
            return fail(walk, code);
    }
}

PyObject* walkClose(PyObject* self, PyObject*) {
    WalkObject* walk = reinterpret_cast<WalkObject*>(self);
    walk->done = true;
    walk->dataOpen = false;
    walk->failure = 0;
    closeFile(walk);
    Py_RETURN_NONE;
}

PyObject* walkEnter(PyObject* self, PyObject*) {
    Py_INCREF(self);
    return self;
}

PyObject* walkExit(PyObject* self, PyObject* const*, Py_ssize_t) { return walkClose(self, nullptr); }

void walkDealloc(PyObject* self) {
    WalkObject* walk = reinterpret_cast<WalkObject*>(self);
    PyTypeObject* type = Py_TYPE(self);
    walk->exports = 0;
    closeFile(walk);
    for (IdCacheEntry& entry : walk->ids)
        Py_XDECREF(entry.text);
    Py_XDECREF(walk->filename);
    PyObject_Free(self);
    Py_DECREF(type);
}

// The whole mapping, read-only: read() slices it for big chunks.
int walkGetBuffer(PyObject* self, Py_buffer* view, int flags) {
    WalkObject* walk = reinterpret_cast<WalkObject*>(self);
    if (!walk->block) {
        PyErr_SetString(PyExc_BufferError, "the walk holds no file in memory");
        view->obj = nullptr;
        return -1;
    }
    if (PyBuffer_FillInfo(view, self, const_cast<char*>(walk->block), static_cast<Py_ssize_t>(walk->blockSize), 1,
                          flags) != 0)
        return -1;
    ++walk->exports;
    return 0;
}

void walkReleaseBuffer(PyObject* self, Py_buffer*) {
    WalkObject* walk = reinterpret_cast<WalkObject*>(self);
    if (--walk->exports == 0 && walk->done)
        closeFile(walk);
}

PyMethodDef gWalkMethods[] = {
    {"close", walkClose, METH_NOARGS, "Ends the walk and closes the file (views that read() gave stay valid)."},
    {"__enter__", walkEnter, METH_NOARGS, "The walk itself."},
    {"__exit__", reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(walkExit)), METH_FASTCALL,
     "Closes the walk, as close() does."},
    {nullptr, nullptr, 0, nullptr}};

PyType_Slot gWalkSlots[] = {
    {Py_tp_doc, const_cast<char*>("An iterator over the chunks of one file (see grundel.iff.walk).")},
    {Py_tp_iter, reinterpret_cast<void*>(PyObject_SelfIter)},
    {Py_tp_iternext, reinterpret_cast<void*>(walkNext)},
    {Py_tp_methods, gWalkMethods},
    {Py_tp_dealloc, reinterpret_cast<void*>(walkDealloc)},
    {Py_bf_getbuffer, reinterpret_cast<void*>(walkGetBuffer)},
    {Py_bf_releasebuffer, reinterpret_cast<void*>(walkReleaseBuffer)},
    {0, nullptr}};

PyType_Spec gWalkSpec = {"grundel.iff.Walk", sizeof(WalkObject), 0, Py_TPFLAGS_DEFAULT, gWalkSlots};

// -- Chunks -----------------------------------------------------------------------

PyObject* chunkData(ChunkObject* chunk, WalkObject* walk) {
    const Tint32 size = static_cast<Tint32>(chunk->size);
    if (size < 0)
        return failRead(walk, FLseterror(kFLbadSize)); // as FLreadchunk: the end is not known
    _FLfile* file = walk->file;
    if (walk->block) {
        const TuInt64 start = file->context->start;
        if (start > walk->blockSize || TuInt64(size) > walk->blockSize - start)
            return failRead(walk, FLseterror(kFLincomplete));
        if (size < kZeroCopyFrom)
            return PyBytes_FromStringAndSize(walk->block + start, size);
        PyObject* whole = PyMemoryView_FromObject(reinterpret_cast<PyObject*>(walk));
        if (!whole)
            return nullptr;
        PyObject* part = PySequence_GetSlice(whole, static_cast<Py_ssize_t>(start), static_cast<Py_ssize_t>(start + size));
        Py_DECREF(whole);
        return part;
    }
    // Never allocate what the file cannot hold: small chunks at once, others
    // when the file's length vouches for them, else through the library,
    // which grows its block with what a stream actually delivers.
    const long length = size < kZeroCopyFrom ? 0 : FLsize(file);
    if (size < kZeroCopyFrom || (length >= 0 && TuInt64(size) <= TuInt64(length) &&
                                 file->context->start <= TuInt64(length) - TuInt64(size))) {
        PyObject* bytes = PyBytes_FromStringAndSize(nullptr, size);
        if (!bytes)
            return nullptr;
        const int code = FLget(file, PyBytes_AS_STRING(bytes), static_cast<std::size_t>(size));
        if (code != kFLnoError) {
            Py_DECREF(bytes);
            return failRead(walk, code);
        }
        return bytes;
    }
    Tint32 got = 0;
    void* data = FLreadchunk(file, nullptr, &got);
    walk->dataOpen = false; // FLreadchunk ends the chunk, whatever its result
    if (!data)
        return failRead(walk, FLerror());
    PyObject* bytes = PyBytes_FromStringAndSize(static_cast<const char*>(data), got);
    std::free(data);
    return bytes;
}

PyObject* chunkRead(PyObject* self, PyObject*) {
    ChunkObject* chunk = reinterpret_cast<ChunkObject*>(self);
    if (chunk->data) {
        Py_INCREF(chunk->data);
        return chunk->data;
    }
    if (chunk->isGroup) {
        PyErr_SetString(PyExc_ValueError, "a group has no data of its own: walk on to its chunks");
        return nullptr;
    }
    WalkObject* walk = chunk->walk;
    if (walk->done || walk->serial != chunk->serial || !walk->dataOpen) {
        PyErr_SetString(PyExc_RuntimeError, "read() a chunk before the walk moves on to the next one");
        return nullptr;
    }
    chunk->data = chunkData(chunk, walk);
    if (!chunk->data)
        return nullptr;
    Py_INCREF(chunk->data);
    return chunk->data;
}

PyObject* chunkRepr(PyObject* self) {
    const ChunkObject* chunk = reinterpret_cast<const ChunkObject*>(self);
    if (chunk->isGroup)
        return PyUnicode_FromFormat("<Chunk %R %R size %u at %llu depth %u>", chunk->id, chunk->groupType,
                                    chunk->size, chunk->offset, chunk->depth);
    return PyUnicode_FromFormat("<Chunk %R size %u at %llu depth %u>", chunk->id, chunk->size, chunk->offset,
                                chunk->depth);
}

void chunkDealloc(PyObject* self) {
    ChunkObject* chunk = reinterpret_cast<ChunkObject*>(self);
    PyTypeObject* type = Py_TYPE(self);
    Py_XDECREF(chunk->id);
    Py_XDECREF(chunk->groupType);
    Py_XDECREF(chunk->data);
    Py_XDECREF(chunk->walk);
    PyObject_Free(self);
    Py_DECREF(type);
}

PyMemberDef gChunkMembers[] = {
    {"id", T_OBJECT, offsetof(ChunkObject, id), READONLY, "The identifier: four characters."},
    {"group_type", T_OBJECT, offsetof(ChunkObject, groupType), READONLY,
     "A group's type code (four characters), or None for a data chunk."},
    {"is_group", T_BOOL, offsetof(ChunkObject, isGroup), READONLY, "Whether the chunk is a group."},
    {"size", T_UINT, offsetof(ChunkObject, size), READONLY,
     "The size field as stored (0x80000000 and above: not known when it was written)."},
    {"offset", T_ULONGLONG, offsetof(ChunkObject, offset), READONLY, "The offset of the chunk's header."},
    {"depth", T_UINT, offsetof(ChunkObject, depth), READONLY, "The nesting depth: 0 at the root."},
    {nullptr, 0, 0, 0, nullptr}};

PyMethodDef gChunkMethods[] = {
    {"read", chunkRead, METH_NOARGS,
     "read() -> bytes | memoryview\n\nThe chunk's data (without its padding). Call it before the walk moves on;\n"
     "later calls give the same object. A big chunk of a file read from memory\n"
     "(\"mmap:\") comes as a read-only memoryview over the mapping, without a copy.\n"
     "IffError for a chunk the file does not hold whole; ValueError for a group."},
    {nullptr, nullptr, 0, nullptr}};

PyType_Slot gChunkSlots[] = {
    {Py_tp_doc, const_cast<char*>("One chunk met by grundel.iff.walk.")},
    {Py_tp_members, gChunkMembers},
    {Py_tp_methods, gChunkMethods},
    {Py_tp_repr, reinterpret_cast<void*>(chunkRepr)},
    {Py_tp_dealloc, reinterpret_cast<void*>(chunkDealloc)},
    {0, nullptr}};

PyType_Spec gChunkSpec = {"grundel.iff.Chunk", sizeof(ChunkObject), 0, Py_TPFLAGS_DEFAULT, gChunkSlots};

py::object walkFile(py::handle name) {
    std::string encoded;
    if (!encodeName(name.ptr(), encoded))
        throw py::error_already_set();
    _FLfile* file = openName(encoded, "r");
    if (!file)
        throwIffError(FLerror(), name.ptr());
    WalkObject* walk = PyObject_New(WalkObject, gWalkType);
    if (!walk) {
        (void)FLclose(file);
        throw py::error_already_set();
    }
    walk->file = file;
    Py_INCREF(name.ptr());
    walk->filename = name.ptr();
    walk->serial = 0;
    walk->dataOpen = walk->enterGroup = walk->done = false;
    walk->failure = 0;
    walk->exports = 0;
    walk->block = nullptr;
    walk->blockSize = 0;
    for (IdCacheEntry& entry : walk->ids)
        entry = {0, nullptr};
    const void* block = nullptr;
    std::size_t blockSize = 0;
    if (FLmeminfo(file, &block, &blockSize) == kFLnoError && block) {
        walk->block = static_cast<const char*>(block);
        walk->blockSize = blockSize;
    }
    FLseterror(kFLnoError); // FLmeminfo's "not a file" for an ordinary file
    return py::reinterpret_steal<py::object>(reinterpret_cast<PyObject*>(walk));
}

} // namespace

void bindWalk(py::module_& module) {
    gWalkType = reinterpret_cast<PyTypeObject*>(PyType_FromSpec(&gWalkSpec));
    gChunkType = reinterpret_cast<PyTypeObject*>(PyType_FromSpec(&gChunkSpec));
    if (!gWalkType || !gChunkType)
        throw py::error_already_set();
    module.add_object("Walk", reinterpret_cast<PyObject*>(gWalkType));
    module.add_object("Chunk", reinterpret_cast<PyObject*>(gChunkType));
    module.def("walk", &walkFile, py::arg("name"),
               "walk(name) -> Walk\n\n"
               "Every chunk of a chunk file in file order, a group before its contents, as\n"
               "Chunk objects (id, group_type, is_group, size, offset, depth, read()).\n"
               "name is a str, bytes or os.PathLike (encoded as os.fsencode does), and may be\n"
               "anything the chunk library opens for reading: a path, \"stdin\" or \"-\" (the\n"
               "standard input; a file named \"-\" is \"./-\"), \"mmap:path\", and the special\n"
               "forms while set_special_names(True) holds. The file closes\n"
               "when the walk ends (or at close(), or on leaving a with block).\n"
               "IffError, with the library's code, for a file that cannot be opened or walked.");
}

} // namespace grundel::python
