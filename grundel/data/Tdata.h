#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Texception.h"
#include "grundel/core/Ttypes.h"
#include "grundel/iff/TiffTag.h"
#include "grundel/time/TanimTime.h"

#include <cstddef>
#include <new>

class Tmetaclass;
class TdataLetter;
class TdebugOutput;
class TiffFile;
class Tfile;
class TargList;

/// A typed value: a flags word and an 8-byte payload holding either an
/// immediate (a double, an animation time, an address or 64-bit integer)
/// or a reference to a TdataLetter, the shared representation of anything
/// richer. A letter-mode envelope with a null letter is the NULL value.
///
/// Flags: kNumeric (the payload is a double), kAnimTime (its first word is
/// a tick count), kFromCache, kHolder (the envelope owns a reference on its
/// letter), kAddr (a pointer or 64-bit integer, always with kNumeric).
/// Neither kNumeric nor kAnimTime means letter mode.
///
/// Copies share the letter (one more reference each), except when the
/// letter has a writer: then the copy gets a letter of its own, so that the
/// writer's changes stay its own. An envelope writes through its letter
/// only after makeWritable() or makeWriter(), which copy a shared letter
/// first.
///
/// Reading a double as a narrower integer saturates at the type's limits
/// and gives 0 for NaN; as a time it rounds halves to even. Letters are
/// read through their doubleValue(); the NULL value reads as 0.
///
/// One envelope is used by one thread at a time; envelopes on different
/// threads may share a letter (the counts are atomic).
class GRUNDEL_API Tdata {
public:
    enum Flags : TuInt32 {
        kNumeric = 1,
        kAnimTime = 2,
        kFromCache = 4,
        kHolder = 8,
        kAddr = 16,
    };

    /// The class record, "Tdata" with tag DBLE (the tag of every immediate).
    static Tmetaclass fsMetaclass;
    static Tmetaclass* fsMetaclassPtr;
    static Tmetaclass* sMetaclass() noexcept { return &fsMetaclass; }
    static constexpr TiffTag kTag = TiffTag('D', 'B', 'L', 'E');
    /// A NULL envelope.
    static const Tdata fsNULL;
    /// What operations between values of incompatible kinds throw.
    static const TincompatibleData fsDataMismatch;

    /// 0.0.
    Tdata() noexcept : fFlags(kNumeric) { fPayload.fDouble = 0.0; }
    Tdata(double value) noexcept : fFlags(kNumeric) { fPayload.fDouble = value; }
    Tdata(bool value) noexcept : Tdata(value ? 1.0 : 0.0) {}
    Tdata(int value) noexcept : Tdata(double(value)) {}
    Tdata(short value) noexcept : Tdata(double(value)) {}
    /// The true unsigned value, also with the top bit set.
    Tdata(unsigned int value) noexcept : Tdata(double(value)) {}
    Tdata(TanimTime time) noexcept : fFlags(kAnimTime) { setTicks(time.inTicks()); }
    Tdata(void* address) noexcept : fFlags(kNumeric | kAddr) { fPayload.fBits = TuInt64(TuIntPtrSz(address)); }
    Tdata(Tint64 value) noexcept : fFlags(kNumeric | kAddr) { fPayload.fBits = TuInt64(value); }
    Tdata(TuInt64 value) noexcept : fFlags(kNumeric | kAddr) { fPayload.fBits = value; }
    /// Letter mode; the envelope takes a reference on letter (null gives
    /// the NULL value).
    Tdata(TdataLetter* letter) noexcept;
    /// Text is not a value (it would otherwise become a boolean).
    Tdata(const char*) = delete;

    // Immediates are copied and dropped inline; letters go out of line.
    Tdata(const Tdata& other) : fFlags(other.fFlags & kPublicFlags), fPayload(other.fPayload) {
        if (other.holdsLetter())
            shareLetterOf(other);
    }
    Tdata(Tdata&& other) noexcept : fFlags(other.fFlags), fPayload(other.fPayload) {
        other.fFlags = kNumeric;
        other.fPayload.fDouble = 0.0;
    }
    Tdata& operator=(const Tdata& other);
    Tdata& operator=(Tdata&& other) noexcept {
        if (this != &other) {
            if (holdsLetter())
                releaseLetter();
            fFlags = other.fFlags;
            fPayload = other.fPayload;
            other.fFlags = kNumeric;
            other.fPayload.fDouble = 0.0;
        }
        return *this;
    }
    /// Releases a held letter.
    ~Tdata() {
        if (holdsLetter())
            releaseLetter();
    }

    /// Assignment from a plain value releases a held letter, stores the
    /// value and sets the value's flags and kHolder (kFromCache stays).
    Tdata& operator=(double value) noexcept {
        if (holdsLetter())
            releaseLetter();
        fPayload.fDouble = value;
        fFlags = (fFlags & kFromCache) | kNumeric | kHolder;
        return *this;
    }
    Tdata& operator=(bool value) noexcept { return *this = value ? 1.0 : 0.0; }
    Tdata& operator=(int value) noexcept { return *this = double(value); }
    Tdata& operator=(short value) noexcept { return *this = double(value); }
    Tdata& operator=(unsigned int value) noexcept { return *this = double(value); }
    Tdata& operator=(TanimTime time) noexcept;
    Tdata& operator=(void* address) noexcept { return assignBits(TuInt64(TuIntPtrSz(address))); }
    Tdata& operator=(Tint64 value) noexcept { return assignBits(TuInt64(value)); }
    Tdata& operator=(TuInt64 value) noexcept { return assignBits(value); }
    /// Letter mode with a reference on letter (null: the NULL value).
    Tdata& operator=(TdataLetter* letter) noexcept;

    /// Releases the letter and becomes the NULL value (kHolder set).
    void reset() noexcept;
    void setToNULL() noexcept { reset(); }

    // -- Kinds ----------------------------------------------------------------

    TuInt32 flags() const noexcept { return fFlags & kPublicFlags; }
    bool isNumeric() const noexcept { return fFlags & kNumeric; }
    bool isAnimTime() const noexcept { return fFlags & kAnimTime; }
    bool isAddr() const noexcept { return fFlags & kAddr; }
    bool isImmediate() const noexcept { return fFlags & (kNumeric | kAnimTime); }
    bool isLetter() const noexcept { return !isImmediate(); }
    /// Letter mode without a letter.
    bool isNULL() const noexcept { return isLetter() && !fPayload.fLetter; }
    bool holder() const noexcept { return fFlags & kHolder; }
    bool isFromCache() const noexcept { return fFlags & kFromCache; }
    void fromCache(bool on = true) noexcept { fFlags = on ? fFlags | kFromCache : fFlags & ~TuInt32(kFromCache); }

    // -- Reading ----------------------------------------------------------------

    /// Non-zero (NaN is false).
    bool booleanValue() const;
    /// 0 to 255, saturated.
    Tbyte byteValue() const;
    /// -128 to 127, saturated.
    signed char charValue() const;
    Tint16 int16Value() const;
    Tint32 int32Value() const;
    TuInt32 uInt32Value() const;
    float floatValue() const;
    /// A time gives its tick count; an address its integer value.
    double doubleValue() const;
    /// A number is taken as ticks.
    TanimTime timeValue() const;
    /// An address or 64-bit integer as stored; other values as a
    /// non-negative whole number (saturated).
    void* addrValue() const;
    TuInt64 uInt64Value() const;

    // -- Letters -----------------------------------------------------------------

    /// The letter, or null (immediates and the NULL value).
    TdataLetter* letter() const noexcept { return isLetter() ? fPayload.fLetter : nullptr; }
    TdataLetter* pLetter() const noexcept { return letter(); }
    /// The payload's eight bytes, for letters that keep a value in place.
    void* privateData() noexcept { return &fPayload; }
    const void* privateData() const noexcept { return &fPayload; }
    void** privateDataStar() noexcept { return &fPayload.fPointer; }
    /// The letter's class for a letter; Tdata's own for immediates and the
    /// NULL value.
    Tmetaclass* typeof() const noexcept;
    /// The letter as type (the letter's cast), this envelope for Tdata's
    /// own record, or null.
    void* cast(Tmetaclass* type) noexcept;
    const void* cast(Tmetaclass* type) const noexcept { return const_cast<Tdata*>(this)->cast(type); }

    /// Takes a reference on the letter when the envelope does not own one.
    void makeHolder() noexcept;
    /// Gives the envelope a letter that no one else holds, copying a shared
    /// one. The letter, or null (an immediate, the NULL value, or a letter
    /// that cannot copy itself, which is then left shared).
    TdataLetter* makeWritable() noexcept;
    /// makeWritable(), then announces this envelope as the letter's writer
    /// (until the envelope lets go of it). The letter, or null as above.
    TdataLetter* makeWriter() noexcept;
    /// The letter for writing: makeWritable().
    TdataLetter* writer() noexcept { return makeWritable(); }
    /// Some envelope writes through the letter.
    bool hasWriter() const noexcept;
    /// The envelope owns the only reference on its letter.
    bool isLetterWritable() const noexcept;

    // -- Files ---------------------------------------------------------------------

    /// The chunk tag: the letter's iffTag(), kTag for immediates, 0 for the
    /// NULL value.
    TiffTag tag() const;
    /// Writes the payload into the open chunk of file, big-endian: 8 bytes
    /// for a number, 4 for a time, the letter's writeBinary() for a letter.
    /// 0 on success; the NULL value writes nothing and gives 0; an address
    /// or 64-bit integer writes nothing and gives -1; -1 on a short write.
    [[nodiscard]] int writeBinary(TiffFile& file) const;
    /// Reads the value from a chunk's bytes at cursor (remaining of them):
    /// a time envelope 4 bytes, an address envelope nothing (it becomes 0),
    /// any other 8 bytes as a double; a letter reads through its own
    /// readBinary(). Consumes what it read (cursor on, remaining less). -1
    /// with nothing consumed and the value unchanged when too few remain.
    [[nodiscard]] int readBinary(TiffTag tag, TuInt32& remaining, const char*& cursor);
    /// Writes the value as text; see the .cpp of the text forms for the
    /// hints. With withType, a letter is preceded by -type "name" and a
    /// space. The NULL value writes nothing. Returns 0.
    int writeASCII(Tfile& file, int hint, bool withType = false) const;
    /// Reads the value from the arguments at index, leaving index on the
    /// last argument used: "-type" NAME then the arguments of that type
    /// ("Tdata" for a number, any other name through TmetaLetter, unknown
    /// names kept as TdataUnknown), or one number in the forms writeASCII
    /// writes ("1.5", "-2e-07", "inf", "nan", an optional leading '+'; for a
    /// time envelope, a time in the user-defined time unit). -1 for a
    /// missing or malformed argument, with the value and index unchanged.
    [[nodiscard]] int readASCII(const TargList& args, int& index, unsigned int flags = 0);

    // -- Diagnostics ----------------------------------------------------------------

    void debug(TdebugOutput& out, unsigned int flags = 0) const;
    static void debugMe(const Tdata& value, unsigned int flags = 0);

    /// Blocks of sizeof(Tdata) come from, and go back to, a small per-thread
    /// list of free blocks; other sizes (derived classes) use the heap.
    static void* operator new(std::size_t size);
    static void operator delete(void* block, std::size_t size) noexcept;
    /// Null instead of raising when no memory is left.
    static void* operator new(std::size_t size, const std::nothrow_t&) noexcept;
    static void operator delete(void* block, const std::nothrow_t&) noexcept;
    /// Placement forms, unchanged.
    static void* operator new(std::size_t, void* where) noexcept { return where; }
    static void operator delete(void*, void*) noexcept {}
    /// Free blocks the calling thread keeps.
    static int sFreeListLength() noexcept;

private:
    static constexpr TuInt32 kWriter = 32; // this envelope announced itself as writer
    static constexpr TuInt32 kPublicFlags = kNumeric | kAnimTime | kFromCache | kHolder | kAddr;

    union Payload {
        double fDouble;
        TuInt64 fBits;
        Tint32 fWords[2];
        void* fPointer;
        TdataLetter* fLetter;
    };

    void setTicks(Tint32 ticks) noexcept {
        fPayload.fBits = 0;
        fPayload.fWords[0] = ticks;
    }
    Tdata& assignBits(TuInt64 bits) noexcept;
    /// Lets go of the letter as the assignments do: unreferenced when held,
    /// merely forgotten otherwise.
    void releaseLetter() noexcept;
    bool holdsLetter() const noexcept { return !(fFlags & (kNumeric | kAnimTime)) && fPayload.fLetter; }
    /// Takes a reference on other's letter (a copy of it when it has a
    /// writer), after the flags and payload were copied.
    void shareLetterOf(const Tdata& other);
    double convertToDoubleValue() const;

    TuInt32 fFlags;
    Payload fPayload;
};

static_assert(sizeof(void*) == 8, "the payload holds a pointer in its eight bytes");
