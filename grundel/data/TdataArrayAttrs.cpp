#include "grundel/data/TdataArrayAttrs.h"

#include "grundel/core/TargList.h"
#include "grundel/core/TdebugOutput.h"
#include "grundel/core/Tfile.h"
#include "grundel/core/TfootprintInfo.h"
#include "grundel/data/TdataArray.h"
#include "grundel/data/TdataBytes_p.h"
#include "grundel/data/TmetaLetter.h"
#include "grundel/iff/TiffFile.h"

#include <cstdint>
#include <cstring>

using grundel::detail::getBigEndian32;
using grundel::detail::putBigEndian32;

GRUNDEL_DEFINE_CLASS(TdataArrayAttrs, "NWP#", TdataLetter)

namespace {

constexpr TuInt64 padded4(TuInt64 n) noexcept { return (n + 3) & ~TuInt64(3); }

// The element size of the array letter classes an attribute may hold, 0 for
// any other class.
TuInt32 elementSizeOf(const Tmetaclass* type) noexcept {
    if (type == &TdataInt32Array::fsMetaclass)
        return 4;
    if (type == &TdataDoubleArray::fsMetaclass || type == &TdataUInt64Array::fsMetaclass)
        return 8;
    return 0;
}

const Tmetaclass* arrayClassOf(const Tdata& value) noexcept {
    const TdataLetter* letter = value.letter();
    return letter && elementSizeOf(letter->typeof()) ? letter->typeof() : nullptr;
}

TuInt32 elementCountOf(const TdataLetter& letter) noexcept {
    const Tmetaclass* type = letter.typeof();
    if (type == &TdataInt32Array::fsMetaclass)
        return static_cast<const TdataInt32Array&>(letter).count();
    if (type == &TdataDoubleArray::fsMetaclass)
        return static_cast<const TdataDoubleArray&>(letter).count();
    return static_cast<const TdataUInt64Array&>(letter).count();
}

} // namespace

int TdataArrayAttrs::find(std::string_view name) const noexcept {
    for (TuInt32 i = 0; i < count(); ++i)
        if (fNames[i].view() == name)
            return int(i);
    return -1;
}

int TdataArrayAttrs::addAttribute(const Tstring& name, const Tdata& array) {
    if (!arrayClassOf(array))
        return -1;
    (void)fNames.addLast(name);
    (void)fArrays.addLast(array);
    return 0;
}

void TdataArrayAttrs::reset() {
    fNames.reset();
    fArrays.reset();
}

void TdataArrayAttrs::debug(TdebugOutput& out, unsigned int) const {
    for (TuInt32 i = 0; i < count(); ++i) {
        const TdataLetter* letter = fArrays[i].letter();
        out.printf("Array %d (%s): %x, type %d\n", int(i), fNames[i].asC(),
                   unsigned(reinterpret_cast<std::uintptr_t>(letter)), int(letter->typeof()->typeId()));
    }
}

void TdataArrayAttrs::_getFootprint(TfootprintInfo& info) const {
    info.setSize(sizeof(*this) + std::size_t(fNames.physicalSize()) * sizeof(Tstring) +
                     std::size_t(fArrays.physicalSize()) * sizeof(Tdata),
                 "TdataArrayAttrs");
}

int TdataArrayAttrs::readBinary(TiffTag, TuInt32& remaining, const char*& cursor) {
    // Reads over a copy of the cursor and commits only when all is well.
    const char* at = cursor;
    TuInt32 left = remaining;
    auto take32 = [&](TuInt32& value) {
        if (left < 4)
            return false;
        value = getBigEndian32(at);
        at += 4;
        left -= 4;
        return true;
    };
    TuInt32 n = 0;
    // Each attribute takes at least 12 bytes: no count can reserve more
    // than the chunk holds.
    if (!take32(n) || n > left / 12)
        return -1;
    TstringArray names;
    TdataArray arrays;
    for (TuInt32 i = 0; i < n; ++i) {
        TuInt32 nameLength = 0;
        if (!take32(nameLength) || padded4(nameLength) > left)
            return -1;
        const Tstring name(std::string_view(at, nameLength));
        for (TuInt64 k = nameLength; k < padded4(nameLength); ++k)
            if (at[k] != 0)
                return -1;
        at += padded4(nameLength);
        left -= TuInt32(padded4(nameLength));
        TuInt32 tagValue = 0, byteLength = 0;
        if (!take32(tagValue) || !take32(byteLength) || byteLength > left)
            return -1;
        const TiffTag tag(tagValue);
        Tmetaclass* type = TmetaLetter::findTypeid(tag);
        const TuInt32 elementSize = elementSizeOf(type);
        if (!elementSize || byteLength % elementSize != 0)
            return -1;
        Tdata array(TdataLetter::construct(type));
        TuInt32 arrayLeft = byteLength;
        const char* arrayAt = at;
        if (!array.letter() || array.letter()->readBinary(tag, arrayLeft, arrayAt) != 0)
            return -1;
        at += byteLength;
        left -= byteLength;
        (void)names.addLast(name);
        (void)arrays.addLast(array);
    }
    if (left != 0)
        return -1;
    fNames.swap(names);
    fArrays.swap(arrays);
    cursor = at;
    remaining = 0;
    return 0;
}

int TdataArrayAttrs::writeBinary(TiffFile& file) const {
    static const unsigned char kZeros[4] = {};
    unsigned char word[4];
    auto put32 = [&](TuInt32 value) {
        putBigEndian32(value, word);
        return file.put(word, 4) == 0;
    };
    if (!put32(count()))
        return -1;
    for (TuInt32 i = 0; i < count(); ++i) {
        const TdataLetter& letter = *fArrays[i].letter();
        const std::string_view name = fNames[i].view();
        const std::size_t pad = std::size_t(padded4(name.size()) - name.size());
        if (!put32(TuInt32(name.size())) || (!name.empty() && file.put(name.data(), name.size()) != 0) ||
            (pad && file.put(kZeros, pad) != 0))
            return -1;
        if (!put32(letter.iffTag().value()) ||
            !put32(elementCountOf(letter) * elementSizeOf(letter.typeof())) || letter.writeBinary(file) != 0)
            return -1;
    }
    return 0;
}

int TdataArrayAttrs::readASCII(const TargList& args, int& index, unsigned int flags) {
    if (index < 0 || index >= args.count())
        return -1;
    // A name and at least one argument of its array per attribute.
    TuInt32 n = 0;
    if (!grundel::detail::parseTextCount(args[index].view(), TuInt32(args.count() - index - 1) / 2, n))
        return -1;
    TstringArray names;
    TdataArray arrays;
    int at = index;
    for (TuInt32 i = 0; i < n; ++i) {
        const int nameAt = ++at;
        Tdata array;
        ++at;
        if (at >= args.count() || array.readASCII(args, at, flags) != 0 || !arrayClassOf(array))
            return -1;
        (void)names.addLast(args[nameAt]);
        (void)arrays.addLast(array);
    }
    fNames.swap(names);
    fArrays.swap(arrays);
    index = at;
    return 0;
}

int TdataArrayAttrs::writeASCII(Tfile& file, int hint) const {
    int result = file.putUInt(count());
    result |= file.putChar(' ');
    for (TuInt32 i = 0; i < count(); ++i) {
        result |= file.putString(TargList::quote(fNames[i].view()).view());
        result |= file.putChar(' ');
        result |= fArrays[i].writeASCII(file, hint, true);
    }
    return result == 0 ? 0 : -1;
}
