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

#include <cstring>
#include <memory>
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

template <class Class>
bool tupleFrom(TdataLetter* letter, py::handle items) {
    auto* tuple = static_cast<Class*>(letter->cast(Class::sMetaclass()));
    if (!tuple)
        return false;
    py::sequence seq = py::reinterpret_borrow<py::sequence>(items);
    if (py::len(seq) != std::size_t(Class::kCount))
        throw py::value_error("a " + std::string(Class::kTypeName) + " takes " + std::to_string(Class::kCount) +
                              " numbers");
    for (int i = 0; i < Class::kCount; ++i)
        (*tuple)[i] = Tdata(number(seq[i]));
    return true;
}

template <class... Classes>
struct Tuples {
    static bool of(const Tdata& value, const unsigned char* data, TuInt32 size, py::object& out) {
        return (tupleOf<Classes>(value, data, size, out) || ...);
    }
    static bool from(TdataLetter* letter, py::handle items) { return (tupleFrom<Classes>(letter, items) || ...); }
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

template <class Class>
bool arrayFrom(TdataLetter* letter, py::handle items) {
    auto* array = static_cast<Class*>(letter->cast(Class::sMetaclass()));
    if (!array)
        return false;
    using Element = std::remove_cv_t<std::remove_pointer_t<decltype(array->elements())>>;
    auto elements = py::array_t<Element, py::array::c_style | py::array::forcecast>::ensure(items);
    if (!elements || elements.ndim() != 1)
        throw py::value_error("an array value takes a one-dimensional sequence of numbers");
    if (elements.size() > py::ssize_t(INT32_MAX / sizeof(Element)))
        throw py::value_error("an array value this long does not fit a chunk");
    array->assign(elements.data(), TuInt32(elements.size()));
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

// A data chunk whose size is 1 or 2 above a multiple of 4 may be followed by
// 2 bytes of padding more than its size asks for: the writer rounds a chunk
// whose size it learns only on closing on to a multiple of 4. The reader
// skips them, so the loader notes which chunks had them, and keeps a chunk
// whose padding its Python form would not give again as a Value.
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
                items.append(py::make_tuple(idText(type), groupType(idText(tag.value()), idText(type), inner)));
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

struct Saver {
    TiffFile& file;
    PyObject* name;
    py::object valueType, groupType;

    void check(int code) {
        if (code != kFLnoError)
            throwIffError(code, name);
    }

    void put(py::handle pair) {
        py::tuple item = py::reinterpret_borrow<py::tuple>(pair);
        if (!py::isinstance<py::tuple>(pair) || item.size() != 2)
            throw py::type_error("save takes (tag, value) pairs");
        const TuInt32 tag = idOf(item[0]);
        py::handle value = item[1];
        if (py::isinstance(value, groupType)) {
            check(FLbgnwgroup(file.flFile(), idOf(value.attr("id")), idOf(value.attr("type"))));
            for (py::handle inner : value)
                put(inner);
            check(FLendwgroup(file.flFile()));
            return;
        }
        if (py::isinstance(value, valueType)) {
            if (idOf(value.attr("tag")) != tag)
                throw py::value_error("a Value saved under another tag than its own");
            py::bytes bytes = value.attr("data");
            char* data = nullptr;
            py::ssize_t length = 0;
            PYBIND11_BYTES_AS_STRING_AND_SIZE(bytes.ptr(), &data, &length);
            // A size known from the start, unless the chunk had the wider
            // padding of a size learnt on closing.
            const bool wide = py::hasattr(value, "_wide") && py::bool_(value.attr("_wide"));
            if (length > INT32_MAX)
                check(FLseterror(kFLbadSize));
            check(file.beginPut(TiffTag(tag), wide ? -1 : Tint32(length)));
            const int put = length ? file.put(data, std::size_t(length)) : 0;
            const int closed = file.endPut();
            check(put ? put : closed);
            return;
        }
        Tdata encoded;
        if (tag == Tdata::kTag.value()) {
            encoded = number(value);
        } else {
            TdataLetter* letter = TmetaLetter::construct(TiffTag(tag));
            encoded = letter; // owns it from here on
            if (!letter || letter->cast(&TdataUnknown::fsMetaclass)) {
                throw py::value_error("no value class is registered under the tag " + std::string(py::str(item[0])) +
                                      "; save its bytes as a Value");
            }
            if (auto* matrix = static_cast<TdataMatrix*>(letter->cast(TdataMatrix::sMetaclass()))) {
                auto cells = py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(value);
                if (!cells || cells.ndim() != 2 || cells.shape(0) != 4 || cells.shape(1) != 4)
                    throw py::value_error("a matrix value takes a 4x4 array of numbers");
                T4dDblMatrix m;
                std::memcpy(m.m, cells.data(), sizeof m.m);
                matrix->setMatrix(m);
            } else if (!(EveryTuple::from(letter, value) || arrayFrom<TdataDoubleArray>(letter, value) ||
                         arrayFrom<TdataInt32Array>(letter, value) || arrayFrom<TdataUInt64Array>(letter, value))) {
                throw py::type_error("a value of this tag is saved as a grundel.data.Value");
            }
        }
        const int code = TdataChunk::write(file, encoded);
        check(code < 0 ? (FLerror() ? FLerror() : FLseterror(kFLio)) : code);
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
    Saver writer{file, name.ptr(), data.attr("Value"), data.attr("Group")};
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
