// Files written by the library, read by an independent reader: a walk with
// Python's struct module, tests/iff/check_chunks.py.
#include "FLtestSupport.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <sys/wait.h>

using namespace fltest;

namespace {

void describe(const Node& node, int depth, std::string& out) {
    out += std::to_string(depth) + " " + idText(node.id) + " ";
    if (node.isGroup()) {
        out += idText(node.type) + "\n";
        for (const Node& child : node.children)
            describe(child, depth + 1, out);
        return;
    }
    static const char kHex[] = "0123456789abcdef";
    for (unsigned char b : node.data) {
        out += kHex[b >> 4];
        out += kHex[b & 15];
    }
    out += "\n";
}

} // namespace

TEST(FLindependentReader, StructWalkReadsWhatWeWrite) {
    std::vector<Node> children;
    for (int n = 0; n < 9; ++n)
        children.push_back(chunk("DATA", Bytes(static_cast<std::size_t>(n), static_cast<unsigned char>(n + 1))));
    const Node tree = group("FOR4", "ROOT",
                            {group("FORM", "TWO ", children), group("FOR8", "EGHT", children), children[5],
                             group("LIST", "LIST", {group("PROP", "PRPS", {children[3]})}),
                             group("CAT4", "CATS", {group("FOR4", "INNR", children)})});
    TempFile file;
    _FLfile* out = FLopen(file.path().c_str(), "w");
    ASSERT_EQ(write(out, tree), 0);
    ASSERT_EQ(FLclose(out), 0);

    const std::string command = "python3 " GRUNDEL_IFF_TEST_DIR "/check_chunks.py " + file.path() + " 2>/dev/null";
    std::FILE* pipe = ::popen(command.c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::string seen;
    char line[4096];
    while (std::fgets(line, sizeof line, pipe))
        seen += line;
    const int status = ::pclose(pipe);
    if (WIFEXITED(status) && WEXITSTATUS(status) == 127)
        GTEST_SKIP() << "python3 not installed";
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << seen;
    std::string expected;
    describe(tree, 0, expected);
    EXPECT_EQ(seen, expected);
}
