#include "grundel/data/TdataArray.h"

#include "grundel/core/TargList.h"
#include "grundel/core/TdebugOutput.h"
#include "grundel/core/Tfile.h"
#include "grundel/core/TfootprintInfo.h"
#include "grundel/data/Tdata.h"
#include "grundel/data/TdataBuiltins_p.h"
#include "grundel/data/TdataBytes_p.h"
#include "grundel/data/TmetaLetter.h"
#include "grundel/iff/TiffFile.h"
#include "grundel/time/TangleUnit.h"
#include "grundel/time/Tunit.h"

#include <cstring>

using grundel::detail::parseTextCount;
using grundel::detail::parseTextNumber;
using grundel::detail::swapElements;

GRUNDEL_DEFINE_CLASS(TdataInt32Array, "I32#", TdataLetter)
GRUNDEL_DEFINE_CLASS(TdataDoubleArray, "DBL#", TdataLetter)
GRUNDEL_DEFINE_CLASS(TdataUInt64Array, "U64#", TdataLetter)

void grundel::detail::registerArrayLetters() {
    static const TmetaLetter int32s(&TdataInt32Array::fsMetaclass, "Int32Array");
    static const TmetaLetter doubles(&TdataDoubleArray::fsMetaclass, "doubleArray");
    static const TmetaLetter uInt64s(&TdataUInt64Array::fsMetaclass, "uInt64Array");
}

template <class A>
A& TdataArrayLetter<A>::writableArray() {
    const bool fresh = !fElements.isSet();
    A& array = fElements.writable();
    if (fresh)
        array.setSizeIncrement(kInitialRoom);
    return array;
}

template <class A>
void TdataArrayLetter<A>::setValue(TuInt32 i, Element value) {
    assert(i < count() && "array letter index out of range");
    writableArray()[i] = value;
}

template <class A>
void TdataArrayLetter<A>::assign(const Element* values, TuInt32 n) {
    // Whatever others share stays theirs; this letter starts a new array,
    // filled before the old one goes (values may be its elements).
    A fresh(kInitialRoom);
    if (n)
        (void)fresh.addLast(values, n);
    fElements.reset();
    writableArray().swap(fresh);
}

template <class A>
void TdataArrayLetter<A>::_getFootprint(TfootprintInfo& info) const {
    const A* array = fElements.get();
    info.setSize(sizeof(*this) + (array ? sizeof(A) + std::size_t(array->physicalSize()) * sizeof(Element) : 0),
                 typeName().asC());
}

template <class A>
bool TdataArrayLetter<A>::operator==(const TdataLetter& other) const {
    if (other.typeof() != typeof())
        return false;
    const auto& that = static_cast<const TdataArrayLetter&>(other);
    if (that.count() != count())
        return false;
    for (TuInt32 i = 0; i < count(); ++i)
        if (!(elements()[i] == that.elements()[i]))
            return false;
    return true;
}

template <class A>
int TdataArrayLetter<A>::readASCII(const TargList& args, int& index, unsigned int) {
    if (index < 0 || index >= args.count())
        return -1;
    // The count may not promise more values than the line holds.
    TuInt32 n = 0;
    if (!parseTextCount(args[index].view(), TuInt32(args.count() - index - 1), n))
        return -1;
    A read(kInitialRoom);
    if (n)
        (void)read.create(n, kInitialRoom);
    for (TuInt32 i = 0; i < n; ++i)
        if (!parseTextNumber(args[index + 1 + int(i)].view(), read[i]))
            return -1;
    fElements.reset();
    writableArray().swap(read);
    index += int(n);
    return 0;
}

template <class A>
int TdataArrayLetter<A>::readBinary(TiffTag, TuInt32& remaining, const char*& cursor) {
    assert((cursor || remaining == 0) && "readBinary() without bytes");
    const TuInt32 n = remaining / TuInt32(sizeof(Element));
    // Copies keep their elements; this letter reads into a new array,
    // sized by the bytes present.
    fElements.reset();
    A& array = writableArray();
    if (n) {
        (void)array.create(n, kInitialRoom);
        swapElements<Element>(cursor, array.data(), n);
    }
    cursor += remaining;
    remaining = 0;
    return 0;
}

template <class A>
int TdataArrayLetter<A>::writeBinary(TiffFile& file) const {
    const TuInt32 n = count();
    if (n == 0)
        return 0;
    const std::size_t bytes = std::size_t(n) * sizeof(Element);
    void* out = file.beginWrite(bytes);
    if (!out)
        return -1;
    swapElements<Element>(elements(), out, n);
    return file.endWrite(bytes) == 0 ? 0 : -1;
}

template <class A>
template <class Put>
int TdataArrayLetter<A>::writeElements(Tfile& file, Put putElement) const {
    int result = file.putUInt(count());
    result |= file.putChar(' ');
    for (const Element& element : *this) {
        result |= putElement(element);
        result |= file.putChar(' ');
    }
    return result == 0 ? 0 : -1;
}

template <class A>
void TdataArrayLetter<A>::debugElements(TdebugOutput& out, const char* format) const {
    for (TuInt32 i = 0; i < count(); ++i) {
        out.printf("[%d]\t= ", int(i));
        if constexpr (std::is_floating_point<Element>::value)
            out.printf(format, double(elements()[i]));
        else if constexpr (sizeof(Element) == 8)
            out.printf(format, static_cast<unsigned long long>(elements()[i]));
        else
            out.printf(format, int(elements()[i]));
        out.printf("\n");
    }
}

template class TdataArrayLetter<Tint32Array>;
template class TdataArrayLetter<TdoubleArray>;
template class TdataArrayLetter<TuInt64Array>;

// -- The three classes ------------------------------------------------------------

void TdataInt32Array::debug(TdebugOutput& out, unsigned int) const {
    if (!array()) {
        out.printf("Int32Array : NULL\n");
        return;
    }
    out.printf("Int32Array : %d members\n", int(count()));
    debugElements(out, "%d");
}

int TdataInt32Array::writeASCII(Tfile& file, int) const {
    return writeElements(file, [&](Tint32 value) { return file.putInt(value); });
}

void TdataDoubleArray::debug(TdebugOutput& out, unsigned int) const {
    out.printf("Size %d\n", int(count()));
    debugElements(out, "%g");
}

int TdataDoubleArray::writeASCII(Tfile& file, int hint) const {
    switch (hint) {
    case 0:
    case 4: return writeElements(file, [&](double value) { return file.putDouble(value); });
    case 6: return writeElements(file, [&](double value) { return file.putDouble(Tunit::internalToUI(value)); });
    case 7:
        return writeElements(file, [&](double value) { return file.putDouble(TangleUnit::internalToUI(value)); });
    case 8:
        // Each value taken as ticks and written in seconds, as Tdata writes it.
        return writeElements(file, [&](double value) {
            return file.putFloat(static_cast<float>(Tdata(value).timeValue().inTicks()) * (1.0f / 6000.0f));
        });
    default: return 0;
    }
}

void TdataUInt64Array::debug(TdebugOutput& out, unsigned int) const {
    out.printf("uInt64Array : %d members\n", int(count()));
    debugElements(out, "%llu");
}

int TdataUInt64Array::writeASCII(Tfile& file, int) const {
    return writeElements(file, [&](TuInt64 value) { return file.putUInt(value); });
}
