#include "grundel/files/TsafeFileSave.h"

#include "FilesTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fstream>
#include <random>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

unsigned int modeOf(const std::string& path) {
    struct stat st;
    return ::stat(path.c_str(), &st) == 0 ? (st.st_mode & 0777) : 0xFFFFFFFFu;
}

unsigned int currentUmask() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return mask;
}

// Entries of dir other than the given names: leftovers of temporary files.
std::vector<std::string> othersIn(const ScratchDirectory& dir, std::vector<std::string> known) {
    std::vector<std::string> others;
    for (const auto& entry : std::filesystem::directory_iterator(dir.path())) {
        const std::string name = entry.path().filename().string();
        if (std::find(known.begin(), known.end(), name) == known.end())
            others.push_back(name);
    }
    return others;
}

bool saveText(const std::string& target, const std::string& text) {
    TsafeFileSave save{Tstring(target)};
    if (!save.setupForWrite())
        return false;
    const std::size_t n = text.size();
    if (::write(save.fileDescriptor(), text.data(), n) != static_cast<ssize_t>(n))
        return false;
    return save.commitChanges();
}

} // namespace

TEST(TsafeFileSave, NewTargetIsCreatedWithUmaskPermissions) {
    ScratchDirectory dir;
    const std::string target = dir.file("scene.txt");
    ASSERT_TRUE(saveText(target, "new"));
    EXPECT_EQ(readFile(target), "new");
    EXPECT_EQ(modeOf(target), 0666u & ~currentUmask());
    EXPECT_TRUE(othersIn(dir, {"scene.txt"}).empty());
}

TEST(TsafeFileSave, ExistingTargetKeepsItsPermissionBits) {
    ScratchDirectory dir;
    const std::string target = dir.file("tool.sh");
    for (unsigned int mode : {0644u, 0640u, 0755u, 0600u}) {
        writeFile(target, "old");
        ASSERT_EQ(::chmod(target.c_str(), mode), 0);
        ASSERT_TRUE(saveText(target, "replaced"));
        EXPECT_EQ(readFile(target), "replaced");
        EXPECT_EQ(modeOf(target), mode);
    }
}

TEST(TsafeFileSave, EveryWriterReachesTheTarget) {
    ScratchDirectory dir;
    const std::string target = dir.file("out");
    writeFile(target, "old contents that are longer than the new");
    {
        TsafeFileSave save{Tstring(target)};
        ASSERT_TRUE(save.setupForWrite());
        std::FILE* f = save.filePointer();
        ASSERT_NE(f, nullptr);
        EXPECT_EQ(save.filePointer(), f);
        std::fputs("through FILE*", f); // still buffered at the commit
        ASSERT_TRUE(save.commitChanges());
    }
    EXPECT_EQ(readFile(target), "through FILE*");
    {
        TsafeFileSave save{Tstring(target)};
        ASSERT_TRUE(save.setupForWrite());
        std::ofstream* out = save.fileStream();
        ASSERT_NE(out, nullptr);
        EXPECT_EQ(save.fileDescriptor(), -1);
        *out << "through a stream " << 42;
        ASSERT_TRUE(save.commitChanges());
        EXPECT_FALSE(save.commitChanges());
    }
    EXPECT_EQ(readFile(target), "through a stream 42");
    EXPECT_TRUE(othersIn(dir, {"out"}).empty());
}

TEST(TsafeFileSave, AbortAndDestructionLeaveTheTarget) {
    ScratchDirectory dir;
    const std::string target = dir.file("keep");
    writeFile(target, "old");
    {
        TsafeFileSave save{Tstring(target)};
        ASSERT_TRUE(save.setupForWrite());
        const std::string temp = save.temporaryPath().asC();
        EXPECT_EQ(temp.size(), target.size() + 6);
        EXPECT_EQ(temp.compare(0, target.size(), target), 0);
        ASSERT_EQ(::write(save.fileDescriptor(), "new", 3), 3);
        save.abortWrite();
        EXPECT_FALSE(std::filesystem::exists(temp));
        EXPECT_FALSE(save.commitChanges());
    }
    {
        TsafeFileSave save{Tstring(target)};
        ASSERT_TRUE(save.setupForWrite());
        std::fputs("new", save.filePointer());
    }
    EXPECT_EQ(readFile(target), "old");
    EXPECT_TRUE(othersIn(dir, {"keep"}).empty());
}

TEST(TsafeFileSave, UnwritableTargetsAreRefusedBeforeAnythingIsCreated) {
    ScratchDirectory dir;
    EXPECT_FALSE(TsafeFileSave(Tstring()).isFileWritable());
    EXPECT_FALSE(TsafeFileSave(Tstring()).setupForWrite());

    const std::string sub = dir.file("sub");
    ASSERT_EQ(::mkdir(sub.c_str(), 0755), 0);
    TsafeFileSave directory{Tstring(sub)};
    EXPECT_FALSE(directory.isFileWritable());
    EXPECT_FALSE(directory.setupForWrite());
    EXPECT_TRUE(othersIn(dir, {"sub"}).empty());

    TsafeFileSave missingDir{Tstring(dir.file("no/such/file"))};
    EXPECT_FALSE(missingDir.setupForWrite());

    if (::geteuid() != 0) { // root may write anything
        const std::string ro = dir.file("readonly");
        writeFile(ro, "old");
        ASSERT_EQ(::chmod(ro.c_str(), 0444), 0);
        TsafeFileSave readOnly{Tstring(ro)};
        EXPECT_FALSE(readOnly.isFileWritable());
        EXPECT_FALSE(readOnly.setupForWrite());
        EXPECT_TRUE(othersIn(dir, {"sub", "readonly"}).empty());
    }
}

TEST(TsafeFileSave, SymbolicLinkStaysAndItsFileIsReplaced) {
    ScratchDirectory dir;
    ASSERT_EQ(::mkdir(dir.file("real").c_str(), 0755), 0);
    const std::string real = dir.file("real/data");
    writeFile(real, "old");
    ASSERT_EQ(::chmod(real.c_str(), 0640), 0);
    const std::string link = dir.file("link");
    ASSERT_EQ(::symlink("real/data", link.c_str()), 0); // relative to the link

    ASSERT_TRUE(saveText(link, "new"));
    struct stat st;
    ASSERT_EQ(::lstat(link.c_str(), &st), 0);
    EXPECT_TRUE(S_ISLNK(st.st_mode));
    EXPECT_EQ(readFile(real), "new");
    EXPECT_EQ(modeOf(real), 0640u);
}

TEST(TsafeFileSave, FailedRenameLeavesTheNewContentsToTheCaller) {
    ScratchDirectory dir;
    const std::string target = dir.file("target");
    writeFile(target, "old");
    std::string temp;
    {
        TsafeFileSave save{Tstring(target)};
        ASSERT_TRUE(save.setupForWrite());
        ASSERT_EQ(::write(save.fileDescriptor(), "new", 3), 3);
        // The target turns into a non-empty directory: the rename must fail.
        ASSERT_EQ(::unlink(target.c_str()), 0);
        ASSERT_EQ(::mkdir(target.c_str(), 0755), 0);
        writeFile(target + "/inside", "x");
        EXPECT_FALSE(save.commitChanges());
        temp = save.temporaryPath().asC();
        ASSERT_FALSE(temp.empty());
    }
    EXPECT_EQ(readFile(temp), "new");
}

TEST(TsafeFileSave, ConcurrentSavesNeverShareATemporaryFile) {
    ScratchDirectory dir;
    const std::string target = dir.file("shared");
    TsafeFileSave a{Tstring(target)}, b{Tstring(target)};
    ASSERT_TRUE(a.setupForWrite());
    ASSERT_TRUE(b.setupForWrite());
    EXPECT_NE(a.temporaryPath(), b.temporaryPath());
    ASSERT_EQ(::write(a.fileDescriptor(), "a", 1), 1);
    ASSERT_EQ(::write(b.fileDescriptor(), "b", 1), 1);
    ASSERT_TRUE(b.commitChanges());
    ASSERT_TRUE(a.commitChanges());
    EXPECT_EQ(readFile(target), "a");

    // Threads saving whole texts: the target is always one of them.
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&target, t] {
            for (int i = 0; i < 10; ++i)
                EXPECT_TRUE(saveText(target, std::string(1000 + t, static_cast<char>('a' + t))));
        });
    for (auto& thread : threads)
        thread.join();
    const std::string text = readFile(target);
    ASSERT_GE(text.size(), 1000u);
    EXPECT_EQ(text, std::string(text.size(), static_cast<char>('a' + (text.size() - 1000))));
    EXPECT_TRUE(othersIn(dir, {"shared"}).empty());
}

// A writer killed at any point, in the middle of writing or inside the
// commit, leaves the target either wholly old or wholly new.
TEST(TsafeFileSave, KilledWriterLeavesOldOrNewNeverAMixture) {
    ScratchDirectory dir;
    const std::string target = dir.file("victim");
    auto contents = [](int version) {
        std::string s(256 * 1024 + version * 977, static_cast<char>('A' + version % 26));
        for (std::size_t i = 0; i < s.size(); i += 4096)
            s[i] = static_cast<char>(version);
        return s;
    };
    writeFile(target, contents(0));

    // Each child writes in 16 KB pieces, reports on the pipe that it is about
    // to commit, then commits. Kill at a random moment: half of the trials
    // from the start, half from the report.
    auto runChild = [&](int version, int reportFd) {
        const std::string text = contents(version);
        TsafeFileSave save{Tstring(target)};
        if (!save.setupForWrite())
            ::_exit(2);
        for (std::size_t at = 0; at < text.size(); at += 16384) {
            const std::size_t n = std::min<std::size_t>(16384, text.size() - at);
            if (::write(save.fileDescriptor(), text.data() + at, n) != static_cast<ssize_t>(n))
                ::_exit(3);
        }
        char c = 'c';
        if (::write(reportFd, &c, 1) != 1)
            ::_exit(3);
        ::_exit(save.commitChanges() ? 0 : 4);
    };
    std::mt19937 random(12345);
    std::string previous = contents(0);
    int sawNew = 0, sawOld = 0;
    for (int trial = 1; trial <= 100; ++trial) {
        int fds[2];
        ASSERT_EQ(::pipe(fds), 0);
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            ::close(fds[0]);
            runChild(trial, fds[1]);
        }
        ::close(fds[1]);
        const bool inCommit = trial % 2 == 0;
        if (inCommit) {
            char c;
            (void)!::read(fds[0], &c, 1);
        }
        std::this_thread::sleep_for(std::chrono::microseconds(random() % (inCommit ? 3000 : 8000)));
        ::kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ::close(fds[0]);

        const std::string now = readFile(target);
        const std::string next = contents(trial);
        if (now == next) {
            ++sawNew;
            previous = next;
        } else {
            ASSERT_EQ(now, previous) << "trial " << trial << ": neither the old nor the new file";
            ++sawOld;
        }
        for (const std::string& leftover : othersIn(dir, {"victim"}))
            std::filesystem::remove(dir.file(leftover));
    }
    // Both outcomes must have been seen for the trials to mean anything.
    EXPECT_GT(sawOld, 0);
    EXPECT_GT(sawNew, 0);
    RecordProperty("old", sawOld);
    RecordProperty("new", sawNew);
}
