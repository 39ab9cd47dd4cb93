#include "grundel/object/Tname.h"

#include "grundel/object/Tnamespace.h"

#include <cctype>
#include <vector>

namespace {

inline bool isHighByte(unsigned char c) noexcept { return c >= 192; }

bool startsName(char ch) noexcept {
    const unsigned char c = static_cast<unsigned char>(ch);
    return std::isalpha(c) || c == '_' || c == ':' || isHighByte(c);
}

bool continuesName(char ch) noexcept {
    const unsigned char c = static_cast<unsigned char>(ch);
    return std::isalnum(c) || c == '_' || c == ':' || isHighByte(c);
}

inline bool isSpace(char c) noexcept { return std::isspace(static_cast<unsigned char>(c)) != 0; }

} // namespace

Tname::Tname(const char* text) : fName(text) {}
Tname::Tname(const Tstring& text) : fName(text) {}
Tname::Tname(const char* text, Tnamespace* space) : fName(text), fNamespace(space) {}
Tname::Tname(const Tstring& text, Tnamespace* space) : fName(text), fNamespace(space) {}

Tname::Tname(const Tstring& text, bool resolvePath) : fName(text) {
    if (!resolvePath)
        return;
    const int colon = text.rindex(':');
    Tnamespace* space = nullptr;
    if (colon < 0) {
        fNamespace = Tnamespace::currentNamespace();
    } else if (TfindNamespace::findNamespace(text.substring(0, colon), &space, nullptr)) {
        fNamespace = space;
        fName = text.substring(colon + 1, static_cast<int>(text.length()) - 1);
    }
}

// -- Conversion and validation ------------------------------------------------------

Tstring Tname::convertName(const Tstring& name, bool& valid, bool& makeUnique, bool fileIO) {
    valid = true;
    makeUnique = false;
    const char* text = name.asC();
    unsigned int end = name.length();
    while (end > 0 && isSpace(text[end - 1]))
        --end;
    if (!fileIO && end > 0 && text[end - 1] == '#') {
        makeUnique = true;
        --end;
    }
    unsigned int at = 0;
    while (at < end && !startsName(text[at])) {
        valid = false;
        ++at;
    }
    Tstring out(end - at);
    for (; at < end; ++at) {
        const char c = text[at];
        if (continuesName(c)) {
            out.catenate(c);
        } else {
            valid = false;
            if (isSpace(c) || c == '-')
                out.catenate('_');
        }
    }
    if (out.isEmpty())
        out.clear();
    return out;
}

Tstring Tname::parseAndConvertName(const Tstring& name, Tnamespace*& space, bool& valid,
                                   bool& makeUnique, bool fileIO) {
    Tstring converted = convertName(name, valid, makeUnique, fileIO);
    if (!space)
        space = Tnamespace::currentNamespace();
    const int colon = converted.rindex(':');
    if (colon < 0)
        return converted;
    // The path keeps its last ":", so that ":ball" names the root.
    Tnamespace* found = nullptr;
    space = TfindNamespace::findNamespace(converted.substring(0, colon), &found, space) ? found : nullptr;
    return converted.substring(colon + 1, static_cast<int>(converted.length()) - 1);
}

namespace {
// The converted name, numbered in space when it asks for a running number.
Tstring numberedName(Tstring converted, bool numbered, Tnamespace* space) {
    if (numbered && !converted.isEmpty()) {
        Tname name(converted, space ? space : Tnamespace::currentNamespace());
        name.makeUnique();
        converted = name.asString();
    }
    return converted;
}
} // namespace

Tstring Tname::validateName(const Tstring& name, Tnamespace* space) {
    bool valid = false;
    bool numbered = false;
    Tstring converted = convertName(name, valid, numbered, false);
    return numberedName(converted, numbered, space);
}

bool Tname::validateNameAndReport(const Tstring& name, Tstring& out, Tnamespace* space) {
    bool valid = false;
    bool numbered = false;
    Tstring converted = convertName(name, valid, numbered, false);
    out = numberedName(converted, numbered, space);
    return !out.isEmpty() && valid;
}

bool Tname::validateNameForFileIO(const Tstring& name, Tstring& out, Tnamespace*) {
    bool valid = false;
    bool unique = false;
    out = convertName(name, valid, unique, true);
    return valid;
}

// -- Uniqueness ------------------------------------------------------------------

bool Tname::isUnique() const { return !fNamespace || fNamespace->isUnique(fName); }

void Tname::makeUnique() {
    if (!fNamespace)
        return;
    Tstring stem = fName.baseString();
    const TuInt64 next = fNamespace->getNextIncrement(stem) + 1;
    Tstring number;
    number.setUInt64(next);
    fName = stem + number;
}

void Tname::clear() noexcept {
    fName.clear();
    fNamespacePath.clear();
}

// -- Registration -----------------------------------------------------------------

bool Tname::addObject(TnameObject* object) {
    if (!object || fRegistered || !fNamespace)
        return false;
    if (!fNamespace->addObject(object))
        return false;
    fRegistered = true;
    fRegisteredNamespace = fNamespace;
    buildNamespacePath();
    return true;
}

bool Tname::removeObject(TnameObject* object) {
    if (!object || !fRegistered || !fRegisteredNamespace)
        return false;
    return fRegisteredNamespace->removeObject(object);
}

void Tname::buildNamespacePath() { fNamespacePath = pathOf(fRegistered ? fRegisteredNamespace : fNamespace); }

Tstring Tname::pathOf(const Tnamespace* space) {
    std::vector<Tstring> levels;
    unsigned int length = 0;
    for (; space && space->parent(); space = space->parent()) {
        levels.push_back(space->name());
        length += levels.back().length() + 1;
    }
    Tstring path(length);
    for (auto level = levels.rbegin(); level != levels.rend(); ++level) {
        path += ':';
        path += *level;
    }
    return path;
}

Tstring Tname::asFullNamespacePath() const {
    const Tstring path = fRegistered ? fNamespacePath : pathOf(fNamespace);
    return path + ":" + fName;
}

Tstring Tname::asRelativeNamespacePath() const {
    const Tstring full = asFullNamespacePath();
    const Tstring current = pathOf(Tnamespace::currentNamespace());
    const unsigned int n = current.length();
    if (full.length() > n + 1 && full.substring(0, static_cast<int>(n) - 1) == current && full[n] == ':')
        return full.substring(static_cast<int>(n) + 1, static_cast<int>(full.length()) - 1);
    return full;
}
