// Which names FLopen takes for more than a path: only "stdin", "stdout" and
// "mmap:" unless the calling thread turns the special forms on, and never
// over a file that exists under that name.
#include "FLtestSupport.h"

#include "grundel/iff/FLpath.h"
#include "grundel/iff/TiffFile.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>

using namespace fltest;

namespace {

// Before any test can have changed it.
const bool gSpecialNamesAtStart = FLgetspecialnames();

const Node kSample = group("FORM", "TEST", {chunk("DATA", text("xyz"))});

bool exists(const std::string& path) { return ::access(path.c_str(), F_OK) == 0; }

// A fresh directory with a sample chunk file and a driver that reads it
// ("catdrv read PATH"), removed with the object.
class Scratch {
public:
    Scratch() {
        char pattern[] = "/tmp/grundel_names_XXXXXX";
        fDirectory = ::mkdtemp(pattern) ? pattern : "";
        const Bytes bytes = writeToMemory(kSample);
        save("sample.iff", bytes);
        save("catdrv", text("#!/bin/sh\n[ \"$1\" = read ] && exec cat \"$2\"\nexec cat > \"$2\"\n"));
        ::chmod(path("catdrv").c_str(), 0755);
    }
    ~Scratch() { std::system(("rm -rf '" + fDirectory + "'").c_str()); }
    std::string path(const std::string& name) const { return fDirectory + "/" + name; }
    const std::string& directory() const { return fDirectory; }
    void save(const std::string& name, const Bytes& bytes) const {
        if (std::FILE* f = std::fopen(path(name).c_str(), "wb")) {
            if (!bytes.empty())
                std::fwrite(bytes.data(), 1, bytes.size(), f);
            std::fclose(f);
        }
    }

private:
    std::string fDirectory;
};

// Opens name, reads it whole and expects the sample.
void expectSample(const std::string& name) {
    std::vector<Node> read;
    ASSERT_EQ(readAll(name, read), 0) << name;
    ASSERT_EQ(read.size(), 1u) << name;
    EXPECT_EQ(read[0], kSample) << name;
}

// Opening name fails as a missing plain path does.
void expectMissingPath(const std::string& name) {
    EXPECT_EQ(FLopen(name.c_str(), "r"), nullptr) << name;
    EXPECT_EQ(FLerror(), kFLio) << name;
    EXPECT_EQ(FLoserror(), ENOENT) << name;
}

} // namespace

TEST(FLnames, SpecialFormsAreOffByDefaultAndPerThread) {
    EXPECT_FALSE(gSpecialNamesAtStart);
    const TiffSpecialNames names;
    EXPECT_TRUE(FLgetspecialnames());
    bool other = true;
    std::thread([&other] { other = FLgetspecialnames(); }).join();
    EXPECT_FALSE(other);
    {
        const TiffSpecialNames off(false);
        EXPECT_FALSE(FLgetspecialnames());
    }
    EXPECT_TRUE(FLgetspecialnames());
}

TEST(FLnames, EveryFormIsAPathWhenOffAndHonouredWhenOn) {
    const Scratch scratch;
    const std::string sample = scratch.path("sample.iff");
    const Bytes bytes = writeToMemory(kSample);
    const int fd = ::open(sample.c_str(), O_RDONLY);
    ASSERT_GE(fd, 0);
    FLsetpath(scratch.directory().c_str());
    const std::string forms[] = {"|cat " + sample, "pipe:cat " + sample, "fd:" + std::to_string(fd),
                                 memName(bytes.data(), bytes.size()), "catdrv:" + sample};
    {
        const TiffSpecialNames off(false);
        for (const std::string& name : forms)
            expectMissingPath(name);
        const std::string marker = scratch.path("marker");
        expectMissingPath("|touch " + marker);
        expectMissingPath("pipe:touch " + marker);
        EXPECT_FALSE(exists(marker)) << "a command ran";
        expectMissingPath("localhost:/etc/passwd"); // no remote shell started
        // Always understood.
        expectSample("mmap:" + sample);
        _FLfile* in = FLopen("stdin", "r");
        ASSERT_NE(in, nullptr);
        EXPECT_EQ(FLclose(in), 0);
    }
    {
        const TiffSpecialNames on;
        for (const std::string& name : forms)
            expectSample(name);
        expectSample("mmap:" + sample);
    }
    FLsetpath(nullptr);
    EXPECT_EQ(::close(fd), 0); // left open by the library
}

TEST(FLnames, DriversComeFromTheLibrarysPathOnly) {
    const Scratch scratch;
    FLsetpath(nullptr);
    EXPECT_TRUE(FLfinddriver("sh").isEmpty()); // on PATH, not a driver
    EXPECT_FALSE(FLfindcmd("sh").isEmpty());   // still a command
    char here[PATH_MAX];
    ASSERT_NE(::getcwd(here, sizeof here), nullptr);
    ASSERT_EQ(::chdir(scratch.directory().c_str()), 0);
    FLsetpath(":.:relative"); // the current directory, spelled every way
    EXPECT_TRUE(FLfinddriver("catdrv").isEmpty());
    FLaddpath(scratch.directory().c_str());
    EXPECT_EQ(FLfinddriver("catdrv"), Tstring((scratch.directory() + "/").c_str()));
    EXPECT_TRUE(FLfinddriver("../catdrv").isEmpty());
    FLsetpath(nullptr);
    ASSERT_EQ(::chdir(here), 0);
}

TEST(FLnames, AnExistingFileWinsOverEveryForm) {
    const Scratch scratch;
    const Bytes bytes = writeToMemory(kSample);
    const std::string local[] = {"take:1.aifc", "mem:0x10,64", "|id", "pipe:x", "localhost:etc", "catdrv:x",
                                 "mmap:x"};
    for (const std::string& name : local)
        scratch.save(name, bytes);
    char here[PATH_MAX];
    ASSERT_NE(::getcwd(here, sizeof here), nullptr);
    ASSERT_EQ(::chdir(scratch.directory().c_str()), 0);
    FLsetpath(scratch.directory().c_str());
    {
        const TiffSpecialNames on;
        for (const std::string& name : local)
            expectSample(name);
        // A '/' before the colon makes a path, never a host.
        expectSample(scratch.path("take:1.aifc"));
        expectMissingPath("./take:2.aifc");
        expectMissingPath(scratch.path("scene:v2.iff"));
    }
    FLsetpath(nullptr);
    ASSERT_EQ(::chdir(here), 0);
}

TEST(FLnames, ANameReadFromAFileRunsNothing) {
    const Scratch scratch;
    const std::string marker = scratch.path("marker");
    const std::string hostile = "|touch " + marker;
    // A scene whose texture chunk names a command.
    {
        TiffFile out(scratch.path("scene.iff").c_str(), "w");
        ASSERT_TRUE(out.isActive());
        ASSERT_EQ(out.beginWriteGroup(TiffTag("FORM"), TiffTag("SCNE")), 0);
        ASSERT_EQ(out.putChunk(TiffTag("TXTR"), Tint32(hostile.size() + 1), hostile.c_str()), 0);
        ASSERT_EQ(out.endWriteGroup(), 0);
        ASSERT_EQ(out.close(), 0);
    }
    TiffFile scene(scratch.path("scene.iff").c_str(), "r");
    TiffTag id, type;
    ASSERT_EQ(scene.beginReadGroup(id, type), 0);
    Tint32 size = 0;
    const char* texture = static_cast<const char*>(scene.getChunk(id, &size));
    ASSERT_NE(texture, nullptr);
    EXPECT_EQ(std::string(texture), hostile);
    for (const char* mode : {"r", "w"}) {
        TiffFile opened(texture, mode);
        EXPECT_FALSE(opened.isActive()) << mode;
    }
    EXPECT_FALSE(exists(marker)) << "a command ran";
}

TEST(FLnames, AnEmptyMappedFileIsAnEmptyFile) {
    const Scratch scratch;
    scratch.save("empty", {});
    const std::string name = "mmap:" + scratch.path("empty");
    std::vector<Node> read;
    EXPECT_EQ(readAll(name, read), 0);
    EXPECT_TRUE(read.empty());
    TiffFile in(name.c_str(), "r");
    ASSERT_TRUE(in.isActive());
    EXPECT_EQ(in.parse(), 0);
    EXPECT_EQ(in.beginRead(1), nullptr);
    EXPECT_EQ(in.error(), kFLincomplete);
}
