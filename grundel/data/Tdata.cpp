#include "grundel/data/Tdata.h"

#include "grundel/core/TdebugOutput.h"
#include "grundel/data/TdataLetter.h"
#include "grundel/data/TmetaLetter.h"

#include <cmath>
#include <limits>
#include <new>

namespace {

void* newTdata(Tmetaclass*) { return new (std::nothrow) Tdata(); }

// Whole numbers of type I from a double: truncated toward zero, saturated
// at I's limits, NaN as 0.
template <class I>
I saturate(double value) noexcept {
    if (std::isnan(value))
        return 0;
    if (value <= double(std::numeric_limits<I>::min()))
        return std::numeric_limits<I>::min();
    if (value >= double(std::numeric_limits<I>::max()))
        return std::numeric_limits<I>::max();
    return static_cast<I>(value);
}

// To the nearest whole number, halves to the even neighbour, whatever the
// floating-point rounding mode.
double roundHalfEven(double value) noexcept {
    const double below = std::floor(value);
    const double diff = value - below;
    if (diff > 0.5 || (diff == 0.5 && std::fmod(below, 2.0) != 0.0))
        return below + 1.0;
    return below;
}

// The per-thread free list behind Tdata::operator new. Trivially
// destructible storage, so that it may still be looked at (as closed) by
// destructors that run after its own at thread exit.
constexpr int kFreeListCapacity = 64;
struct FreeList {
    void* fBlocks[kFreeListCapacity];
    int fCount;
    bool fClosed;
};
thread_local FreeList tFreeList{};

struct FreeListReaper {
    ~FreeListReaper() {
        tFreeList.fClosed = true;
        while (tFreeList.fCount > 0)
            ::operator delete(tFreeList.fBlocks[--tFreeList.fCount]);
    }
};
thread_local FreeListReaper tFreeListReaper;

} // namespace

Tmetaclass* Tdata::fsMetaclassPtr = nullptr;
Tmetaclass Tdata::fsMetaclass(&Tdata::fsMetaclassPtr, "Tdata", TuInt16(sizeof(Tdata)), &newTdata, Tdata::kTag, false);
const Tdata Tdata::fsNULL(static_cast<TdataLetter*>(nullptr));
const TincompatibleData Tdata::fsDataMismatch("incompatible data");

namespace {
// After the record it names: immediates are read and written as DBLE.
const TmetaLetter kTdataRegistration(&Tdata::fsMetaclass);
} // namespace

// -- Free list ----------------------------------------------------------------

void* Tdata::operator new(std::size_t size) {
    FreeList& list = tFreeList;
    if (size == sizeof(Tdata) && list.fCount > 0)
        return list.fBlocks[--list.fCount];
    return ::operator new(size);
}

void Tdata::operator delete(void* block, std::size_t size) noexcept {
    if (!block)
        return;
    FreeList& list = tFreeList;
    if (size == sizeof(Tdata) && !list.fClosed && list.fCount < kFreeListCapacity) {
        (void)&tFreeListReaper; // registers the clean-up at thread exit
        list.fBlocks[list.fCount++] = block;
        return;
    }
    ::operator delete(block);
}

void* Tdata::operator new(std::size_t size, const std::nothrow_t&) noexcept {
    FreeList& list = tFreeList;
    if (size == sizeof(Tdata) && list.fCount > 0)
        return list.fBlocks[--list.fCount];
    return ::operator new(size, std::nothrow);
}

// Only called when a constructor raises after the nothrow new above, and
// Tdata's constructors do not raise on an immediate; the block goes back to
// the heap.
void Tdata::operator delete(void* block, const std::nothrow_t&) noexcept { ::operator delete(block); }

int Tdata::sFreeListLength() noexcept { return tFreeList.fCount; }

// -- Construction and assignment ---------------------------------------------

Tdata::Tdata(TdataLetter* letter) noexcept : fFlags(kHolder) {
    fPayload.fBits = 0;
    fPayload.fLetter = letter;
    if (letter)
        letter->reference();
}

Tdata& Tdata::operator=(const Tdata& other) {
    if (this != &other) {
        Tdata taken(other);
        *this = std::move(taken);
    }
    return *this;
}



void Tdata::shareLetterOf(const Tdata& other) {
    TdataLetter* letter = other.fPayload.fLetter;
    // A letter someone writes through is not shared: the copy gets its own.
    if (letter->hasWriter())
        if (TdataLetter* own = letter->copy())
            letter = own;
    letter->reference();
    fFlags |= kHolder;
    fPayload.fLetter = letter;
}

void Tdata::releaseLetter() noexcept {
    if (isLetter() && fPayload.fLetter) {
        TdataLetter* letter = fPayload.fLetter;
        if (fFlags & kWriter)
            letter->madeIntoNonWriter();
        if (fFlags & kHolder)
            letter->unreference();
    }
    fFlags &= ~kWriter;
    fPayload.fBits = 0;
}

Tdata& Tdata::operator=(TanimTime time) noexcept {
    releaseLetter();
    setTicks(time.inTicks());
    fFlags = (fFlags & kFromCache) | kAnimTime | kHolder;
    return *this;
}

Tdata& Tdata::assignBits(TuInt64 bits) noexcept {
    releaseLetter();
    fPayload.fBits = bits;
    fFlags = (fFlags & kFromCache) | kNumeric | kAddr | kHolder;
    return *this;
}

Tdata& Tdata::operator=(TdataLetter* letter) noexcept {
    if (letter)
        letter->reference(); // first: letter may be the one held now
    releaseLetter();
    fPayload.fLetter = letter;
    fFlags = (fFlags & kFromCache) | kHolder;
    return *this;
}

void Tdata::reset() noexcept {
    releaseLetter();
    fFlags = (fFlags & kFromCache) | kHolder;
}

// -- Reading ----------------------------------------------------------------------

double Tdata::convertToDoubleValue() const {
    if (fFlags & kAnimTime)
        return double(fPayload.fWords[0]);
    if (fFlags & kAddr)
        return double(fPayload.fBits);
    if (fFlags & kNumeric)
        return fPayload.fDouble;
    return fPayload.fLetter ? fPayload.fLetter->doubleValue() : 0.0;
}

double Tdata::doubleValue() const { return convertToDoubleValue(); }
float Tdata::floatValue() const { return static_cast<float>(convertToDoubleValue()); }

bool Tdata::booleanValue() const {
    if (isAddr())
        return fPayload.fBits != 0;
    const double value = convertToDoubleValue();
    return value != 0.0 && !std::isnan(value);
}

Tbyte Tdata::byteValue() const { return saturate<Tbyte>(convertToDoubleValue()); }
signed char Tdata::charValue() const { return saturate<signed char>(convertToDoubleValue()); }
Tint16 Tdata::int16Value() const { return saturate<Tint16>(convertToDoubleValue()); }

Tint32 Tdata::int32Value() const {
    if (isAnimTime())
        return fPayload.fWords[0];
    return saturate<Tint32>(convertToDoubleValue());
}

TuInt32 Tdata::uInt32Value() const { return saturate<TuInt32>(convertToDoubleValue()); }

TanimTime Tdata::timeValue() const {
    if (isAnimTime())
        return TanimTime(fPayload.fWords[0]);
    return TanimTime(saturate<Tint32>(roundHalfEven(convertToDoubleValue())));
}

TuInt64 Tdata::uInt64Value() const {
    if (isAddr())
        return fPayload.fBits;
    return saturate<TuInt64>(convertToDoubleValue());
}

void* Tdata::addrValue() const { return reinterpret_cast<void*>(TuIntPtrSz(uInt64Value())); }

// -- Letters -------------------------------------------------------------------------

Tmetaclass* Tdata::typeof() const noexcept {
    const TdataLetter* held = letter();
    return held ? held->typeof() : &fsMetaclass;
}

void* Tdata::cast(Tmetaclass* type) noexcept {
    if (TdataLetter* held = letter())
        return held->cast(type);
    return type == &fsMetaclass ? this : nullptr;
}

void Tdata::makeHolder() noexcept {
    if (!(fFlags & kHolder) && letter())
        fPayload.fLetter->reference();
    fFlags |= kHolder;
}

TdataLetter* Tdata::makeWritable() noexcept {
    if (!letter())
        return nullptr;
    makeHolder();
    TdataLetter* held = fPayload.fLetter;
    if (!held->isShared())
        return held;
    TdataLetter* own = held->copy();
    if (!own)
        return nullptr;
    own->reference();
    if (fFlags & kWriter) {
        held->madeIntoNonWriter();
        own->madeIntoWriter();
    }
    held->unreference();
    fPayload.fLetter = own;
    return own;
}

TdataLetter* Tdata::makeWriter() noexcept {
    TdataLetter* held = makeWritable();
    if (held && !(fFlags & kWriter)) {
        held->madeIntoWriter();
        fFlags |= kWriter;
    }
    return held;
}

bool Tdata::hasWriter() const noexcept {
    const TdataLetter* held = letter();
    return held && held->hasWriter();
}

bool Tdata::isLetterWritable() const noexcept {
    const TdataLetter* held = letter();
    return held && holder() && held->referenceCount() == 1;
}

TiffTag Tdata::tag() const {
    if (isImmediate())
        return kTag;
    return fPayload.fLetter ? fPayload.fLetter->iffTag() : TiffTag();
}

// -- Diagnostics -----------------------------------------------------------------------

void Tdata::debug(TdebugOutput& out, unsigned int flags) const {
    if (isAnimTime())
        out.printf("Tdata time %d ticks (flags %u)\n", int(fPayload.fWords[0]), unsigned(this->flags()));
    else if (isAddr())
        out.printf("Tdata address %#llx (flags %u)\n", static_cast<unsigned long long>(fPayload.fBits),
                   unsigned(this->flags()));
    else if (isNumeric())
        out.printf("Tdata %.17g (flags %u)\n", fPayload.fDouble, unsigned(this->flags()));
    else if (!fPayload.fLetter)
        out.printf("Tdata NULL (flags %u)\n", unsigned(this->flags()));
    else
        fPayload.fLetter->debug(out, flags);
}

void Tdata::debugMe(const Tdata& value, unsigned int flags) { value.debug(TdebugOutput::sStandardError(), flags); }
