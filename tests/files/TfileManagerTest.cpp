#include "grundel/files/TfileManager.h"

#include "FilesTestSupport.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

// A manager over dir/undo with files of known sizes in dir.
struct UndoFixture : ::testing::Test {
    ScratchDirectory dir;
    std::string undoDir = dir.file("undo");

    std::string makeFile(const std::string& name, std::size_t size, char fill = 'x') {
        const std::string path = dir.file(name);
        writeFile(path, std::string(size, fill));
        return path;
    }
    static std::size_t filesIn(const std::string& path) {
        std::size_t n = 0;
        for (auto it = std::filesystem::directory_iterator(path); it != std::filesystem::directory_iterator(); ++it)
            ++n;
        return n;
    }
};

} // namespace

TEST_F(UndoFixture, StoreAndRestoreAreByteExact) {
    TfileManager manager(Tstring(undoDir), 1 << 20, 5);
    std::string data;
    for (int i = 0; i < 70000; ++i)
        data += static_cast<char>(i * 7 + (i >> 8));
    const std::string scene = dir.file("scene");
    writeFile(scene, data);
    Tstring undoName;
    ASSERT_TRUE(manager.storeUndo(Tstring(scene), undoName));
    EXPECT_TRUE(manager.isUndoStillValid(undoName));
    EXPECT_EQ(readFile(undoName.asC()), data);
    EXPECT_EQ(manager.totalSize(), data.size());
    EXPECT_NE(std::string(undoName.asC()).find(undoDir + "/undo-" + std::to_string(::getpid()) + "_"), std::string::npos);

    writeFile(scene, "overwritten");
    ASSERT_TRUE(manager.restoreUndo(undoName, Tstring(scene)));
    EXPECT_EQ(readFile(scene), data);
    EXPECT_EQ(filesIn(dir.path()), 2u); // scene and undo/: no temporary left
    EXPECT_TRUE(manager.sanityCheck());

    EXPECT_FALSE(manager.restoreUndo(Tstring(dir.file("missing")), Tstring(scene)));
    EXPECT_EQ(readFile(scene), data);
}

TEST_F(UndoFixture, NothingIsStoredForEmptyMissingOrDirectorySources) {
    TfileManager manager(Tstring(undoDir), 1000, 3);
    Tstring undoName("stale");
    EXPECT_FALSE(manager.storeUndo(Tstring(makeFile("empty", 0)), undoName));
    EXPECT_TRUE(undoName.isEmpty());
    EXPECT_FALSE(manager.storeUndo(Tstring(dir.file("missing")), undoName));
    EXPECT_FALSE(manager.storeUndo(Tstring(dir.path()), undoName));
    EXPECT_EQ(manager.entries().length(), 0u);
    EXPECT_EQ(filesIn(undoDir), 0u);
}

TEST_F(UndoFixture, VersionLimitKeepsTheNewestVersions) {
    TfileManager manager(Tstring(undoDir), 1 << 20, 3);
    const std::string scene = dir.file("scene");
    std::vector<std::string> names;
    for (char c : {'a', 'b', 'c', 'd'}) {
        writeFile(scene, std::string(10, c));
        Tstring undoName;
        ASSERT_TRUE(manager.storeUndo(Tstring(scene), undoName));
        names.push_back(undoName.asC());
    }
    ASSERT_EQ(manager.entries().length(), 3u);
    EXPECT_FALSE(std::filesystem::exists(names[0]));
    EXPECT_EQ(readFile(manager.entries()[0].fUndoName.asC()), std::string(10, 'b'));
    EXPECT_EQ(manager.totalSize(), 30u);
    // Another file's versions are not touched by this file's limit.
    Tstring other;
    ASSERT_TRUE(manager.storeUndo(Tstring(makeFile("other", 5)), other));
    manager.removeUndoFile(Tstring(scene));
    ASSERT_EQ(manager.entries().length(), 3u);
    EXPECT_FALSE(std::filesystem::exists(names[3]));
    EXPECT_EQ(manager.totalSize(), 25u);
    EXPECT_TRUE(manager.sanityCheck());
}

TEST_F(UndoFixture, SizeLimitRefusesLargeFilesAndDropsTheirVersions) {
    TfileManager manager(Tstring(undoDir), 100, 10);
    const std::string scene = makeFile("scene", 40);
    Tstring undoName;
    ASSERT_TRUE(manager.storeUndo(Tstring(scene), undoName));
    writeFile(scene, std::string(101, 'y'));
    EXPECT_FALSE(manager.storeUndo(Tstring(scene), undoName));
    EXPECT_EQ(manager.entries().length(), 0u);
    EXPECT_EQ(manager.totalSize(), 0u);
    EXPECT_EQ(filesIn(undoDir), 0u);

    // A source of 4 GiB or more never fits the 32-bit sizes (a sparse file).
    const std::string huge = dir.file("huge");
    writeFile(huge, "");
    ASSERT_EQ(::truncate(huge.c_str(), static_cast<off_t>(1) << 32), 0);
    TfileManager big(Tstring(undoDir), 0xFFFFFFFFu, 10);
    EXPECT_FALSE(big.storeUndo(Tstring(huge), undoName));
    EXPECT_EQ(big.totalSize(), 0u);
}

TEST_F(UndoFixture, FreeSpaceDeletesOldestFirstAndOnlyWhenNeeded) {
    TfileManager manager(Tstring(undoDir), 100, 10);
    EXPECT_FALSE(manager.freeSpace(101));
    Tstring name;
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(manager.storeUndo(Tstring(makeFile("f" + std::to_string(i), 30)), name));
    EXPECT_FALSE(manager.freeSpace(101));
    EXPECT_TRUE(manager.freeSpace(10));
    EXPECT_EQ(manager.entries().length(), 3u);
    EXPECT_EQ(manager.totalSize(), 90u);

    ASSERT_TRUE(manager.storeUndo(Tstring(makeFile("f3", 30)), name));
    ASSERT_EQ(manager.entries().length(), 3u);
    EXPECT_EQ(manager.entries()[0].fSourceName, Tstring(dir.file("f1")));
    EXPECT_EQ(manager.totalSize(), 90u);
    EXPECT_TRUE(manager.sanityCheck());
}

TEST_F(UndoFixture, ChunkSharesOneVersionNumber) {
    TfileManager manager(Tstring(undoDir), 100, 10);
    Tstring name;
    manager.openUndoChunk();
    ASSERT_TRUE(manager.storeUndo(Tstring(makeFile("a", 20)), name));
    ASSERT_TRUE(manager.storeUndo(Tstring(makeFile("b", 20)), name));
    manager.closeUndoChunk();
    ASSERT_TRUE(manager.storeUndo(Tstring(makeFile("c", 20)), name));
    ASSERT_TRUE(manager.storeUndo(Tstring(makeFile("d", 20)), name));
    const TundoFileArray& e = manager.entries();
    EXPECT_EQ(e[0].fVersion, e[1].fVersion);
    EXPECT_EQ(e[2].fVersion, e[1].fVersion + 1);
    EXPECT_EQ(e[3].fVersion, e[2].fVersion + 1);
}

// The group trim drops entry k from the list without removing its file or
// subtracting its size, and keeps the last entry it deleted listed.
TEST_F(UndoFixture, GroupTrimKeepsItsAsymmetry) {
    TfileManager manager(Tstring(undoDir), 100, 10);
    Tstring name;
    ASSERT_TRUE(manager.storeUndo(Tstring(makeFile("a", 30)), name)); // version 0
    manager.openUndoChunk();
    ASSERT_TRUE(manager.storeUndo(Tstring(makeFile("b", 10)), name)); // version 1: entry k
    ASSERT_TRUE(manager.storeUndo(Tstring(makeFile("c", 30)), name)); // version 1: deleted, stays listed
    manager.closeUndoChunk();
    ASSERT_TRUE(manager.storeUndo(Tstring(makeFile("d", 20)), name)); // version 2: stops the scan
    const Tstring bUndo = manager.entries()[1].fUndoName;
    const Tstring cUndo = manager.entries()[2].fUndoName;

    // 90 stored, 40 needed: a goes (k = 1), then c as b's group; the first
    // j - 1 = 2 entries leave the list: a and b.
    EXPECT_TRUE(manager.freeSpace(40));
    ASSERT_EQ(manager.entries().length(), 2u);
    EXPECT_EQ(manager.entries()[0].fUndoName, cUndo);
    EXPECT_TRUE(std::filesystem::exists(bUndo.asC()));
    EXPECT_FALSE(std::filesystem::exists(cUndo.asC()));
    EXPECT_EQ(manager.totalSize(), 30u); // b's 10 still counted, c's 30 gone
    EXPECT_FALSE(manager.sanityCheck());

    // c's size is subtracted a second time when it is deleted; then d's 20
    // meets a total of 0, which stays 0 instead of wrapping.
    manager.removeUndoFile(Tstring(dir.file("c")));
    EXPECT_EQ(manager.totalSize(), 0u);
    manager.removeUndoFile(Tstring(dir.file("d")));
    EXPECT_EQ(manager.totalSize(), 0u);
}

TEST_F(UndoFixture, FlushRemovesEverythingAndTheDestructorNothing) {
    Tstring name;
    {
        TfileManager manager(Tstring(undoDir), 100, 10);
        ASSERT_TRUE(manager.storeUndo(Tstring(makeFile("a", 10)), name));
    }
    EXPECT_TRUE(std::filesystem::exists(name.asC()));
    TfileManager manager(Tstring(undoDir), 100, 10);
    ASSERT_TRUE(manager.storeUndo(Tstring(makeFile("b", 10)), name));
    manager.flush();
    EXPECT_FALSE(std::filesystem::exists(name.asC()));
    EXPECT_EQ(manager.totalSize(), 0u);
    EXPECT_EQ(manager.entries().length(), 0u);
}

TEST_F(UndoFixture, UnmakeableDirectoryDisablesTheStore) {
    const std::string blocker = makeFile("blocker", 1);
    TfileManager manager(Tstring(blocker + "/undo"), 100, 10);
    EXPECT_EQ(manager.sizeLimit(), 0u);
    EXPECT_EQ(manager.versionLimit(), 0u);
    Tstring name;
    EXPECT_FALSE(manager.storeUndo(Tstring(makeFile("a", 10)), name));
}

TEST_F(UndoFixture, StaticFileOperations) {
    const std::string a = makeFile("a", 3, 'a');
    const std::string b = makeFile("b", 5, 'b');
    EXPECT_EQ(TfileManager::fileSize(a.c_str()), 3);
    EXPECT_EQ(TfileManager::fileSize(Tstring(dir.file("missing"))), -1);
    EXPECT_EQ(TfileManager::fileSize(dir.path().c_str()), -1);

    ASSERT_TRUE(TfileManager::swap(Tstring(a), Tstring(b)));
    EXPECT_EQ(readFile(a), "bbbbb");
    EXPECT_EQ(readFile(b), "aaa");

    ASSERT_TRUE(TfileManager::copy(a.c_str(), b.c_str())); // overwrites
    EXPECT_EQ(readFile(b), "bbbbb");
    ASSERT_TRUE(TfileManager::copy(a.c_str(), a.c_str())); // onto itself: unchanged
    EXPECT_EQ(readFile(a), "bbbbb");
    EXPECT_FALSE(TfileManager::copy(dir.file("missing").c_str(), b.c_str()));

    const std::string c = makeFile("c", 1, 'c');
    ASSERT_TRUE(TfileManager::rename(Tstring(c), Tstring(a))); // replaces
    EXPECT_EQ(readFile(a), "c");
    EXPECT_FALSE(std::filesystem::exists(c));

    EXPECT_TRUE(TfileManager::createNewEmpty(Tstring(c)));
    EXPECT_EQ(TfileManager::fileSize(Tstring(c)), 0);
    EXPECT_FALSE(TfileManager::createNewEmpty(Tstring(c)));
    EXPECT_TRUE(TfileManager::remove(Tstring(c)));
    EXPECT_FALSE(TfileManager::remove(Tstring(c)));

    const std::string deep = dir.file("x/y/z");
    EXPECT_TRUE(TfileManager::mkdir(Tstring(deep)));
    EXPECT_TRUE(TfileManager::mkdir(Tstring(deep))); // exists already
    writeFile(deep + "/f", "f");
    EXPECT_FALSE(TfileManager::mkdir(Tstring(deep + "/f")));
    EXPECT_TRUE(TfileManager::removeAll(Tstring(dir.file("x"))));
    EXPECT_FALSE(std::filesystem::exists(dir.file("x")));
}

TEST_F(UndoFixture, UniqueFileNameCountsFromZero) {
    const std::string scene = dir.file("scene");
    EXPECT_EQ(TfileManager::uniqueFileName(scene.c_str()), Tstring(scene));
    writeFile(scene, "s");
    EXPECT_EQ(TfileManager::uniqueFileName(Tstring(scene)), Tstring(scene + "-0"));
    writeFile(scene + "-0", "s");
    writeFile(scene + "-1", "s");
    EXPECT_EQ(TfileManager::uniqueFileName(Tstring(scene)), Tstring(scene + "-2"));
}
