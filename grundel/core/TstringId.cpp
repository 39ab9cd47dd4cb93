#include "grundel/core/TstringId.h"

#include <cstring>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <unordered_map>

// -- TstringId ----------------------------------------------------------------

namespace {
char* copyName(const char* name) {
    if (!name)
        return nullptr;
    const std::size_t n = std::strlen(name) + 1;
    char* copy = new char[n];
    std::memcpy(copy, name, n);
    return copy;
}
} // namespace

TstringId::TstringId(const char* name, int number) : fNumber(number), fName(copyName(name)) {}

TstringId::TstringId(const TstringId& other)
    : fKind(other.fKind), fNumber(other.fNumber), fName(copyName(other.fName)) {}

TstringId& TstringId::operator=(const TstringId& other) {
    if (this != &other) {
        char* name = copyName(other.fName);
        freeName();
        fName = name;
        fKind = other.fKind;
        fNumber = other.fNumber;
    }
    return *this;
}

TstringId::~TstringId() { freeName(); }

void TstringId::freeName() noexcept {
    delete[] fName;
    fName = nullptr;
}

void TstringId::set(TstringIdNumber number) noexcept {
    freeName();
    fKind = kNumeric;
    fNumber = number;
}

void TstringId::set(const char* name, int number) {
    char* copy = copyName(name);
    freeName();
    fName = copy;
    fKind = kSymbolic;
    fNumber = number;
}

void TstringId::setCatalog(int number) noexcept {
    freeName();
    fKind = kCatalog;
    fNumber = number;
}

// -- TstringTable -------------------------------------------------------------

namespace {

// Longest text a numbered string yields; longer entries are cut.
constexpr std::size_t kMaxEntryLength = 510;

struct Table {
    std::shared_mutex lock;
    std::unordered_map<int, std::string> entries;
};

// Built on first use, so that registrations from static initialisers of
// any file find it ready.
Table& table() {
    static Table t;
    return t;
}

} // namespace

bool TstringTable::lookup(int number, Tstring& out) noexcept {
    Table& t = table();
    std::shared_lock<std::shared_mutex> guard(t.lock);
    const auto it = t.entries.find(number);
    if (it == t.entries.end()) {
        out.clear();
        return false;
    }
    const std::size_t n = it->second.size() < kMaxEntryLength ? it->second.size() : kMaxEntryLength;
    out.set(it->second.data(), static_cast<unsigned int>(n));
    return true;
}

void TstringTable::set(int number, const char* text) {
    Table& t = table();
    std::unique_lock<std::shared_mutex> guard(t.lock);
    if (text)
        t.entries[number] = text;
    else
        t.entries.erase(number);
}
