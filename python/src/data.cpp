// grundel.data: a file's typed values as Python objects and back.
//
// Values are decoded by the library's registry (TdataChunk::decode); this
// file only decides which Python form each takes. A value is handed out as a
// number, tuple or NumPy array only when writing that form back gives the
// chunk's bytes again; otherwise it stays a Value with its bytes, so that
// save(load(f)) reproduces f.
#include "bindings.h"

#include <pybind11/numpy.h>

#include <grundel/core/Tfile.h>
#include <grundel/data/Tdata.h>
#include <grundel/data/TdataArray.h>
#include <grundel/data/TdataChunk.h>
#include <grundel/data/TdataMatrix.h>
#include <grundel/data/TdataTuple.h>
#include <grundel/data/TdataUnknown.h>
#include <grundel/data/TmetaLetter.h>
#include <grundel/iff/TiffFile.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <string_view>
#include <memory>
#include <vector>
#include <type_traits>

namespace grundel::python {

namespace {

// The element as it is stored in a file: big-endian.
template <class T>
void storeBig(T value, unsigned char* out) noexcept {
    using Bits = std::conditional_t<sizeof(T) == 8, TuInt64, std::conditional_t<sizeof(T) == 4, TuInt32, TuInt16>>;
    Bits bits;
    std::memcpy(&bits, &value, sizeof bits);
    for (int i = int(sizeof bits) - 1; i >= 0; --i, bits >>= 8)
        out[i] = static_cast<unsigned char>(bits);
}

py::str idText(TuInt32 id) {
    const char chars[4] = {char(id >> 24), char(id >> 16), char(id >> 8), char(id)};
    return py::reinterpret_steal<py::str>(PyUnicode_DecodeLatin1(chars, 4, nullptr));
}

TuInt32 idOf(py::handle text) {
    TuInt32 id = 0;
    if (!parseId(text.ptr(), id))
        throw py::error_already_set();
    return id;
}

// A Python number as a double; TypeError for anything else.
double number(py::handle value) {
    const double result = PyFloat_AsDouble(value.ptr());
    if (result == -1.0 && PyErr_Occurred())
        throw py::error_already_set();
    return result;
}

py::object element(double v) { return py::float_(v); }
py::object element(float v) { return py::float_(double(v)); }
py::object element(Tint32 v) { return py::int_(v); }
py::object element(Tint16 v) { return py::int_(v); }

// A tuple letter as a Python tuple, when its elements are the chunk's bytes.
template <class Class>
bool tupleOf(const Tdata& value, const unsigned char* data, TuInt32 size, py::object& out) {
    const auto* tuple = static_cast<const Class*>(value.cast(Class::sMetaclass()));
    if (!tuple)
        return false;
    using Element = typename Class::element_type;
    if (size != Class::kBytes)
        return true; // out stays empty: keep the bytes
    unsigned char image[sizeof(Element)];
    py::tuple items(Class::kCount);
    for (int i = 0; i < Class::kCount; ++i) {
        const Element e = tuple->element(i);
        storeBig(e, image);
        if (std::memcmp(image, data + i * sizeof(Element), sizeof(Element)) != 0)
            return true; // NaN payloads and the like: keep the bytes
        items[i] = element(e);
    }
    out = std::move(items);
    return true;
}

template <class Element>
[[noreturn]] void outOfRange(py::handle value, const std::string& what) {
    using Limits = std::numeric_limits<Element>;
    const std::string message = what + " holds integers from " + std::to_string(Limits::min()) + " to " +
                                std::to_string(Limits::max()) + ", not " + std::string(py::str(value));
    PyErr_SetString(PyExc_OverflowError, message.c_str());
    throw py::error_already_set();
}

// A Python integer (int, bool, NumPy integer: anything with __index__) as
// an Element; TypeError for a float or another type, OverflowError outside
// the Element's range. Never rounds or wraps.
template <class Element>
Element integer(py::handle item, const std::string& what) {
    static_assert(std::is_integral_v<Element>);
    using Limits = std::numeric_limits<Element>;
    if (!PyIndex_Check(item.ptr()))
        throw py::type_error(what + " holds integers, not " + Py_TYPE(item.ptr())->tp_name);
    const auto index = py::reinterpret_steal<py::object>(PyNumber_Index(item.ptr()));
    if (!index)
        throw py::error_already_set();
    bool fits = false;
    Element result = 0;
    if constexpr (std::is_signed_v<Element>) {
        int overflow = 0;
        const long long v = PyLong_AsLongLongAndOverflow(index.ptr(), &overflow);
        fits = !overflow && v >= Limits::min() && v <= Limits::max();
        result = Element(v);
    } else {
        const unsigned long long v = PyLong_AsUnsignedLongLong(index.ptr()); // raises below 0 or above 2**64-1
        fits = !PyErr_Occurred() && v <= Limits::max();
        result = Element(v);
    }
    if (fits)
        return result;
    if (PyErr_Occurred() && !PyErr_ExceptionMatches(PyExc_OverflowError))
        throw py::error_already_set();
    PyErr_Clear();
    outOfRange<Element>(index, what);
}

template <class Class>
bool tupleFrom(TdataLetter* letter, py::handle items, const std::string& what) {
    auto* tuple = static_cast<Class*>(letter->cast(Class::sMetaclass()));
    if (!tuple)
        return false;
    using Element = typename Class::element_type;
    py::sequence seq = py::reinterpret_borrow<py::sequence>(items);
    if (py::len(seq) != std::size_t(Class::kCount))
        throw py::value_error(what + " takes " + std::to_string(Class::kCount) + " numbers");
    for (int i = 0; i < Class::kCount; ++i) {
        if constexpr (std::is_integral_v<Element>)
            (*tuple)[i] = Tdata(int(integer<Element>(seq[i], what)));
        else
            (*tuple)[i] = Tdata(number(seq[i]));
    }
    return true;
}

template <class... Classes>
struct Tuples {
    static bool of(const Tdata& value, const unsigned char* data, TuInt32 size, py::object& out) {
        return (tupleOf<Classes>(value, data, size, out) || ...);
    }
    static bool from(TdataLetter* letter, py::handle items, const std::string& what) {
        return (tupleFrom<Classes>(letter, items, what) || ...);
    }
};
using EveryTuple = Tuples<Tdata2Double, Tdata3Double, Tdata4Double, Tdata2Float, Tdata3Float, Tdata2Int32, Tdata3Int32,
                          Tdata2Int16, Tdata3Int16>;

// An array letter as a read-only NumPy array over its native-order
// elements; the capsule holds the letter's Buffer, which keeps them alive.
template <class Class>
bool arrayOf(const Tdata& value, TuInt32 size, TuInt32 unread, py::object& out) {
    const auto* array = static_cast<const Class*>(value.cast(Class::sMetaclass()));
    if (!array)
        return false;
    using Buffer = typename Class::Buffer;
    auto buffer = std::make_unique<Buffer>(array->buffer());
    if (unread != 0 || buffer->byteSize() != size)
        return true; // a partial last element: keep the bytes
    using Element = std::remove_cv_t<std::remove_pointer_t<decltype(buffer->data())>>;
    const Element* elements = buffer->data();
    const py::ssize_t count = buffer->count();
    py::capsule keeper(buffer.get(), [](void* p) { delete static_cast<Buffer*>(p); });
    buffer.release();
    static const Element kNone{};
    py::array_t<Element> result({count}, {py::ssize_t(sizeof(Element))}, elements ? elements : &kNone, keeper);
    py::detail::array_proxy(result.ptr())->flags &= ~py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
    out = std::move(result);
    return true;
}

void checkLength(py::ssize_t count, std::size_t elementSize) {
    if (count > py::ssize_t(INT32_MAX / elementSize))
        throw py::value_error("an array value this long does not fit a chunk");
}

// A NumPy array of integers whose values all fit Element, as Elements:
// numpy converts, after its own min() and max() have checked the range
// where its casting rules do not promise it.
template <class Element>
py::array_t<Element> integersOf(const py::array& items, const std::string& what) {
    const char kind = items.dtype().kind();
    if (kind != 'i' && kind != 'u' && kind != 'b')
        throw py::type_error(what + " holds integers, not " + std::string(py::str(items.dtype())) +
                             " elements (convert them with astype first)");
    const auto target = py::dtype::of<Element>();
    const py::object numpy = py::module_::import("numpy");
    const bool safe = py::bool_(numpy.attr("can_cast")(items.dtype(), target, "safe"));
    if (items.size() > 0 && !safe) {
        for (const char* end : {"min", "max"}) {
            const py::object extreme = items.attr(end)();
            (void)integer<Element>(extreme, what);
        }
    }
    return py::array_t<Element, py::array::c_style | py::array::forcecast>::ensure(items);
}

template <class Class>
bool arrayFrom(TdataLetter* letter, py::handle items, const std::string& what) {
    auto* array = static_cast<Class*>(letter->cast(Class::sMetaclass()));
    if (!array)
        return false;
    using Element = std::remove_cv_t<std::remove_pointer_t<decltype(array->elements())>>;
    if constexpr (std::is_integral_v<Element>) {
        if (py::isinstance<py::array>(items) && py::reinterpret_borrow<py::array>(items).dtype().kind() != 'O') {
            const auto given = py::reinterpret_borrow<py::array>(items);
            if (given.ndim() != 1)
                throw py::value_error("an array value takes a one-dimensional sequence of numbers");
            checkLength(given.size(), sizeof(Element));
            const auto elements = integersOf<Element>(given, what);
            array->assign(elements.data(), TuInt32(elements.size()));
            return true;
        }
        // Any other sequence, one Python integer at a time: numpy would turn
        // floats or a mix of signs past 2**63 into float64 first.
        if (!PySequence_Check(items.ptr()) || PyUnicode_Check(items.ptr()) || PyBytes_Check(items.ptr()))
            throw py::type_error(what + " takes a sequence of integers or a NumPy integer array");
        const auto seq = py::reinterpret_borrow<py::sequence>(items);
        checkLength(py::ssize_t(py::len(seq)), sizeof(Element));
        std::vector<Element> elements;
        elements.reserve(py::len(seq));
        for (py::handle item : seq)
            elements.push_back(integer<Element>(item, what));
        array->assign(elements.data(), TuInt32(elements.size()));
    } else {
        auto elements = py::array_t<Element, py::array::c_style | py::array::forcecast>::ensure(items);
        if (!elements || elements.ndim() != 1)
            throw py::value_error("an array value takes a one-dimensional sequence of numbers");
        checkLength(elements.size(), sizeof(Element));
        array->assign(elements.data(), TuInt32(elements.size()));
    }
    return true;
}

py::object matrixOf(const TdataMatrix& matrix, const unsigned char* data, TuInt32 size, TuInt32 unread) {
    if (matrix.isTransform() || size != TdataMatrix::kMatrixBytes || unread != 0)
        return py::object();
    const T4dDblMatrix m = matrix.matrix();
    unsigned char image[8];
    py::array_t<double> result({4, 4});
    auto cells = result.mutable_unchecked<2>();
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) {
            storeBig(m.m[r][c], image);
            if (std::memcmp(image, data + (r * 4 + c) * 8, 8) != 0)
                return py::object();
            cells(r, c) = m.m[r][c];
        }
    py::detail::array_proxy(result.ptr())->flags &= ~py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
    return std::move(result);
}

// The value's own text form with its type, as grundel-iff totext writes it.
py::str textOf(const Tdata& value) {
    if (value.isAnimTime())
        return py::str("time " + std::to_string(value.timeValue().inTicks()));
    if (value.cast(&TdataUnknown::fsMetaclass))
        return py::str(""); // bytes nobody reads have no text
    Tfile out;
    out.setFullDigits(true);
    if (value.writeASCII(out, 0, true) != 0)
        return py::str("");
    std::string text = out.text();
    while (!text.empty() && (text.back() == ' ' || text.back() == '\n'))
        text.pop_back();
    return py::str(text);
}

// A chunk whose size is 1 or 2 above a multiple of 4 may be followed by 2
// bytes of padding more than its size asks for: the writer rounds a chunk
// whose size it learns only on closing on to a multiple of 4. The reader
// skips them, so the loader notes which chunks had them: it keeps a data
// chunk whose padding its Python form would not give again as a Value, and
// marks a group without them, which save then writes with its size known.
bool paddingVaries(TuInt64 size) noexcept { return (size + (size & 1)) % 4 == 2; }

struct Loader {
    TiffFile& file;
    PyObject* name;
    py::object valueType, groupType;

    // The last data chunk of a level, until the next header shows its padding.
    struct Pending {
        py::ssize_t index = -1;  // in the level's list; -1: none to check
        TuInt64 end = 0;         // of its data
        bool letterForm = false; // a form save writes with the wider padding
        py::bytes data;
        py::str text;
        py::object group; // a group instead of a data chunk
    };

    [[noreturn]] void fail(int code) { throwIffError(code, name); }

    py::object makeValue(TuInt32 id, py::bytes data, py::str text, bool wide) {
        py::object value = valueType(idText(id), data, text);
        if (wide)
            value.attr("_wide") = true;
        return value;
    }

    // A chunk that met end (the next header, or its level's end) is settled.
    void settle(py::list& items, Pending& pending, TuInt64 end) {
        if (pending.index < 0)
            return;
        const bool wide = end >= pending.end + 2 + (pending.end & 1) && end != kFLunknownEnd;
        if (pending.group) {
            // save writes a group with the wider padding unless told.
            if (!wide && end != kFLunknownEnd)
                pending.group.attr("_narrow") = true;
            pending = Pending();
            return;
        }
        py::tuple item = items[pending.index];
        if (wide != pending.letterForm) {
            items[pending.index] = py::make_tuple(item[0], makeValue(idOf(item[0]), pending.data, pending.text, wide));
        }
        pending = Pending();
    }

    py::object convert(TuInt32 id, const unsigned char* data, TuInt32 size, bool& letterForm, py::str& text) {
        Tdata value;
        TuInt32 unread = 0;
        const int decoded = TdataChunk::decode(TiffTag(id), data, size, value, &unread);
        py::object out;
        letterForm = false;
        if (decoded == TdataChunk::kRead && unread == 0 && !value.cast(&TdataUnknown::fsMetaclass)) {
            if (id == Tdata::kTag.value()) {
                if (size == 8 && !value.isAnimTime())
                    out = py::float_(value.doubleValue());
            } else if (const auto* matrix = static_cast<const TdataMatrix*>(value.cast(TdataMatrix::sMetaclass()))) {
                out = matrixOf(*matrix, data, size, unread);
            } else {
                (void)EveryTuple::of(value, data, size, out);
            }
            letterForm = bool(out) && id != Tdata::kTag.value();
        }
        if (!out && decoded == TdataChunk::kRead) {
            (void)(arrayOf<TdataDoubleArray>(value, size, unread, out) ||
                   arrayOf<TdataInt32Array>(value, size, unread, out) ||
                   arrayOf<TdataUInt64Array>(value, size, unread, out));
            letterForm = bool(out);
        }
        if (out && !paddingVaries(size))
            return out;
        text = textOf(value);
        return out ? out : makeValue(id, py::bytes(reinterpret_cast<const char*>(data), size), text, false);
    }

    // The pairs of the level open in file, whose data ends at levelEnd
    // (kFLunknownEnd when not known).
    py::list level(TuInt64 levelEnd) {
        py::list items;
        Pending pending;
        _FLfile* fl = file.flFile();
        for (;;) {
            TiffTag tag;
            Tint32 size = 0;
            int code = file.beginGet(tag, &size);
            if (code == kFLend) {
                settle(items, pending, levelEnd);
                return items;
            }
            if (code != kFLnoError && code != kFLgroupHeader)
                fail(code);
            const TuInt64 header = fl->context->start - 8;
            settle(items, pending, header);
            if (code == kFLgroupHeader) {
                const TuInt64 end = size < 0 ? kFLunknownEnd : header + 8 + TuInt64(size);
                TuInt32 type = 0;
                if ((code = FLbgnrgroup(fl, &type, nullptr)) != kFLnoError)
                    fail(code);
                py::list inner = level(end);
                if ((code = FLendrgroup(fl)) != kFLnoError)
                    fail(code);
                py::object group = groupType(idText(tag.value()), idText(type), inner);
                if (size >= 0 && paddingVaries(TuInt64(size))) {
                    pending.index = py::len(items);
                    pending.end = end;
                    pending.group = group;
                }
                items.append(py::make_tuple(idText(type), std::move(group)));
                continue;
            }
            if (size < 0)
                fail(FLseterror(kFLbadSize));
            const void* data = size ? file.sharedGet(std::size_t(size)) : "";
            if (!data)
                fail(FLerror());
            const auto* bytes = static_cast<const unsigned char*>(data);
            bool letterForm = false;
            py::str text;
            py::object value = convert(tag.value(), bytes, TuInt32(size), letterForm, text);
            if (paddingVaries(TuInt64(size))) {
                pending.index = py::len(items);
                pending.end = header + 8 + TuInt64(size);
                pending.letterForm = letterForm;
                pending.data = py::bytes(reinterpret_cast<const char*>(bytes), std::size_t(size));
                pending.text = text;
            }
            items.append(py::make_tuple(idText(tag.value()), value));
            if ((code = file.endGet()) != kFLnoError)
                fail(code);
        }
    }
};

py::list load(py::object name) {
    std::string encoded;
    if (!encodeName(name.ptr(), encoded))
        throw py::error_already_set();
    py::module_ data = py::module_::import("grundel.data");
    TiffFile file;
    _FLfile* fl = openName(encoded, "r");
    if (!fl)
        throwIffError(FLerror(), name.ptr());
    file.setFLfile(fl);
    Loader loader{file, name.ptr(), data.attr("Value"), data.attr("Group")};
    const long length = FLsize(fl);
    return loader.level(length < 0 ? kFLunknownEnd : TuInt64(length));
}

// The alignment mask a group identifier asks for: 3 for "FOR4" and its
// kin, 7 for "FOR8" and its kin, 1 for the 2-byte family. The library
// checks the identifier itself when the group is written.
TuInt32 familyMask(TuInt32 id) noexcept {
    switch (char(id & 0xFF)) {
    case '4':
        return 3;
    case '8':
        return 7;
    default:
        return 1;
    }
}

// The room length bytes of data take at a level of mask: padded to the
// mask, and on to a multiple of 4 when the size is learnt only on closing.
TuInt64 paddedLength(TuInt64 length, TuInt32 mask, bool learntOnClosing) noexcept {
    length = (length + mask) & ~TuInt64(mask);
    return learntOnClosing ? (length + 3) & ~TuInt64(3) : length;
}

struct Saver {
    TiffFile& file;
    PyObject* name;
    py::object valueType, groupType;
    // The sizes of the groups under the outermost group being written with
    // its size known that are written so too, in the order put meets them.
    std::vector<TuInt64> sizes;
    std::size_t nextSize = 0;

    struct Pair {
        TuInt32 tag;
        py::handle tagText, value;
    };

    void check(int code) {
        if (code != kFLnoError)
            throwIffError(code, name);
    }
    // The result of TdataChunk::write.
    void checkWritten(int code) { check(code < 0 ? (FLerror() ? FLerror() : FLseterror(kFLio)) : code); }

    Pair split(py::handle pair) {
        if (!py::isinstance<py::tuple>(pair) || py::len(pair) != 2)
            throw py::type_error("save takes (tag, value) pairs");
        const auto item = py::reinterpret_borrow<py::tuple>(pair);
        return {idOf(item[0]), item[0], item[1]};
    }

    // A group the loader found without the wider padding of a size learnt
    // on closing is written with its size known, so that it keeps its
    // padding. Not on a stream, where every unknown size inside it would
    // bring a marker of its own.
    bool sizeKnownFirst(py::handle group) const {
        return !(file.flFile()->flags & kFLcannotSeek) && py::hasattr(group, "_narrow") &&
               py::bool_(group.attr("_narrow"));
    }

    // A Value's bytes, and whether they are written with the size learnt on
    // closing (the wider padding they were read with).
    std::pair<std::string_view, bool> bytesOf(const Pair& item) {
        if (idOf(item.value.attr("tag")) != item.tag)
            throw py::value_error("a Value saved under another tag than its own");
        const py::object data = item.value.attr("data");
        char* bytes = nullptr;
        py::ssize_t length = 0;
        if (PYBIND11_BYTES_AS_STRING_AND_SIZE(data.ptr(), &bytes, &length) != 0)
            throw py::error_already_set(); // data is not bytes
        if (length > INT32_MAX)
            check(FLseterror(kFLbadSize));
        const bool wide = py::hasattr(item.value, "_wide") && py::bool_(item.value.attr("_wide"));
        return {std::string_view(bytes, std::size_t(length)), wide};
    }

    // A number, tuple, array or matrix as the value of the class its tag
    // names.
    Tdata encode(const Pair& item) {
        if (item.tag == Tdata::kTag.value())
            return Tdata(number(item.value));
        const std::string what = py::str(item.tagText);
        TdataLetter* letter = TmetaLetter::construct(TiffTag(item.tag));
        Tdata encoded = letter; // owns it from here on
        if (!letter || letter->cast(&TdataUnknown::fsMetaclass))
            throw py::value_error("no value class is registered under the tag " + what + "; save its bytes as a Value");
        if (auto* matrix = static_cast<TdataMatrix*>(letter->cast(TdataMatrix::sMetaclass()))) {
            auto cells = py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(item.value);
            if (!cells || cells.ndim() != 2 || cells.shape(0) != 4 || cells.shape(1) != 4)
                throw py::value_error("a matrix value takes a 4x4 array of numbers");
            T4dDblMatrix m;
            std::memcpy(m.m, cells.data(), sizeof m.m);
            matrix->setMatrix(m);
        } else if (!(EveryTuple::from(letter, item.value, what) ||
                     arrayFrom<TdataDoubleArray>(letter, item.value, what) ||
                     arrayFrom<TdataInt32Array>(letter, item.value, what) ||
                     arrayFrom<TdataUInt64Array>(letter, item.value, what))) {
            throw py::type_error("a value of this tag is saved as a grundel.data.Value");
        }
        return encoded;
    }

    // The room an encoded value takes at a level of mask, header included,
    // as the library writes it: written for the measure into a group of that
    // alignment in memory.
    TuInt64 measureEncoded(const Tdata& value, TuInt32 mask) {
        _FLfile* scratch = nullptr;
        {
            const TiffSpecialNames memoryNames;
            scratch = FLopen("mem:", "w");
        }
        if (!scratch)
            check(FLerror());
        TiffFile out;
        out.setFLfile(scratch);
        const TuInt32 wrapper = mask >= 7 ? FLmakeid("FOR8") : mask >= 3 ? FLmakeid("FOR4") : FLmakeid("FORM");
        check(FLbgnwgroup(scratch, wrapper, FLmakeid("SIZE")));
        const long before = FLsize(scratch);
        checkWritten(TdataChunk::write(out, value));
        const long after = FLsize(scratch);
        (void)out.quickClose();
        return TuInt64(after - before);
    }

    // The size field of group written at a level of mask and depth, noting
    // the sizes of the groups inside that are written with their size known.
    TuInt64 measureGroup(py::handle group, TuInt32 mask, TuInt32 depth) {
        if (depth >= kFLmaxDepth) // as the library would refuse it, before the stack runs out
            check(FLseterror(kFLcorrupted));
        mask = std::max(mask, familyMask(idOf(group.attr("id"))));
        const bool known = sizeKnownFirst(group);
        const std::size_t slot = sizes.size();
        if (known)
            sizes.push_back(0);
        TuInt64 size = 4; // the type
        for (py::handle pair : group) {
            const Pair item = split(pair);
            if (py::isinstance(item.value, groupType)) {
                const TuInt32 inner = std::max(mask, familyMask(idOf(item.value.attr("id"))));
                const TuInt64 length = measureGroup(item.value, mask, depth + 1);
                size += 8 + paddedLength(length, inner, !sizeKnownFirst(item.value));
            } else if (py::isinstance(item.value, valueType)) {
                const auto [bytes, wide] = bytesOf(item);
                size += 8 + paddedLength(bytes.size(), mask, wide && mask < 3);
            } else {
                size += measureEncoded(encode(item), mask);
            }
        }
        if (size > TuInt64(INT32_MAX))
            check(FLseterror(kFLbadSize));
        if (known)
            sizes[slot] = size;
        return size;
    }

    void put(py::handle pair) {
        const Pair item = split(pair);
        _FLfile* fl = file.flFile();
        if (py::isinstance(item.value, groupType)) {
            const TuInt32 id = idOf(item.value.attr("id"));
            const TuInt32 type = idOf(item.value.attr("type"));
            if (sizeKnownFirst(item.value)) {
                if (nextSize == sizes.size()) { // the outermost such group: measure all inside it
                    sizes.clear();
                    nextSize = 0;
                    (void)measureGroup(item.value, fl->context->mask, fl->context->depth);
                }
                check(FLbgnwgroupsize(fl, id, type, Tint32(sizes[nextSize++])));
            } else {
                check(FLbgnwgroup(fl, id, type));
            }
            for (py::handle inner : item.value)
                put(inner);
            check(FLendwgroup(fl));
            return;
        }
        if (py::isinstance(item.value, valueType)) {
            const auto [bytes, wide] = bytesOf(item);
            // A size known from the start, unless the chunk had the wider
            // padding of a size learnt on closing and the level's alignment
            // does not give that padding anyway.
            const bool learnt = wide && fl->context->mask < 3;
            check(file.beginPut(TiffTag(item.tag), learnt ? -1 : Tint32(bytes.size())));
            const int put = bytes.empty() ? 0 : file.put(bytes.data(), bytes.size());
            const int closed = file.endPut();
            check(put ? put : closed);
            return;
        }
        checkWritten(TdataChunk::write(file, encode(item)));
    }
};

void save(py::object name, py::iterable pairs) {
    std::string encoded;
    if (!encodeName(name.ptr(), encoded))
        throw py::error_already_set();
    py::module_ data = py::module_::import("grundel.data");
    TiffFile file;
    _FLfile* fl = openName(encoded, "w");
    if (!fl)
        throwIffError(FLerror(), name.ptr());
    file.setFLfile(fl);
    Saver writer{file, name.ptr(), data.attr("Value"), data.attr("Group"), {}, 0};
    for (py::handle pair : pairs)
        writer.put(pair);
    if (file.close() != kFLnoError)
        throwIffError(FLerror() ? FLerror() : kFLio, name.ptr());
}

} // namespace

void bindData(py::module_& module) {
    module.def("data_load", &load, py::arg("name"),
               "The file's values as a list of (tag, value) pairs (see grundel.data.load).");
    module.def("data_save", &save, py::arg("name"), py::arg("pairs"),
               "Writes (tag, value) pairs as a chunk file (see grundel.data.save).");
}

} // namespace grundel::python
