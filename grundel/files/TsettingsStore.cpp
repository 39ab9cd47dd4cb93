#include "grundel/files/TsettingsStore.h"

#include "grundel/core/VornEnv.h"
#include "grundel/files/TsafeFileSave.h"
#include "grundel/files/TtextFile_p.h"

#include <cstdio>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace {

bool isBlank(char c) noexcept { return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v'; }

std::string_view trim(std::string_view s) noexcept {
    while (!s.empty() && isBlank(s.front()))
        s.remove_prefix(1);
    while (!s.empty() && isBlank(s.back()))
        s.remove_suffix(1);
    return s;
}

// Keys and names are matched by their ASCII lower-case form.
std::string folded(std::string_view s) {
    std::string out(s);
    for (char& c : out)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return out;
}

bool hasAny(std::string_view s, std::string_view chars) noexcept { return s.find_first_of(chars) != s.npos; }

} // namespace

struct TsettingsStore::Data {
    struct Section {
        std::string key;
        std::vector<std::pair<std::string, std::string>> values;
        std::unordered_map<std::string, std::size_t> index; // folded name -> values
    };
    mutable std::mutex mutex;
    std::vector<Section> sections;
    std::unordered_map<std::string, std::size_t> index; // folded key -> sections
    int malformed = 0;

    Section& section(std::string_view key) {
        auto [it, added] = index.emplace(folded(key), sections.size());
        if (added)
            sections.push_back(Section{std::string(key), {}, {}});
        return sections[it->second];
    }
    const Section* findSection(std::string_view key) const {
        const auto it = index.find(folded(key));
        return it == index.end() ? nullptr : &sections[it->second];
    }
    static void set(Section& s, std::string_view name, std::string_view value) {
        auto [it, added] = s.index.emplace(folded(name), s.values.size());
        if (added)
            s.values.emplace_back(std::string(name), std::string(value));
        else
            s.values[it->second].second.assign(value);
    }
    void reset() {
        sections.clear();
        index.clear();
        malformed = 0;
    }
    int parseLocked(std::string_view text) {
        reset();
        Section* current = nullptr;
        while (!text.empty()) {
            const std::size_t eol = text.find('\n');
            const std::string_view raw = text.substr(0, eol);
            text.remove_prefix(eol == text.npos ? text.size() : eol + 1);
            const std::string_view line = trim(raw);
            if (line.empty() || line.front() == '#' || line.front() == ';')
                continue;
            if (line.find('\0') != line.npos) {
                ++malformed;
                continue;
            }
            if (line.front() == '[' && line.back() == ']') {
                const std::string_view key = trim(line.substr(1, line.size() - 2));
                if (key.empty()) {
                    ++malformed;
                    current = nullptr; // its values must not land in the previous section
                    continue;
                }
                current = &section(key);
                continue;
            }
            const std::size_t eq = line.find('=');
            const std::string_view name = eq == line.npos ? std::string_view() : trim(line.substr(0, eq));
            if (!current || name.empty()) {
                ++malformed;
                continue;
            }
            set(*current, name, trim(line.substr(eq + 1)));
        }
        return malformed;
    }
};

TsettingsStore::TsettingsStore() : fData(std::make_unique<Data>()) {}
TsettingsStore::~TsettingsStore() = default;

TsettingsStore& TsettingsStore::sSettings() {
    static TsettingsStore* store = [] {
        auto* s = new TsettingsStore; // lives for the process: used until the very end
        const Tstring location = sDefaultLocation();
        if (!location.isEmpty() && !s->load(location.asC()))
            s->clear();
        return s;
    }();
    return *store;
}

Tstring TsettingsStore::sDefaultLocation() {
    const char* file = VornGetEnv("VORN_SETTINGS_FILE");
    if (file && *file)
        return Tstring(file);
    const char* config = VornGetEnv("XDG_CONFIG_HOME");
    if (config && *config)
        return Tstring::cformatString("%s/Stellwork/settings.ini", config);
    const char* home = VornGetEnv("HOME");
    if (home && *home)
        return Tstring::cformatString("%s/.config/Stellwork/settings.ini", home);
    return Tstring();
}

int TsettingsStore::parse(std::string_view text) {
    std::lock_guard<std::mutex> lock(fData->mutex);
    return fData->parseLocked(text);
}

bool TsettingsStore::load(const char* path) {
    std::string text;
    const auto result = grundel::detail::readTextFile(path, kMaxFileBytes, text);
    std::lock_guard<std::mutex> lock(fData->mutex);
    fData->parseLocked(text);
    return result != grundel::detail::TextFileRead::failed;
}

Tstring TsettingsStore::text() const {
    std::string out;
    {
        std::lock_guard<std::mutex> lock(fData->mutex);
        for (const auto& s : fData->sections) {
            if (s.values.empty())
                continue;
            if (!out.empty())
                out += '\n';
            out += '[';
            out += s.key;
            out += "]\n";
            for (const auto& [name, value] : s.values) {
                out += name;
                out += '=';
                out += value;
                out += '\n';
            }
        }
    }
    return Tstring(out.data(), static_cast<unsigned int>(out.size()));
}

bool TsettingsStore::save(const char* path) const {
    if (!path || !*path)
        return false;
    const Tstring contents = text();
    TsafeFileSave saver{Tstring(path)};
    if (!saver.setupForWrite())
        return false;
    std::FILE* f = saver.filePointer();
    if (!f || std::fwrite(contents.asC(), 1, contents.length(), f) != contents.length()) {
        saver.abortWrite();
        return false;
    }
    return saver.commitChanges();
}

int TsettingsStore::malformedLines() const {
    std::lock_guard<std::mutex> lock(fData->mutex);
    return fData->malformed;
}

bool TsettingsStore::readValue(const char* key, const char* name, Tstring& value) const {
    if (!key || !name)
        return false;
    std::lock_guard<std::mutex> lock(fData->mutex);
    const Data::Section* s = fData->findSection(key);
    if (!s)
        return false;
    const auto it = s->index.find(folded(name));
    if (it == s->index.end())
        return false;
    const std::string& v = s->values[it->second].second;
    value = Tstring(v.data(), static_cast<unsigned int>(v.size()));
    return true;
}

bool TsettingsStore::setValue(const char* key, const char* name, const char* value) {
    if (!key || !name || !value)
        return false;
    const std::string_view k(key), n(name), v(value);
    if (k.empty() || trim(k) != k || hasAny(k, "]\n\r"))
        return false;
    if (n.empty() || trim(n) != n || hasAny(n, "=\n\r") || n.front() == '[' || n.front() == '#' || n.front() == ';')
        return false;
    if (trim(v) != v || hasAny(v, "\n\r"))
        return false;
    std::lock_guard<std::mutex> lock(fData->mutex);
    Data::set(fData->section(k), n, v);
    return true;
}

bool TsettingsStore::removeValue(const char* key, const char* name) {
    if (!key || !name)
        return false;
    std::lock_guard<std::mutex> lock(fData->mutex);
    const auto sit = fData->index.find(folded(key));
    if (sit == fData->index.end())
        return false;
    Data::Section& s = fData->sections[sit->second];
    const auto it = s.index.find(folded(name));
    if (it == s.index.end())
        return false;
    const std::size_t at = it->second;
    s.index.erase(it);
    s.values.erase(s.values.begin() + std::ptrdiff_t(at));
    for (auto& entry : s.index)
        if (entry.second > at)
            --entry.second;
    return true;
}

void TsettingsStore::clear() {
    std::lock_guard<std::mutex> lock(fData->mutex);
    fData->reset();
}
