// Extensions, joined paths and file search.
#include "grundel/iff/FLpath.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

TEST(FLpath, ExtensionsOfTheLastComponentOnly) {
    struct Case {
        const char* path;
        const char* extension;
    };
    const Case cases[] = {
        {"scene.iff", "iff"},        {"a/b.c/scene", ""},   {"archive.tar.gz", "gz"},
        {".profile", ""},            {"dir/.profile", ""},  {".profile.bak", "bak"},
        {"..", ""},                  {"name.", ""},         {"dir.d/", ""},
        {"", ""},                    {"x.IFF", "IFF"},
    };
    for (const Case& c : cases)
        EXPECT_STREQ(FLgetext(c.path), c.extension) << c.path;
    EXPECT_STREQ(FLgetext(nullptr), "");

    EXPECT_TRUE(FLcheckext("scene.iff", "iff"));
    EXPECT_TRUE(FLcheckext("scene.iff", ".iff"));
    EXPECT_FALSE(FLcheckext("scene.IFF", "iff")) << "case counts";
    EXPECT_FALSE(FLcheckext("scene.iff", "if"));
    EXPECT_FALSE(FLcheckext(".iff", "iff")) << "a dot-file has no extension";
    EXPECT_TRUE(FLcheckext("Makefile", ""));
    EXPECT_TRUE(FLcheckext("Makefile", nullptr));
    EXPECT_FALSE(FLcheckext("scene.iff", ""));
}

TEST(FLpath, MakesPathsWithOneSlash) {
    EXPECT_STREQ(FLmakepath("dir", "file").asC(), "dir/file");
    EXPECT_STREQ(FLmakepath("dir/", "file", "iff").asC(), "dir/file.iff");
    EXPECT_STREQ(FLmakepath("/", "file", ".iff").asC(), "/file.iff");
    EXPECT_STREQ(FLmakepath("dir", "/abs/file").asC(), "/abs/file");
    EXPECT_STREQ(FLmakepath("", "file", "").asC(), "file");
    EXPECT_STREQ(FLmakepath(nullptr, "file").asC(), "file");
}

TEST(FLpath, FindsReadableFilesAlongAPath) {
    char pattern[] = "/tmp/grundel_findfile_XXXXXX";
    ASSERT_NE(::mkdtemp(pattern), nullptr);
    const std::string directory = pattern;
    const std::string sub = directory + "/sub";
    ASSERT_EQ(::mkdir(sub.c_str(), 0700), 0);
    const std::string file = sub + "/data.iff";
    std::FILE* out = std::fopen(file.c_str(), "w");
    ASSERT_NE(out, nullptr);
    std::fclose(out);
    ASSERT_EQ(::mkdir((directory + "/data.iff").c_str(), 0700), 0) << "a directory of that name is passed over";

    const std::string path = "/nonexistent:" + directory + ":" + sub;
    EXPECT_STREQ(FLfindfile("data.iff", path.c_str()).asC(), file.c_str());
    EXPECT_STREQ(FLfindfile("other.iff", path.c_str()).asC(), "");
    EXPECT_STREQ(FLfindfile(file.c_str(), "").asC(), file.c_str()) << "a name with a slash is taken as it is";
    EXPECT_STREQ(FLfindfile("", path.c_str()).asC(), "");

    const Tstring saved = FLgetpath();
    FLsetpath(sub.c_str());
    EXPECT_STREQ(FLfindfile("data.iff").asC(), file.c_str()) << "the library's search path by default";
    FLsetpath(saved.asC());

    std::remove(file.c_str());
    ::rmdir((directory + "/data.iff").c_str());
    ::rmdir(sub.c_str());
    ::rmdir(directory.c_str());
}
