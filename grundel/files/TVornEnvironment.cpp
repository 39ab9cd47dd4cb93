#include "grundel/files/TVornEnvironment.h"

#include "grundel/core/TdebugOutput.h"
#include "grundel/core/VornEnv.h"
#include "grundel/files/TbatchGlobals.h"
#include "grundel/files/TenvironmentFile.h"
#include "grundel/files/TfileManager.h"
#include "grundel/files/TsettingsStore.h"

#include <cstring>
#include <pwd.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

// -- Process-wide state ---------------------------------------------------------

struct EnvironmentState {
    bool initialized = false;
    bool usable = false;
    bool fEnvironmentFileIsRead = false;
    bool defaultsOnly = false;
    Tstring fsVornEnvLocation;
    Tstring version;
    Tstring configDir;
    Tstring moduleDir;
    TenvironmentFile userFile;
    TVornEnvironment::Prompt prompt = nullptr;
    void* promptContext = nullptr;
};

EnvironmentState& state() {
    static EnvironmentState s;
    return s;
}

bool defaultPrompt(const char* message, bool, void*) {
    TdebugOutput::sStandardError().printf("%s\n", message);
    return false;
}

bool ask(const Tstring& message, bool question) {
    EnvironmentState& s = state();
    return s.prompt ? s.prompt(message.asC(), question, s.promptContext)
                    : defaultPrompt(message.asC(), question, nullptr);
}

const char* const kCommonKey = "Software\\Stellwork\\Common";
const char* const kPathSeparator = ":";
// Feature icon directories are searched as directories, like the others.
const char* const kIconPathSuffix = "";

bool isDirectory(const char* path) {
    struct stat st;
    return path && *path && ::stat(path, &st) == 0 && S_ISDIR(st.st_mode);
}

bool exists(const char* path) {
    struct stat st;
    return path && *path && ::stat(path, &st) == 0;
}

const char* getOrEmpty(const char* name) {
    const char* v = VornGetEnv(name);
    return v ? v : "";
}

bool isSet(const char* name) {
    const char* v = VornGetEnv(name);
    return v && *v;
}

void put(const char* name, const char* value) {
    const Tstring assignment = Tstring::cformatString("%s=%s", name, value ? value : "");
    VornPutEnv(assignment.asC());
}

// The value of a placeholder; null for a name that is not one.
const char* placeholder(std::string_view name) {
    EnvironmentState& s = state();
    if (name == "SEP")
        return kPathSeparator;
    if (name == "VORN_APP_DIR")
        return getOrEmpty("VORN_APP_DIR");
    if (name == "VORN_LOCATION")
        return getOrEmpty("VORN_LOCATION");
    if (name == "APP_NAME")
        return TbatchGlobals::getApplicationName();
    if (name == "MODULE_DIR")
        return s.moduleDir.asC();
    if (name == "CONFIG_DIR")
        return s.configDir.asC();
    if (name == "VERSION")
        return s.version.asC();
    return nullptr;
}

// Replaces every placeholder of one template entry. False when one of them
// is empty: the entry would name a directory that is not known.
bool expandEntry(const char* entry, std::string& out) {
    out.clear();
    const std::string_view text(entry);
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t open = text.find('<', at);
        const std::size_t close = open == text.npos ? text.npos : text.find('>', open);
        if (close == text.npos) {
            out.append(text.substr(at));
            break;
        }
        out.append(text.substr(at, open - at));
        const char* value = placeholder(text.substr(open + 1, close - open - 1));
        if (!value) {
            out.append(text.substr(open, close - open + 1));
        } else {
            if (!*value)
                return false;
            out.append(value);
        }
        at = close + 1;
    }
    return true;
}

void appendList(std::string& list, std::string_view part) {
    // Split again so that empty entries of any part never reach the result.
    while (!part.empty()) {
        const std::size_t sep = part.find(':');
        const std::string_view entry = part.substr(0, sep);
        part.remove_prefix(sep == part.npos ? part.size() : sep + 1);
        if (entry.empty())
            continue;
        if (!list.empty())
            list += ':';
        list.append(entry);
    }
}

// The installation when VORN_LOCATION is unset and no VORN_INSTALL_LOCATION
// names it: the parent of the executable's folder ("/opt/vorn" for
// "/opt/vorn/bin/vorn").
Tstring executableInstallation() {
    std::vector<char> buffer(256);
    for (;;) {
        const ssize_t n = ::readlink("/proc/self/exe", buffer.data(), buffer.size());
        if (n < 0)
            return Tstring();
        if (std::size_t(n) < buffer.size()) {
            std::string path(buffer.data(), std::size_t(n));
            for (int up = 0; up < 2; ++up) {
                const std::size_t slash = path.rfind('/');
                if (slash == path.npos)
                    return Tstring();
                path.resize(slash);
            }
            return Tstring(path.empty() ? "/" : path.c_str());
        }
        if (buffer.size() >= (std::size_t(1) << 16))
            return Tstring();
        buffer.resize(buffer.size() * 2);
    }
}

// "~" or "~/..." with HOME, "~name/..." with that user's home directory.
bool expandTilde(const char* value, Tstring& out) {
    if (value[0] != '~') {
        out = value;
        return true;
    }
    const char* rest = std::strchr(value, '/');
    const std::string user(value + 1, rest ? rest : value + std::strlen(value));
    std::string home;
    if (user.empty()) {
        home = getOrEmpty("HOME");
    } else {
        std::vector<char> buffer(16384);
        struct passwd entry;
        struct passwd* found = nullptr;
        if (::getpwnam_r(user.c_str(), &entry, buffer.data(), buffer.size(), &found) == 0 && found && found->pw_dir)
            home = found->pw_dir;
    }
    if (home.empty())
        return false;
    out = (home + (rest ? rest : "")).c_str();
    return true;
}

} // namespace

// -- Public operations ------------------------------------------------------------

bool TVornEnvironment::initializeVornEnvironment(bool readUserFile) {
    EnvironmentState& s = state();
    if (s.initialized)
        return s.usable;
    s.initialized = true;
    initData();
    validateHOME();
    s.usable = readVariables(readUserFile) && setEssentialVariables();
    return s.usable;
}

const Tstring& TVornEnvironment::vornEnvFileLocation() noexcept { return state().fsVornEnvLocation; }

bool TVornEnvironment::environmentFileIsRead() noexcept { return state().fEnvironmentFileIsRead; }

void TVornEnvironment::splitPath(const Tstring& path, TstringArray& entries) { path.split(':', entries); }

TVornEnvironment::Prompt TVornEnvironment::setPrompt(Prompt prompt, void* context) noexcept {
    EnvironmentState& s = state();
    const Prompt previous = s.prompt ? s.prompt : defaultPrompt;
    s.prompt = prompt;
    s.promptContext = context;
    return previous;
}

bool TVornEnvironment::defaultsOnly() noexcept { return state().defaultsOnly; }

Tstring TVornEnvironment::defaultHelpUrl(const char* location) {
    return Tstring::cformatString("file://%s/docs/index.html", location ? location : "");
}

void TVornEnvironment::reset() noexcept {
    EnvironmentState& s = state();
    s.initialized = false;
    s.usable = false;
    s.fEnvironmentFileIsRead = false;
    s.defaultsOnly = false;
    s.fsVornEnvLocation.clear();
    s.version.clear();
    s.configDir.clear();
    s.moduleDir.clear();
    s.userFile.parse({});
}

// -- Steps ----------------------------------------------------------------------------

void TVornEnvironment::initData() {
    EnvironmentState& s = state();
    const TstringArray& argv = TbatchGlobals::getArgvArray();
    for (TuInt32 i = 1; i < argv.length() && !s.defaultsOnly; ++i)
        s.defaultsOnly = std::strcmp(argv[i].asC(), "-default") == 0;
    const TstringArray& versions = TbatchGlobals::getVersionNumberStrings();
    s.version = versions.length() ? versions[0] : Tstring();
    s.configDir.clear();
    s.moduleDir.clear();
    TsettingsStore& settings = TsettingsStore::sSettings();
    if (!settings.readValue(kCommonKey, "KZ_USER_CONFIG", s.configDir))
        s.configDir.clear();
    if (!settings.readValue(kCommonKey, "KZ_MODULES", s.moduleDir))
        s.moduleDir.clear();
}

bool TVornEnvironment::validateHOME() {
    if (!isSet("HOME")) {
        std::vector<char> buffer(16384);
        struct passwd entry;
        struct passwd* found = nullptr;
        if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found && found->pw_dir &&
            *found->pw_dir)
            put("HOME", found->pw_dir);
    }
    return isDirectory(VornGetEnv("HOME"));
}

bool TVornEnvironment::validateDirectoryWritable(const char* path) {
    return isDirectory(path) && ::access(path, W_OK | X_OK) == 0;
}

bool TVornEnvironment::validateVORN_APP_DIR(const char* appDir) {
    Tstring expanded;
    if (!expandTilde(appDir, expanded)) {
        ask(Tstring("*** Fatal Error: Unable to expand '~' in $VORN_APP_DIR: ") + Tstring(appDir), false);
        return false;
    }
    bool valid = true;
    if (exists(expanded.asC()) && !isDirectory(expanded.asC())) {
        ask(Tstring("Invalid environment variable.  VORN_APP_DIR is not a directory: ") + expanded, false);
        valid = false;
    } else if (!(TfileManager::mkdir(expanded) && validateDirectoryWritable(expanded.asC()))) {
        ask(Tstring("Unable to locate valid VORN_APP_DIR. Please specify a writable directory where Vorn can "
                    "store user data."),
            false);
        valid = false;
    }
    if (!valid && ask(Tstring("Can not run Vorn without a valid setting for VORN_APP_DIR. Exit Program?"), true))
        return false;
    put("VORN_APP_DIR", expanded.asC());
    return true;
}

bool TVornEnvironment::validateVORN_LOCATION(const char* location) {
    if (isDirectory(location))
        return true;
    Tstring message("Warning: Cannot run ^1s without a valid setting for VORN_LOCATION. Exit Program?");
    message.substitute("^1s", TbatchGlobals::getApplicationName());
    return !ask(message, true);
}

void TVornEnvironment::OpenEnvironmentFile(TenvironmentFile& file) {
    const Tstring& path = state().fsVornEnvLocation;
    if (!file.read(path.asC())) {
        ask(Tstring::cformatString("Unable to read the environment file %s (unreadable, or larger than %u bytes).",
                                   path.asC(), unsigned(TenvironmentFile::kMaxFileBytes)),
            false);
        return;
    }
    if (file.malformedLines())
        ask(Tstring::cformatString("Ignored %d line(s) of %s that are not NAME = value, the first at line %d.",
                                   file.malformedLines(), path.asC(), file.firstMalformedLine()),
            false);
    if (file.unexpandedValues())
        ask(Tstring::cformatString("Left %d value(s) of %s unexpanded: the expansion grew too long.",
                                   file.unexpandedValues(), path.asC()),
            false);
}

namespace {
// The variables that setEssentialVariables builds, in their order.
const char* const kBuiltVariables[] = {"VORN_LOCATION",    "VORN_SCRIPT_BASE", "VORN_HELP_URL",
                                       "VORN_PLUG_IN_PATH", "VORN_SCRIPT_PATH", "XBMLANGPATH",
                                       "VORN_MODULE_PATH", "PATH"};

bool isBuilt(const char* name) {
    for (const char* built : kBuiltVariables)
        if (std::strcmp(name, built) == 0)
            return true;
    return false;
}
} // namespace

bool TVornEnvironment::readVariables(bool readUserFile) {
    EnvironmentState& s = state();
    const char* appDir = VornGetEnv("VORN_APP_DIR");
    if (!validateVORN_APP_DIR(appDir && *appDir ? appDir : "~/vorn"))
        return false;
    s.fsVornEnvLocation = Tstring::cformatString("%s/Vorn.env", getOrEmpty("VORN_APP_DIR"));
    s.userFile.parse({});
    if (!readUserFile)
        return true;
    OpenEnvironmentFile(s.userFile);
    s.fEnvironmentFileIsRead = true;
    // Everything but the built variables goes in as written, unless the
    // process has its own value (the installation and the two defaults
    // below are plain values too, but are put when they are built).
    const TstringArray& names = s.userFile.names();
    for (TuInt32 i = 0; i < names.length(); ++i)
        if (!isBuilt(names[i].asC()) && !VornGetEnv(names[i].asC()))
            put(names[i].asC(), s.userFile.values()[i].asC());
    return true;
}

bool TVornEnvironment::setVORN_LOCATION(bool validate) {
    Tstring location(getOrEmpty("VORN_LOCATION"));
    if (location.isEmpty()) {
        const Tstring* fromFile = state().userFile.find("VORN_LOCATION");
        if (fromFile && !fromFile->isEmpty())
            location = *fromFile;
        else if (isSet("VORN_INSTALL_LOCATION"))
            location = VornGetEnv("VORN_INSTALL_LOCATION");
        else
            location = executableInstallation();
    }
    if (validate && !validateVORN_LOCATION(location.asC()))
        return false;
    put("VORN_LOCATION", location.asC());
    return true;
}

bool TVornEnvironment::setEssentialVariables() {
    const TenvironmentFile& file = state().userFile;
    for (const char* name : kBuiltVariables) {
        const Tstring* value = file.find(name);
        if (!setEnvironmentVariable(name, value ? value->asC() : nullptr))
            return false;
    }
    return true;
}

Tstring TVornEnvironment::getNewPath(const char* const* entries, int count) {
    std::string list;
    std::string entry;
    for (int i = 0; i < count; ++i)
        if (expandEntry(entries[i], entry))
            appendList(list, entry);
    return Tstring(list.data(), static_cast<unsigned int>(list.size()));
}

namespace {

const char* const kPlugInPath[] = {
    "<VORN_APP_DIR>/<VERSION>/plug-ins", "<VORN_APP_DIR>/plug-ins",
    "<CONFIG_DIR>/<APP_NAME>/<VERSION>/plug-ins", "<CONFIG_DIR>/<APP_NAME>/plug-ins",
    "<VORN_LOCATION>/bin/plug-ins",
};

const char* const kScriptPathHead[] = {
    "<VORN_APP_DIR>/<VERSION>/scripts",          "<VORN_APP_DIR>/scripts",
    "<VORN_APP_DIR>/<VERSION>/presets",          "<CONFIG_DIR>/<APP_NAME>/<VERSION>/scripts",
    "<CONFIG_DIR>/<APP_NAME>/scripts",
};

const char* const kScriptPathTail[] = {
    "<VORN_APP_DIR>/<VERSION>/prefs/shelves",   "<VORN_APP_DIR>/<VERSION>/prefs/markingMenus",
    "<VORN_LOCATION>/scripts/startup",          "<VORN_LOCATION>/scripts/others",
    "<VORN_LOCATION>/scripts/AETemplates",      "<VORN_LOCATION>/scripts/paintEffects",
    "<VORN_LOCATION>/scripts/fluidEffects",     "<VORN_LOCATION>/scripts/hair",
    "<VORN_LOCATION>/scripts/cloth",            "<VORN_LOCATION>/scripts/live",
    "<VORN_LOCATION>/scripts/fur",
};

const char* const kIconPathHead[] = {
    "<VORN_APP_DIR>/<VERSION>/prefs/icons", "<VORN_APP_DIR>/prefs/icons",
    "<CONFIG_DIR>/<APP_NAME>/<VERSION>/icons", "<CONFIG_DIR>/<APP_NAME>/icons",
    "<VORN_LOCATION>/icons", "<VORN_LOCATION>/app-defaults",
};

const char* const kFeatureDirectories[] = {"paintEffects", "fluidEffects", "hair", "cloth", "live", "fur"};

const char* const kModulePath[] = {
    "<VORN_APP_DIR>/<VERSION>/modules", "<VORN_APP_DIR>/modules", "<MODULE_DIR>/<APP_NAME>/<VERSION>",
    "<MODULE_DIR>/<APP_NAME>", "<VORN_LOCATION>/modules",
};

const char* const kPath[] = {"<VORN_LOCATION>/bin/Cg", "<VORN_LOCATION>/bin"};

template <std::size_t N>
constexpr int countOf(const char* const (&)[N]) {
    return int(N);
}

} // namespace

bool TVornEnvironment::setEnvironmentVariable(const char* name, const char* value) {
    if (!name || !*name)
        return true;
    const std::string_view n(name);
    if (n == "VORN_LOCATION")
        return setVORN_LOCATION(true);
    if (n == "VORN_SCRIPT_BASE" || n == "VORN_HELP_URL") {
        // Plain values: the process's own, else the file's, else the default.
        if (isSet(name))
            return true;
        const char* location = getOrEmpty("VORN_LOCATION");
        const Tstring fallback = n == "VORN_SCRIPT_BASE" ? Tstring(location) : defaultHelpUrl(location);
        put(name, value && *value ? value : fallback.asC());
        return true;
    }
    Tstring defaults;
    if (n == "VORN_PLUG_IN_PATH") {
        defaults = getNewPath(kPlugInPath, countOf(kPlugInPath));
    } else if (n == "VORN_SCRIPT_PATH") {
        std::string list(getNewPath(kScriptPathHead, countOf(kScriptPathHead)).asC());
        appendList(list, getOrEmpty("VORN_SHELF_PATH"));
        appendList(list, getNewPath(kScriptPathTail, countOf(kScriptPathTail)).asC());
        defaults = list.c_str();
    } else if (n == "XBMLANGPATH") {
        std::string list(getNewPath(kIconPathHead, countOf(kIconPathHead)).asC());
        for (const char* feature : kFeatureDirectories) {
            const Tstring entry = Tstring::cformatString("<VORN_LOCATION>/icons/%s%s", feature, kIconPathSuffix);
            const char* entries[] = {entry.asC()};
            appendList(list, getNewPath(entries, 1).asC());
        }
        defaults = list.c_str();
    } else if (n == "VORN_MODULE_PATH") {
        defaults = getNewPath(kModulePath, countOf(kModulePath));
    } else if (n == "PATH") {
        defaults = getNewPath(kPath, countOf(kPath));
        // The current search path is always kept, so that programs are found.
        EnvironmentState& s = state();
        const bool defaultsOnly = s.defaultsOnly;
        s.defaultsOnly = false;
        if (VornGetEnv("VORN_PRE_70_PATH_ORDERING"))
            setVornPathEnvironmentVariable(name, value, defaults.asC(), nullptr);
        else
            setVornPathEnvironmentVariable(name, value, nullptr, defaults.asC());
        s.defaultsOnly = defaultsOnly;
        return true;
    } else {
        if (value && !isSet(name))
            put(name, value);
        return true;
    }
    setVornPathEnvironmentVariable(name, value, defaults.asC(), nullptr);
    return true;
}

void TVornEnvironment::setVornPathEnvironmentVariable(const char* name, const char* value,
                                                      const char* appendDefaults, const char* prependDefaults) {
    if (!name || !*name)
        return;
    const bool defaultsOnly = state().defaultsOnly;
    std::string list;
    if (prependDefaults)
        appendList(list, prependDefaults);
    if (!defaultsOnly) {
        appendList(list, getOrEmpty(name));
        if (value)
            appendList(list, value);
    }
    if (appendDefaults)
        appendList(list, appendDefaults);
    put(name, list.c_str());
}
