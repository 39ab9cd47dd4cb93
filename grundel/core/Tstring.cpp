#include "grundel/core/Tstring.h"

#include "grundel/core/TstringId.h"
#include "grundel/core/Tstring_p.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <malloc.h>
#include <strings.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

using TstringData = Tstring::TstringData;

const char Tstring::kNullStr[1] = {'\0'};
int Tstring::fsPrecision = 6;
bool Tstring::fsFloatClampingOnConversion = true;

namespace {

// Blocks keep their capacity in 32 bits; refuse sizes whose block would not fit.
constexpr TuInt64 kMaxBlockBytes = 0xFFFFFFF0u;

// Size of a block that an owner reallocates for n characters: n + 20
// rounded down to a multiple of 4 (a few bytes of slack, never geometric).
inline TuInt64 reallocBytes(TuInt32 n) noexcept { return (TuInt64(n) + 20) & ~TuInt64(3); }

std::vector<std::size_t>* gRequests = nullptr;

// Every size asked of the heap for a block passes here.
inline void asked(TuInt64 bytes) noexcept {
    if (gRequests)
        gRequests->push_back(static_cast<std::size_t>(bytes));
}

inline bool pointsInto(const char* p, const TstringData* block) noexcept {
    if (!block || !p)
        return false;
    const char* begin = block->text();
    return p >= begin && p <= begin + block->fCapacity;
}

} // namespace

void grundel::detail::recordStringBlockRequests(std::vector<std::size_t>* sizes) noexcept { gRequests = sizes; }

// -- Blocks ---------------------------------------------------------------------

TstringData* TstringData::create(TuInt32 n) noexcept {
    const TuInt64 bytes = (TuInt64(n) + 35) / 20 * 20;
    if (bytes > kMaxBlockBytes)
        return nullptr;
    asked(bytes);
    auto* block = static_cast<TstringData*>(std::malloc(bytes));
    if (!block)
        return nullptr;
    new (&block->fCount) TmtRefCounter(1);
    block->fLength = 0;
    block->fCapacity = static_cast<TuInt32>(bytes - 16);
    block->text()[0] = '\0';
    return block;
}

TstringData* TstringData::growRealloc(TstringData* block, TuInt32 n, bool keep) noexcept {
    if (block->fCount.value() < 2) {
        if (n > block->fCapacity) {
            const TuInt64 bytes = reallocBytes(n);
            if (bytes > kMaxBlockBytes)
                return nullptr;
            // The heap rounds blocks up: while the new size still fits the
            // block, the realloc would return it unchanged, so skip the call.
            if (bytes > ::malloc_usable_size(block)) {
                asked(bytes);
                auto* grown = static_cast<TstringData*>(std::realloc(static_cast<void*>(block), bytes));
                if (!grown)
                    return nullptr;
                block = grown;
            }
            block->fCapacity = static_cast<TuInt32>(bytes - 16);
            if (!keep) {
                block->fLength = 0;
                block->text()[0] = '\0';
            }
        }
        return block;
    }
    TstringData* fresh = create(keep && block->fLength > n ? block->fLength : n);
    if (!fresh)
        return nullptr;
    if (keep) {
        std::memcpy(fresh->text(), block->text(), block->fLength + 1);
        fresh->fLength = block->fLength;
    }
    // The old block keeps its other owners. Should they all have gone
    // meanwhile (another thread), the block is ours to free.
    release(block);
    return fresh;
}

TstringData* TstringData::grow(TstringData* block, TuInt32 n, bool keep) noexcept {
    return block ? growRealloc(block, n, keep) : create(n);
}

TstringData* TstringData::shrink(TstringData* block, TuInt32 n, bool keep) noexcept {
    if (!block)
        return create(n);
    if (block->fCount.value() < 2) {
        if (n < block->fCapacity) {
            const TuInt64 bytes = reallocBytes(n);
            asked(bytes);
            auto* smaller = static_cast<TstringData*>(std::realloc(static_cast<void*>(block), bytes));
            if (!smaller)
                return nullptr;
            block = smaller;
            block->fCapacity = static_cast<TuInt32>(bytes - 16);
            if (!keep) {
                block->fLength = 0;
                block->text()[0] = '\0';
            } else if (n < block->fLength) {
                block->fLength = n;
                block->text()[n] = '\0';
            }
        }
        return block;
    }
    TstringData* fresh = create(n);
    if (!fresh)
        return nullptr;
    if (keep) {
        const TuInt32 kept = n < block->fLength ? n : block->fLength;
        std::memcpy(fresh->text(), block->text(), kept);
        fresh->text()[kept] = '\0';
        fresh->fLength = kept;
    }
    release(block);
    return fresh;
}

bool Tstring::makeRoom(TuInt32 n, bool keep) noexcept {
    TstringData* block = TstringData::grow(fData, n, keep);
    if (!block)
        return false;
    fData = block;
    return true;
}

void Tstring::adopt(TstringData* block) noexcept {
    TstringData* old = fData;
    fData = block;
    if (old)
        TstringData::release(old);
}

// -- Construction and assignment --------------------------------------------------

Tstring::Tstring(const char* text) noexcept : fData(nullptr) { set(text); }

Tstring::Tstring(const char* text, unsigned int n) noexcept : fData(nullptr) { set(text, n); }

Tstring::Tstring(std::string_view text) noexcept : fData(nullptr) {
    if (text.size() <= 0xFFFFFFFFu)
        set(text.data(), static_cast<unsigned int>(text.size()));
}

Tstring::operator std::string() const { return std::string(asC(), length()); }

std::string Tstring_toStdString(const Tstring& s) { return std::string(s.asC(), s.length()); }

Tstring::Tstring(unsigned int n) noexcept : fData(TstringData::create(n)) {}

Tstring::Tstring(const TstringId& id) noexcept : fData(nullptr) { set(id); }

Tstring::Tstring(TstringIdNumber number) noexcept : fData(nullptr) { set(number); }

int Tstring::set(const Tstring& other) noexcept {
    if (other.fData == fData)
        return 0;
    if (other.fData)
        other.fData->fCount.add();
    adopt(other.fData);
    return 0;
}

int Tstring::set(const char* text) noexcept {
    return set(text, text ? static_cast<unsigned int>(std::strlen(text)) : 0);
}

int Tstring::set(const char* source, unsigned int n) noexcept {
    if (!source) {
        source = kNullStr;
        n = 0;
    }
    if (!fData) {
        if (n == 0)
            return 0; // the empty string allocates nothing
        fData = TstringData::create(n);
        if (!fData)
            return 0;
    } else if (fData->fCount.value() >= 2) {
        // A fresh block; the shared one (which source may point into) goes last.
        TstringData* fresh = TstringData::create(n);
        if (!fresh)
            return 0;
        std::memcpy(fresh->text(), source, n);
        fresh->text()[n] = '\0';
        fresh->fLength = n;
        adopt(fresh);
        return 0;
    } else if (n > fData->fCapacity) {
        // source cannot lie inside this block: it holds fewer than n characters.
        if (!makeRoom(n, false))
            return 0;
    }
    std::memmove(text(), source, n);
    fData->fLength = n;
    text()[n] = '\0';
    return 0;
}

int Tstring::setChar(const char* chars, unsigned int count) noexcept {
    return set(chars, chars ? count : 0);
}

int Tstring::setFromTable(int number, bool catenateIt) noexcept {
    Tstring entry;
    TstringTable::lookup(number, entry);
    if (catenateIt)
        return catenate(entry);
    return set(entry);
}

int Tstring::set(const TstringId& id) noexcept {
    if (id.isCatalog())
        return 0;
    return setFromTable(id.stringNumber(), false);
}

int Tstring::set(TstringIdNumber number) noexcept { return setFromTable(number, false); }

// -- Appending ------------------------------------------------------------------

int Tstring::catenate(const Tstring& other) noexcept {
    return catenate(other.asC(), other.length());
}

int Tstring::catenate(const char* text) noexcept {
    return text ? catenate(text, static_cast<unsigned int>(std::strlen(text))) : 0;
}

int Tstring::catenate(const char* source, unsigned int n) noexcept {
    if (!source || n == 0)
        return 0;
    const TuInt32 oldLength = length();
    if (TuInt64(oldLength) + n > kMaxBlockBytes)
        return 0;
    const bool roomy = fData && fData->fCount.value() < 2 && n <= fData->fCapacity - oldLength;
    if (!roomy) {
        // Growing can move the block the source lies in. A second reference
        // keeps it where it is: the text then moves to a fresh block instead.
        const Tstring keepSource(pointsInto(source, fData) ? *this : Tstring());
        if (!makeRoom(oldLength + n, true))
            return 0;
        std::memcpy(text() + oldLength, source, n);
    } else {
        std::memmove(text() + oldLength, source, n);
    }
    fData->fLength = oldLength + n;
    text()[oldLength + n] = '\0';
    return 0;
}

int Tstring::catenateGrowing(char c) noexcept {
    TstringData* d = fData;
    if (!d || d->fCount.value() >= 2)
        return catenate(&c, 1); // c is a copy: growth cannot move it
    // A full block of our own. Growth asks the heap for reallocBytes(n + 1),
    // as every growth does, but the capacity becomes all the room the heap
    // block has: its rounding then serves the next appends inline, and
    // realloc is called only when the heap block itself must grow.
    const TuInt32 n = d->fLength;
    const TuInt64 bytes = reallocBytes(n + 1);
    if (bytes > kMaxBlockBytes)
        return 0;
    std::size_t usable = ::malloc_usable_size(d);
    if (bytes > usable) {
        asked(bytes);
        d = static_cast<TstringData*>(std::realloc(static_cast<void*>(d), bytes));
        if (!d)
            return 0;
        fData = d;
        usable = ::malloc_usable_size(d);
    }
    d->fCapacity = static_cast<TuInt32>(std::min<std::size_t>(usable, kMaxBlockBytes) - 16);
    char* t = d->text();
    t[n] = c;
    t[n + 1] = '\0';
    d->fLength = n + 1;
    return 0;
}

int Tstring::catenateChar(const char* chars, unsigned int count) noexcept {
    return chars ? catenate(chars, count) : 0;
}

int Tstring::catenate(const TstringId& id) noexcept {
    if (id.isCatalog())
        return 0;
    return setFromTable(id.stringNumber(), true);
}

int Tstring::catenate(TstringIdNumber number) noexcept { return setFromTable(number, true); }

Tstring operator+(const Tstring& a, const Tstring& b) noexcept {
    Tstring r(a.length() + b.length());
    r.catenate(a);
    r.catenate(b);
    return r;
}

Tstring operator+(const Tstring& a, const char* b) noexcept {
    Tstring r(a);
    r.catenate(b);
    return r;
}

Tstring operator+(const char* a, const Tstring& b) noexcept {
    Tstring r(a);
    r.catenate(b);
    return r;
}

Tstring operator+(const Tstring& a, char b) noexcept {
    Tstring r(a);
    r.catenate(b);
    return r;
}

// -- Access ----------------------------------------------------------------------

namespace {

// Sign-extended byte, as the hash takes it.
inline TuInt32 sx(unsigned char b) noexcept { return static_cast<TuInt32>(static_cast<Tint32>(static_cast<signed char>(b))); }

#if defined(__SSE2__)
// 16 zero bytes, then 16 of 0xFF: a load at offset o keeps the last 16 - o
// bytes of a 16-byte block (the first 8 - o of an 8-byte one).
alignas(16) const unsigned char kKeepTail[32] = {
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

// XOR of sx(b[k]) << (7 - k) over the eight bytes of each half of v, one
// 16-bit result per half (lane 0 and lane 4). Each product fits 16 bits, and
// sign extension commutes with XOR, so the sums are exact.
inline __m128i halfSums(__m128i v) noexcept {
    const __m128i sign = _mm_cmplt_epi8(v, _mm_setzero_si128());
    const __m128i weights = _mm_setr_epi16(128, 64, 32, 16, 8, 4, 2, 1);
    const __m128i lo = _mm_mullo_epi16(_mm_unpacklo_epi8(v, sign), weights);
    const __m128i hi = _mm_mullo_epi16(_mm_unpackhi_epi8(v, sign), weights);
    __m128i x = _mm_xor_si128(_mm_unpacklo_epi64(lo, hi), _mm_unpackhi_epi64(lo, hi));
    x = _mm_xor_si128(x, _mm_srli_epi64(x, 32));
    return _mm_xor_si128(x, _mm_srli_epi32(x, 16));
}

inline TuInt32 lane(__m128i x, int which) noexcept {
    const int v = which == 0 ? _mm_cvtsi128_si32(x) : _mm_extract_epi16(x, 4);
    return static_cast<TuInt32>(static_cast<Tint32>(static_cast<Tint16>(v)));
}

// The hash sum of 16 bytes: XOR of sx(b[k]) << (15 - k).
inline TuInt32 block16(__m128i v) noexcept {
    const __m128i x = halfSums(v);
    return (lane(x, 0) << 8) ^ lane(x, 4);
}

inline __m128i load16(const unsigned char* p) noexcept { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline __m128i load8(const unsigned char* p) noexcept { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)); }
#endif

} // namespace

TuInt32 Tstring::hashOf(const char* text, TuInt32 length) noexcept {
    if (length == 0)
        return 0xFFFFFFFFu;
    // h = (h << 1) ^ sx(b) over every byte, i.e. the XOR of sx(b[i]) shifted
    // by its distance from the end: a byte 32 or more from the end has left
    // the word, so only the last 32 bytes count.
    const unsigned char* p = reinterpret_cast<const unsigned char*>(text);
    const unsigned char* end = p + length;
    TuInt32 h = 0;
#if defined(__SSE2__)
    // Blocks that overlap in the middle: the second one's overlap is masked
    // off, so no byte outside the text is read and none counts twice.
    if (length >= 32) {
        h = (block16(load16(end - 32)) << 16) ^ block16(load16(end - 16));
    } else if (length >= 16) {
        h = block16(load16(p)) << (length - 16);
        if (length > 16)
            h ^= block16(_mm_and_si128(load16(end - 16), load16(kKeepTail + (length - 16))));
    } else if (length >= 8) {
        // Both 8-byte blocks in one vector, one sum per half.
        const __m128i tail = _mm_and_si128(load8(end - 8), load8(kKeepTail + length));
        const __m128i sums = halfSums(_mm_unpacklo_epi64(load8(p), tail));
        h = (lane(sums, 0) << (length - 8)) ^ lane(sums, 4);
    } else {
        for (; p < end; ++p)
            h = (h << 1) ^ sx(*p);
    }
#else
    if (length > 32)
        p = end - 32;
    for (; p < end; ++p)
        h = (h << 1) ^ sx(*p);
#endif
    return h ^ (h >> 10) ^ (h >> 20);
}

unsigned char* Tstring::asPascal(unsigned char* buffer) const noexcept {
    static thread_local unsigned char sBuffer[256];
    if (!buffer)
        buffer = sBuffer;
    const unsigned int n = length() < 255 ? length() : 255;
    buffer[0] = static_cast<unsigned char>(n);
    std::memcpy(buffer + 1, asC(), n);
    return buffer;
}

// -- Searching --------------------------------------------------------------------

int Tstring::index(char c, int from) const noexcept {
    const int n = static_cast<int>(length());
    if (from < 0)
        from = 0;
    if (from >= n)
        return -1;
    const void* hit = std::memchr(asC() + from, c, static_cast<std::size_t>(n - from));
    return hit ? static_cast<int>(static_cast<const char*>(hit) - asC()) : -1;
}

int Tstring::rindex(char c, int upTo) const noexcept {
    const int n = static_cast<int>(length());
    if (upTo > n)
        upTo = n;
    const char* s = asC();
    for (int i = upTo - 1; i >= 0; --i)
        if (s[i] == c)
            return i;
    return -1;
}

int Tstring::findchr(const char* chars, int from) const noexcept {
    if (!chars || from < 0 || from >= static_cast<int>(length()))
        return -1;
    const std::size_t at = std::strcspn(asC() + from, chars);
    return from + static_cast<int>(at) < static_cast<int>(length()) && chars[0] ? from + static_cast<int>(at) : -1;
}

int Tstring::findrchr(const char* chars) const noexcept {
    if (!chars || !chars[0])
        return -1;
    const char* s = asC();
    for (int i = static_cast<int>(length()) - 1; i >= 0; --i)
        if (s[i] && std::strchr(chars, s[i]))
            return i;
    return -1;
}

int Tstring::findstr(const char* text, int from) const noexcept {
    const int n = static_cast<int>(length());
    if (!text || from < 0 || from > n)
        return -1;
    const std::string_view hay(asC(), length());
    const std::size_t at = hay.find(text, static_cast<std::size_t>(from));
    return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

int Tstring::findrstr(const char* text) const noexcept {
    if (!text)
        return -1;
    const std::string_view hay(asC(), length());
    const std::size_t at = hay.rfind(text);
    return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

// -- Comparison -----------------------------------------------------------------

namespace {
inline int sign(int v) noexcept { return (v > 0) - (v < 0); }
} // namespace

int Tstring::compare(const char* text) const noexcept {
    return sign(std::strcmp(asC(), text ? text : kNullStr));
}

int Tstring::caseCompare(const char* text) const noexcept {
    return sign(::strcasecmp(asC(), text ? text : kNullStr));
}

bool Tstring::equal(const Tstring& a, const Tstring& b) noexcept {
    if (a.data() == b.data())
        return true;
    return a.length() == b.length() && std::memcmp(a.asC(), b.asC(), a.length()) == 0;
}

bool Tstring::equal(const Tstring& a, const char* b) noexcept {
    if (!b)
        return a.isEmpty();
    const std::size_t n = std::strlen(b);
    return a.length() == n && std::memcmp(a.asC(), b, n) == 0;
}
