#include "grundel/files/TVornEnvironment.h"

#include "grundel/files/TbatchGlobals.h"
#include "grundel/files/TsettingsStore.h"

#include "EnvironmentTestSupport.h"
#include "FilesTestSupport.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace {

std::string env(const char* name) {
    const char* v = std::getenv(name);
    return v ? v : "<unset>";
}

std::vector<std::string> entries(const char* name) {
    TstringArray parts;
    TVornEnvironment::splitPath(Tstring(env(name).c_str()), parts);
    std::vector<std::string> out;
    for (const Tstring& p : parts)
        out.emplace_back(p.asC());
    return out;
}

// Every test runs in an environment of its own: a scratch home, application
// directory and installation, a settings store in memory, and a prompt that
// records what it is shown.
struct EnvironmentFixture : ::testing::Test {
    ScratchDirectory dir;
    SavedEnvironment saved{"HOME", "VORN_APP_DIR", "VORN_LOCATION", "VORN_INSTALL_LOCATION", "VORN_SCRIPT_BASE",
                           "VORN_HELP_URL", "VORN_PLUG_IN_PATH", "VORN_SCRIPT_PATH", "XBMLANGPATH",
                           "VORN_MODULE_PATH", "PATH", "VORN_SHELF_PATH", "VORN_PRE_70_PATH_ORDERING",
                           "VORN_SETTINGS_FILE", "XDG_CONFIG_HOME", "GRUNDEL_TEST_FROM_FILE"};
    std::string home = dir.file("home");
    std::string app = dir.file("app");
    std::string location = dir.file("install");
    std::vector<std::string> messages;
    std::vector<bool> questions;
    bool answerExit = false;

    void SetUp() override {
        ::mkdir(home.c_str(), 0777);
        ::mkdir(location.c_str(), 0777);
        ::setenv("HOME", home.c_str(), 1);
        ::setenv("VORN_APP_DIR", app.c_str(), 1);
        ::setenv("VORN_LOCATION", location.c_str(), 1);
        ::setenv("PATH", "/usr/bin:/bin", 1);
        ::setenv("VORN_SETTINGS_FILE", dir.file("settings.ini").c_str(), 1);
        TsettingsStore::sSettings().clear();
        setArguments({"vorn"});
        TstringArray versions;
        versions.addLast(Tstring("7.5"));
        versions.addLast(Tstring("7.5.1"));
        TbatchGlobals::setVersionNumberStrings(versions);
        TbatchGlobals::setApplicationName("Vorn");
        TVornEnvironment::reset();
        TVornEnvironment::setPrompt(&EnvironmentFixture::record, this);
    }
    void TearDown() override {
        TVornEnvironment::setPrompt(nullptr);
        TVornEnvironment::reset();
        TsettingsStore::sSettings().clear();
        setArguments({});
        TbatchGlobals::setVersionNumberStrings(TstringArray());
    }

    static bool record(const char* message, bool question, void* context) {
        auto* self = static_cast<EnvironmentFixture*>(context);
        self->messages.emplace_back(message);
        self->questions.push_back(question);
        return question && self->answerExit;
    }
    static void setArguments(std::initializer_list<const char*> args) {
        std::vector<const char*> argv(args);
        TbatchGlobals::setArguments(int(argv.size()), argv.data());
    }
    void setDirectories() {
        ASSERT_TRUE(TsettingsStore::sSettings().setValue("Software\\Stellwork\\Common", "KZ_USER_CONFIG", "/cfg"));
        ASSERT_TRUE(TsettingsStore::sSettings().setValue("Software\\Stellwork\\Common", "KZ_MODULES", "/mods"));
    }
    void writeUserFile(const std::string& text) {
        ::mkdir(app.c_str(), 0777);
        writeFile(app + "/Vorn.env", text);
    }
    bool init(bool readUserFile = true) { return TVornEnvironment::initializeVornEnvironment(readUserFile); }
};

const char* const kBuilt[] = {"VORN_PLUG_IN_PATH", "VORN_SCRIPT_PATH", "XBMLANGPATH", "VORN_MODULE_PATH", "PATH"};

} // namespace

// -- Templates and merge order -------------------------------------------------------

TEST_F(EnvironmentFixture, TemplatesAloneWithoutUserValues) {
    setDirectories();
    ASSERT_TRUE(init());
    EXPECT_TRUE(messages.empty());
    EXPECT_EQ(env("VORN_MODULE_PATH"),
              app + "/7.5/modules:" + app + "/modules:/mods/Vorn/7.5:/mods/Vorn:" + location + "/modules");
    EXPECT_EQ(env("VORN_PLUG_IN_PATH"), app + "/7.5/plug-ins:" + app + "/plug-ins:/cfg/Vorn/7.5/plug-ins:" +
                                            "/cfg/Vorn/plug-ins:" + location + "/bin/plug-ins");
    const auto icons = entries("XBMLANGPATH");
    ASSERT_EQ(icons.size(), 12u);
    EXPECT_EQ(icons[5], location + "/app-defaults");
    EXPECT_EQ(icons[6], location + "/icons/paintEffects");
    EXPECT_EQ(icons[11], location + "/icons/fur");
    const auto scripts = entries("VORN_SCRIPT_PATH");
    ASSERT_EQ(scripts.size(), 16u);
    EXPECT_EQ(scripts[2], app + "/7.5/presets");
    EXPECT_EQ(scripts[10], location + "/scripts/paintEffects");
    EXPECT_EQ(scripts[15], location + "/scripts/fur");
    EXPECT_EQ(env("VORN_SCRIPT_BASE"), location);
    EXPECT_EQ(env("VORN_HELP_URL"), "file://" + location + "/docs/index.html");
}

TEST_F(EnvironmentFixture, UnknownDirectoriesAddNoEntries) {
    // No settings store values and no version: every entry naming them goes.
    TbatchGlobals::setVersionNumberStrings(TstringArray());
    ASSERT_TRUE(init());
    EXPECT_EQ(env("VORN_MODULE_PATH"), app + "/modules:" + location + "/modules");
    EXPECT_EQ(env("VORN_PLUG_IN_PATH"), app + "/plug-ins:" + location + "/bin/plug-ins");
    for (const char* name : kBuilt)
        EXPECT_EQ(env(name).find("//"), std::string::npos) << name;
}

TEST_F(EnvironmentFixture, CurrentThenUserThenDefaults) {
    ::setenv("VORN_PLUG_IN_PATH", "/current", 1);
    ::setenv("GRUNDEL_TEST_FROM_FILE", "process", 1);
    writeUserFile("VORN_PLUG_IN_PATH = /mine:$HOME/plugs\n"
                  "VORN_HELP_URL = http://help.example/\n"
                  "GRUNDEL_TEST_FROM_FILE = file\n");
    ASSERT_TRUE(init());
    EXPECT_EQ(env("VORN_PLUG_IN_PATH"), "/current:/mine:" + home + "/plugs:" + app + "/7.5/plug-ins:" + app +
                                            "/plug-ins:" + location + "/bin/plug-ins");
    EXPECT_EQ(env("VORN_HELP_URL"), "http://help.example/");
    // A variable of the process beats the file's.
    EXPECT_EQ(env("GRUNDEL_TEST_FROM_FILE"), "process");
}

TEST_F(EnvironmentFixture, ShelfPathStandsAfterTheFifthScriptEntry) {
    setDirectories();
    writeUserFile("VORN_SHELF_PATH = /shelves/a:/shelves/b\n");
    ASSERT_TRUE(init());
    const auto scripts = entries("VORN_SCRIPT_PATH");
    ASSERT_EQ(scripts.size(), 18u);
    EXPECT_EQ(scripts[4], "/cfg/Vorn/scripts");
    EXPECT_EQ(scripts[5], "/shelves/a");
    EXPECT_EQ(scripts[6], "/shelves/b");
    EXPECT_EQ(scripts[7], app + "/7.5/prefs/shelves");
}

TEST_F(EnvironmentFixture, BothPathOrders) {
    // Normally the installation comes first; the old ordering puts it last.
    writeUserFile("PATH = /mine\n");
    ASSERT_TRUE(init());
    EXPECT_EQ(env("PATH"), location + "/bin/Cg:" + location + "/bin:/usr/bin:/bin:/mine");

    TVornEnvironment::reset();
    ::setenv("PATH", "/usr/bin:/bin", 1);
    ::setenv("VORN_PRE_70_PATH_ORDERING", "", 1);
    ASSERT_TRUE(init());
    EXPECT_EQ(env("PATH"), "/usr/bin:/bin:/mine:" + location + "/bin/Cg:" + location + "/bin");
}

TEST_F(EnvironmentFixture, NoDoubledOrDanglingSeparators) {
    setDirectories();
    ::setenv("PATH", ":/usr/bin::/bin:", 1);
    ::setenv("VORN_MODULE_PATH", "::", 1);
    ::setenv("VORN_SHELF_PATH", ":", 1);
    writeUserFile("VORN_PLUG_IN_PATH =\nXBMLANGPATH = :/a::\nVORN_SCRIPT_PATH = /s:\n");
    ASSERT_TRUE(init());
    for (const char* name : kBuilt) {
        const std::string v = env(name);
        ASSERT_FALSE(v.empty()) << name;
        EXPECT_EQ(v.find("::"), std::string::npos) << name << "=" << v;
        EXPECT_NE(v.front(), ':') << name;
        EXPECT_NE(v.back(), ':') << name;
    }
    EXPECT_EQ(entries("XBMLANGPATH")[0], "/a");
}

TEST_F(EnvironmentFixture, DefaultsOnlySwitch) {
    setArguments({"vorn", "-file", "-default"});
    ::setenv("VORN_MODULE_PATH", "/current", 1);
    writeUserFile("VORN_MODULE_PATH = /mine\nPATH = /mine\n");
    ASSERT_TRUE(init());
    EXPECT_TRUE(TVornEnvironment::defaultsOnly());
    EXPECT_EQ(env("VORN_MODULE_PATH"), app + "/7.5/modules:" + app + "/modules:" + location + "/modules");
    // PATH keeps what it had, so that programs are still found.
    EXPECT_EQ(env("PATH"), location + "/bin/Cg:" + location + "/bin:/usr/bin:/bin:/mine");
}

TEST_F(EnvironmentFixture, DefaultsSwitchCountsOnlyAfterTheProgramName) {
    setArguments({"-default", "-defaults"});
    ::setenv("VORN_MODULE_PATH", "/current", 1);
    ASSERT_TRUE(init());
    EXPECT_FALSE(TVornEnvironment::defaultsOnly());
    EXPECT_EQ(entries("VORN_MODULE_PATH")[0], "/current");
}

// -- The user's file and the lifecycle --------------------------------------------------

TEST_F(EnvironmentFixture, UserFileLocationAndProblems) {
    writeUserFile("GRUNDEL_TEST_FROM_FILE = ${HOME}/x:${UNTERMINATED\nnot a setting\n");
    ASSERT_TRUE(init());
    EXPECT_TRUE(TVornEnvironment::environmentFileIsRead());
    EXPECT_EQ(TVornEnvironment::vornEnvFileLocation().asC(), app + "/Vorn.env");
    EXPECT_EQ(env("GRUNDEL_TEST_FROM_FILE"), home + "/x:${UNTERMINATED");
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_FALSE(questions[0]);
    EXPECT_NE(messages[0].find("at line 2"), std::string::npos) << messages[0];
}

TEST_F(EnvironmentFixture, UserFileCanBeSkipped) {
    writeUserFile("GRUNDEL_TEST_FROM_FILE = file\nVORN_MODULE_PATH = /mine\n");
    ASSERT_TRUE(init(false));
    EXPECT_FALSE(TVornEnvironment::environmentFileIsRead());
    EXPECT_EQ(env("GRUNDEL_TEST_FROM_FILE"), "<unset>");
    EXPECT_EQ(entries("VORN_MODULE_PATH")[0], app + "/7.5/modules");
}

TEST_F(EnvironmentFixture, SecondCallChangesNothing) {
    ASSERT_TRUE(init());
    const std::string path = env("PATH");
    ASSERT_TRUE(init());
    EXPECT_EQ(env("PATH"), path);
}

// -- Checks of the essential variables -------------------------------------------------

TEST_F(EnvironmentFixture, InvalidLocationAsksWhetherToExit) {
    ::setenv("VORN_LOCATION", dir.file("nowhere").c_str(), 1);
    TbatchGlobals::setApplicationName("Sculpt");
    answerExit = true;
    EXPECT_FALSE(init());
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_TRUE(questions[0]);
    EXPECT_EQ(messages[0], "Warning: Cannot run Sculpt without a valid setting for VORN_LOCATION. Exit Program?");
    // The answer stays the answer.
    EXPECT_FALSE(init());
    EXPECT_EQ(messages.size(), 1u);

    TVornEnvironment::reset();
    answerExit = false;
    EXPECT_TRUE(init());
    EXPECT_EQ(env("PATH").rfind(dir.file("nowhere") + "/bin/Cg:", 0), 0u);
}

TEST_F(EnvironmentFixture, LocationFallsBackToInstallLocationThenExecutable) {
    ::unsetenv("VORN_LOCATION");
    ::setenv("VORN_INSTALL_LOCATION", location.c_str(), 1);
    ASSERT_TRUE(init());
    EXPECT_EQ(env("VORN_LOCATION"), location);

    TVornEnvironment::reset();
    ::unsetenv("VORN_LOCATION");
    ::unsetenv("VORN_INSTALL_LOCATION");
    ASSERT_TRUE(init());
    char exe[4096] = {};
    ASSERT_GT(::readlink("/proc/self/exe", exe, sizeof exe - 1), 0);
    std::string expected(exe);
    expected.resize(expected.rfind('/'));
    expected.resize(expected.rfind('/'));
    EXPECT_EQ(env("VORN_LOCATION"), expected);
}

TEST_F(EnvironmentFixture, AppDirIsCreatedAndTildeExpanded) {
    ::setenv("VORN_APP_DIR", "~/my/vorn", 1);
    ASSERT_TRUE(init());
    EXPECT_EQ(env("VORN_APP_DIR"), home + "/my/vorn");
    struct stat st;
    EXPECT_EQ(::stat((home + "/my/vorn").c_str(), &st), 0);

    TVornEnvironment::reset();
    ::unsetenv("VORN_APP_DIR");
    ASSERT_TRUE(init());
    EXPECT_EQ(env("VORN_APP_DIR"), home + "/vorn");
    EXPECT_TRUE(messages.empty());
}

TEST_F(EnvironmentFixture, AppDirThatCannotBeExpandedIsFatal) {
    ::setenv("VORN_APP_DIR", "~no_such_user_of_grundel/vorn", 1);
    EXPECT_FALSE(init());
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0], "*** Fatal Error: Unable to expand '~' in $VORN_APP_DIR: ~no_such_user_of_grundel/vorn");
}

TEST_F(EnvironmentFixture, AppDirThatIsAFile) {
    writeFile(dir.file("plain"), "x");
    ::setenv("VORN_APP_DIR", dir.file("plain").c_str(), 1);
    EXPECT_TRUE(init());
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[0], "Invalid environment variable.  VORN_APP_DIR is not a directory: " + dir.file("plain"));
    EXPECT_FALSE(questions[0]);
    EXPECT_EQ(messages[1], "Can not run Vorn without a valid setting for VORN_APP_DIR. Exit Program?");
    EXPECT_TRUE(questions[1]);
    EXPECT_EQ(readFile(dir.file("plain")), "x");

    TVornEnvironment::reset();
    answerExit = true;
    EXPECT_FALSE(init());
}

TEST_F(EnvironmentFixture, AppDirThatCannotBeMadeOrWritten) {
    writeFile(dir.file("plain"), "x");
    const std::string locked = dir.file("locked");
    ::mkdir(locked.c_str(), 0500);
    std::vector<std::string> appDirs = {dir.file("plain") + "/vorn"};
    if (::geteuid() != 0) // permission bits do not stop root
        appDirs.push_back(locked);
    answerExit = true;
    for (const std::string& appDir : appDirs) {
        SCOPED_TRACE(appDir);
        TVornEnvironment::reset();
        messages.clear();
        questions.clear();
        ::setenv("VORN_APP_DIR", appDir.c_str(), 1);
        EXPECT_FALSE(init());
        ASSERT_EQ(messages.size(), 2u);
        EXPECT_EQ(messages[0], "Unable to locate valid VORN_APP_DIR. Please specify a writable directory where "
                               "Vorn can store user data.");
        EXPECT_TRUE(questions[1]);
    }
    ::chmod(locked.c_str(), 0700);
}

TEST(TVornEnvironment, SplitPathDropsEmptyEntries) {
    TstringArray parts;
    parts.addLast(Tstring("kept"));
    TVornEnvironment::splitPath(Tstring("::/a::/b c:"), parts);
    ASSERT_EQ(parts.length(), 3u);
    EXPECT_STREQ(parts[1].asC(), "/a");
    EXPECT_STREQ(parts[2].asC(), "/b c");
    TVornEnvironment::splitPath(Tstring(), parts);
    EXPECT_EQ(parts.length(), 3u);
}
