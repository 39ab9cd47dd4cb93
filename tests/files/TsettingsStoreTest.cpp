#include "grundel/files/TsettingsStore.h"

#include "EnvironmentTestSupport.h"
#include "FilesTestSupport.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

std::string read(const TsettingsStore& store, const char* key, const char* name) {
    Tstring value("<absent>");
    if (!store.readValue(key, name, value))
        return "<absent>";
    return value.asC();
}

} // namespace

TEST(TsettingsStore, SectionsAndValues) {
    TsettingsStore store;
    const int bad = store.parse("; comment\n"
                                "# comment\n"
                                "[Software\\Stellwork\\Common]\n"
                                "KZ_USER_CONFIG = /etc/stellwork \r\n"
                                "KZ_MODULES=/opt/m=1;#2\n"
                                "  [ Software\\Other ]  \n"
                                "name=first\n"
                                "NAME=second\n"
                                "[software\\stellwork\\COMMON]\n"
                                "extra=\n");
    EXPECT_EQ(bad, 0);
    EXPECT_EQ(read(store, "Software\\Stellwork\\Common", "KZ_USER_CONFIG"), "/etc/stellwork");
    // Keys and names match without regard to case; the later value wins.
    EXPECT_EQ(read(store, "SOFTWARE\\STELLWORK\\COMMON", "kz_modules"), "/opt/m=1;#2");
    EXPECT_EQ(read(store, "Software\\Other", "Name"), "second");
    EXPECT_EQ(read(store, "Software\\Stellwork\\Common", "extra"), "");
    EXPECT_EQ(read(store, "Software\\Stellwork", "KZ_MODULES"), "<absent>");
    EXPECT_EQ(read(store, "Software\\Other", "KZ_MODULES"), "<absent>");
}

TEST(TsettingsStore, MalformedLinesAreSkippedAndCounted) {
    TsettingsStore store;
    const std::string text = std::string("before=any section\n"
                                         "[Good]\n"
                                         "no equals sign\n"
                                         "= no name\n"
                                         "ok=1\n"
                                         "nul=") +
                             std::string(1, '\0') + "\n[]\nlost=1\n[Good]\nok2=2\n";
    EXPECT_EQ(store.parse(text), 6);
    EXPECT_EQ(store.malformedLines(), 6);
    EXPECT_EQ(read(store, "Good", "ok"), "1");
    EXPECT_EQ(read(store, "Good", "ok2"), "2");
    // A value after an empty section line does not fall into the section above.
    EXPECT_EQ(read(store, "Good", "lost"), "<absent>");
    EXPECT_EQ(read(store, "Good", "nul"), "<absent>");
}

TEST(TsettingsStore, WhatCanBeSetSurvivesSaveAndLoad) {
    ScratchDirectory dir;
    TsettingsStore store;
    EXPECT_TRUE(store.setValue("Software\\Stellwork\\Common", "KZ_MODULES", "/opt/mods"));
    EXPECT_TRUE(store.setValue("Software\\Stellwork\\Common", "weird", "a = b ; # [c]"));
    EXPECT_TRUE(store.setValue("Software\\B", "empty", ""));
    EXPECT_TRUE(store.setValue("Software\\Stellwork\\Common", "kz_modules", "/opt/other"));
    // Values that would not read back as written are refused.
    EXPECT_FALSE(store.setValue("Software\\B", "n", " leading"));
    EXPECT_FALSE(store.setValue("Software\\B", "n", "trailing\t"));
    EXPECT_FALSE(store.setValue("Software\\B", "n", "two\nlines"));
    EXPECT_FALSE(store.setValue("Software\\B", "a=b", "v"));
    EXPECT_FALSE(store.setValue("Software\\B", "#n", "v"));
    EXPECT_FALSE(store.setValue("Software\\B", "[n", "v"));
    EXPECT_FALSE(store.setValue("Soft]ware", "n", "v"));
    EXPECT_FALSE(store.setValue("", "n", "v"));
    EXPECT_FALSE(store.setValue("K", "", "v"));
    EXPECT_FALSE(store.setValue("K", "n", nullptr));
    EXPECT_EQ(read(store, "Software\\B", "n"), "<absent>");

    const std::string path = dir.file("settings.ini");
    ASSERT_TRUE(store.save(path.c_str()));
    EXPECT_EQ(readFile(path), "[Software\\Stellwork\\Common]\nKZ_MODULES=/opt/other\nweird=a = b ; # [c]\n"
                              "\n[Software\\B]\nempty=\n");
    TsettingsStore again;
    ASSERT_TRUE(again.load(path.c_str()));
    EXPECT_EQ(again.malformedLines(), 0);
    EXPECT_STREQ(again.text().asC(), store.text().asC());

    EXPECT_TRUE(again.removeValue("software\\b", "EMPTY"));
    EXPECT_FALSE(again.removeValue("software\\b", "EMPTY"));
    EXPECT_EQ(read(again, "Software\\Stellwork\\Common", "weird"), "a = b ; # [c]");
    EXPECT_TRUE(again.removeValue("Software\\Stellwork\\Common", "KZ_MODULES"));
    EXPECT_EQ(read(again, "Software\\Stellwork\\Common", "weird"), "a = b ; # [c]");
}

TEST(TsettingsStore, LoadingFiles) {
    ScratchDirectory dir;
    TsettingsStore store;
    ASSERT_TRUE(store.setValue("K", "n", "v"));
    // A missing file is an empty store; an unreadable one empties it too.
    EXPECT_TRUE(store.load(dir.file("missing.ini").c_str()));
    EXPECT_EQ(read(store, "K", "n"), "<absent>");
    ASSERT_TRUE(store.setValue("K", "n", "v"));
    EXPECT_FALSE(store.load(dir.path().c_str()));
    EXPECT_EQ(read(store, "K", "n"), "<absent>");
    EXPECT_FALSE(store.load(nullptr));
    // Saving into a directory that does not exist fails and creates nothing.
    EXPECT_FALSE(store.save(dir.file("no/such/dir/settings.ini").c_str()));
}

TEST(TsettingsStore, DefaultLocation) {
    SavedEnvironment saved({"VORN_SETTINGS_FILE", "XDG_CONFIG_HOME", "HOME"});
    ::setenv("HOME", "/home/u", 1);
    EXPECT_STREQ(TsettingsStore::sDefaultLocation().asC(), "/home/u/.config/Stellwork/settings.ini");
    ::setenv("XDG_CONFIG_HOME", "/cfg", 1);
    EXPECT_STREQ(TsettingsStore::sDefaultLocation().asC(), "/cfg/Stellwork/settings.ini");
    ::setenv("VORN_SETTINGS_FILE", "/elsewhere/s.ini", 1);
    EXPECT_STREQ(TsettingsStore::sDefaultLocation().asC(), "/elsewhere/s.ini");
    ::unsetenv("VORN_SETTINGS_FILE");
    ::unsetenv("XDG_CONFIG_HOME");
    ::unsetenv("HOME");
    EXPECT_TRUE(TsettingsStore::sDefaultLocation().isEmpty());
}

TEST(TsettingsStore, ThreadsShareOneStore) {
    TsettingsStore store;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&store, t] {
            const std::string key = "K" + std::to_string(t % 2);
            for (int i = 0; i < 500; ++i) {
                const std::string name = "n" + std::to_string(i % 50);
                EXPECT_TRUE(store.setValue(key.c_str(), name.c_str(), std::to_string(i).c_str()));
                Tstring value;
                EXPECT_TRUE(store.readValue(key.c_str(), name.c_str(), value));
                if (i % 100 == 0)
                    store.text();
            }
        });
    for (auto& thread : threads)
        thread.join();
    // Both threads of a key ended on the same last values.
    Tstring value;
    ASSERT_TRUE(store.readValue("K1", "n49", value));
    EXPECT_STREQ(value.asC(), "499");
}
