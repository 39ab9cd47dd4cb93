#include "grundel/files/TenvironmentFile.h"

#include "grundel/core/VornEnv.h"
#include "grundel/files/TtextFile_p.h"

#include <algorithm>
#include <cstring>

namespace {

bool isBlank(char c) noexcept { return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v'; }
bool isNameStart(char c) noexcept { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_'; }
bool isNameChar(char c) noexcept { return isNameStart(c) || (c >= '0' && c <= '9'); }

} // namespace

int TenvironmentFile::extractVariableAndValue(char* line, char** variable, char** value) noexcept {
    if (!line)
        return 0;
    char* p = line;
    while (isBlank(*p))
        ++p;
    if (*p == '\0' || *p == '#')
        return 0;
    if (!isNameStart(*p))
        return -1;
    char* const name = p;
    while (isNameChar(*p))
        ++p;
    char* const nameEnd = p;
    while (isBlank(*p))
        ++p;
    if (*p != '=')
        return -1;
    ++p;
    while (isBlank(*p))
        ++p;
    char* const text = p;
    char* end = text + std::strlen(text);
    while (end > text && isBlank(end[-1]))
        --end;
    *end = '\0';
    *nameEnd = '\0';
    if (variable)
        *variable = name;
    if (value)
        *value = text;
    return 1;
}

void TenvironmentFile::clear() {
    fNames.changeLogicalSizeBy(-Tint32(fNames.length()));
    fValues.changeLogicalSizeBy(-Tint32(fValues.length()));
    fIndex.clear();
    fMalformed = fFirstMalformed = fUnexpanded = 0;
    fBudget = kExpansionBudget;
}

const Tstring* TenvironmentFile::find(const char* name) const noexcept {
    if (!name)
        return nullptr;
    try {
        const auto it = fIndex.find(name);
        return it == fIndex.end() ? nullptr : &fValues[it->second];
    } catch (...) {
        return nullptr;
    }
}

namespace {
struct ExpandContext {
    const TenvironmentFile* file;
    Tstring::EnvLookup lookup;
    void* context;
};
} // namespace

bool TenvironmentFile::expandValue(Tstring& value, Lookup lookup, void* context) {
    if (value.index('$') < 0 && value.index('%') < 0)
        return true;
    ExpandContext both{this, lookup, context};
    const auto lookupBoth = [](const char* name, void* c) -> const char* {
        const auto* e = static_cast<const ExpandContext*>(c);
        const char* v = e->lookup ? e->lookup(name, e->context) : VornGetEnv(name);
        if (v)
            return v;
        const Tstring* own = e->file->find(name);
        return own ? own->asC() : nullptr;
    };
    Tstring expanded;
    if (!Tstring::expandEnv(value, expanded, std::min(fBudget, Tstring::kExpandLimit), lookupBoth, &both)) {
        ++fUnexpanded;
        return false;
    }
    fBudget -= expanded.length();
    value.swap(expanded);
    return true;
}

int TenvironmentFile::parse(std::string_view text, Lookup lookup, void* context) {
    clear();
    std::string line;
    int number = 0;
    while (!text.empty()) {
        const std::size_t eol = text.find('\n');
        const std::string_view raw = text.substr(0, eol);
        text.remove_prefix(eol == text.npos ? text.size() : eol + 1);
        ++number;
        char* variable = nullptr;
        char* value = nullptr;
        line.assign(raw);
        int kind = raw.find('\0') != raw.npos ? -1 : extractVariableAndValue(line.data(), &variable, &value);
        if (kind < 0) {
            if (fMalformed++ == 0)
                fFirstMalformed = number;
            continue;
        }
        if (kind == 0)
            continue;
        Tstring expanded(value);
        expandValue(expanded, lookup, context);
        const auto [it, added] = fIndex.emplace(variable, fNames.length());
        if (added) {
            fNames.addLast(Tstring(variable));
            fValues.addLast(expanded);
        } else {
            fValues[it->second] = expanded;
        }
    }
    return fMalformed;
}

bool TenvironmentFile::read(const char* path, Lookup lookup, void* context) {
    std::string text;
    const auto result = grundel::detail::readTextFile(path, kMaxFileBytes, text);
    clear();
    if (result == grundel::detail::TextFileRead::ok)
        parse(text, lookup, context);
    return result != grundel::detail::TextFileRead::failed;
}
