// The grundel-iff tool on files it writes and on AIFF files that other
// programs write (sox, Python's aifc module), made at run time.
#include "FLtestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/wait.h>
#include <utility>
#include <vector>

using namespace fltest;

namespace {

struct ToolRun {
    int status = -1;
    std::string output;
};

ToolRun run(const std::string& arguments) {
    ToolRun result;
    const std::string command = std::string(GRUNDEL_IFF_TOOL) + " " + arguments + " 2>&1";
    std::FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe)
        return result;
    char line[1024];
    while (std::fgets(line, sizeof line, pipe))
        result.output += line;
    const int status = ::pclose(pipe);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

bool available(const std::string& command) { return std::system((command + " >/dev/null 2>&1").c_str()) == 0; }

// The top-level chunks of an AIFF file as the file declares them, read
// without the library: (identifier, size) of the "FORM" and of each chunk in it.
std::vector<std::pair<std::string, TuInt32>> declared(const Bytes& bytes) {
    std::vector<std::pair<std::string, TuInt32>> out;
    auto word = [&bytes](std::size_t at) {
        return TuInt32(bytes[at]) << 24 | TuInt32(bytes[at + 1]) << 16 | TuInt32(bytes[at + 2]) << 8 | bytes[at + 3];
    };
    if (bytes.size() < 12)
        return out;
    out.emplace_back(std::string(bytes.begin(), bytes.begin() + 4), word(4));
    for (std::size_t at = 12; at + 8 <= bytes.size();) {
        const TuInt32 size = word(at + 4);
        out.emplace_back(std::string(bytes.begin() + long(at), bytes.begin() + long(at) + 4), size);
        at += 8 + size + (size & 1);
    }
    return out;
}

// The tree lines must name every declared chunk with its declared size.
void expectTreeMatches(const std::string& path) {
    Bytes bytes;
    if (std::FILE* f = std::fopen(path.c_str(), "rb")) {
        int c;
        while ((c = std::fgetc(f)) != EOF)
            bytes.push_back(static_cast<unsigned char>(c));
        std::fclose(f);
    }
    const ToolRun tree = run("tree " + path);
    ASSERT_EQ(tree.status, 0) << tree.output;
    EXPECT_NE(tree.output.find("FORM 'AIFF'"), std::string::npos) << tree.output;
    const auto chunks = declared(bytes);
    ASSERT_GE(chunks.size(), 3u);
    for (const auto& chunk : chunks) {
        // "size  id", the chunks inside the form indented by two spaces.
        EXPECT_NE(tree.output.find(std::to_string(chunk.second) + "  " + (chunk.first == "FORM" ? "" : "  ") +
                                   chunk.first),
                  std::string::npos)
            << chunk.first << " " << chunk.second << "\n"
            << tree.output;
    }
    EXPECT_NE(tree.output.find("COMM"), std::string::npos);
    EXPECT_NE(tree.output.find("SSND"), std::string::npos);
    const ToolRun check = run("check " + path);
    EXPECT_EQ(check.status, 0) << check.output;
    // A copy cut anywhere fails the check with the library's message.
    TempFile cut;
    for (std::size_t length : {bytes.size() - 1, bytes.size() / 2, std::size_t(10)}) {
        cut.setBytes(Bytes(bytes.begin(), bytes.begin() + long(length)));
        const ToolRun failed = run("check " + cut.path());
        EXPECT_EQ(failed.status, 1) << "cut at " << length;
        EXPECT_NE(failed.output.find("file incomplete"), std::string::npos) << failed.output;
    }
}

} // namespace

TEST(GrundelIff, DemoWritesAFileThatChecks) {
    TempFile file;
    const ToolRun demo = run("demo " + file.path());
    ASSERT_EQ(demo.status, 0) << demo.output;
    for (const char* expected : {"FOR4 'DEMO'", "  FORM 'SHRT'", "      ODD   pad 1", "  FOR8 'WIDE'  pad 4",
                                 "    PRO4 'PROP'", "  CAT4 'MORE'"})
        EXPECT_NE(demo.output.find(expected), std::string::npos) << expected << "\n" << demo.output;
    const ToolRun check = run("check " + file.path());
    EXPECT_EQ(check.status, 0);
    EXPECT_NE(check.output.find("ok: 8 groups, 7 data chunks"), std::string::npos) << check.output;
}

TEST(GrundelIff, AiffWrittenBySox) {
    if (!available("sox --version"))
        GTEST_SKIP() << "sox not installed";
    TempFile sixteen(".aiff");
    ASSERT_EQ(std::system(("sox -n -r 8000 -c 1 -b 16 " + sixteen.path() + " synth 0.01 sine 440 2>/dev/null").c_str()),
              0);
    expectTreeMatches(sixteen.path());
    // 8-bit samples of an odd count: the last chunk's pad byte falls outside
    // the size of the "FORM".
    TempFile odd(".aiff");
    ASSERT_EQ(std::system(("sox -n -r 8001 -c 1 -b 8 " + odd.path() + " synth 0.01 sine 440 2>/dev/null").c_str()), 0);
    expectTreeMatches(odd.path());
}

TEST(GrundelIff, AiffWrittenByPython) {
    TempFile file(".aiff");
    const std::string script = "import aifc\n"
                               "w = aifc.open('" + file.path() + "', 'wb')\n"
                               "w.setnchannels(2); w.setsampwidth(2); w.setframerate(11025)\n"
                               "w.writeframes(bytes(range(200)))\n"
                               "w.close()\n";
    if (!available("python3 -W ignore -c 'import aifc'"))
        GTEST_SKIP() << "python3 or its aifc module is not available";
    ASSERT_EQ(std::system(("python3 -W ignore -c \"" + script + "\"").c_str()), 0);
    expectTreeMatches(file.path());
}

TEST(GrundelIff, BadFilesGiveAMessageAndFail) {
    TempFile empty;
    empty.setBytes({});
    ToolRun result = run("check " + empty.path());
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.output.find("empty"), std::string::npos);
    TempFile text;
    text.setBytes(fltest::text("just some text, not chunks\n"));
    result = run("tree " + text.path());
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.output.find("(12) bad root block"), std::string::npos) << result.output;
    result = run("check /tmp");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.output.find("(11) not a file"), std::string::npos) << result.output;
    result = run("check /no/such/file.iff");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.output.find("(40)"), std::string::npos) << result.output;
}

TEST(GrundelIff, HelpAndUsage) {
    for (const char* command : {"tree", "check", "demo", "dump", "totext", "fromtext"}) {
        const ToolRun help = run(std::string(command) + " --help");
        EXPECT_EQ(help.status, 0);
        EXPECT_NE(help.output.find(std::string("usage: grundel-iff ") + command), std::string::npos);
    }
    EXPECT_EQ(run("").status, 2);
    EXPECT_EQ(run("frobnicate x").status, 2);
    EXPECT_EQ(run("tree").status, 2);
    EXPECT_EQ(run("fromtext only-one").status, 2);
    EXPECT_EQ(run("totext a b").status, 2);
}

TEST(GrundelIff, HostileNestingAndChains) {
    TempFile file;
    // Nesting to the library's bound walks; one level more is refused.
    file.setBytes(nestedForms(int(kFLmaxDepth)));
    for (const char* command : {"check ", "tree "}) {
        const ToolRun ok = run(command + file.path());
        EXPECT_EQ(ok.status, 0) << command << ok.output.substr(0, 400);
    }
    file.setBytes(nestedForms(int(kFLmaxDepth) + 1));
    const ToolRun deep = run("check " + file.path());
    EXPECT_EQ(deep.status, 1);
    EXPECT_NE(deep.output.find("(6) corrupted file structure"), std::string::npos) << deep.output;
    // Forty levels of unknown-size groups: each read once (the tree has one
    // line per group), where re-reading would take days.
    file.setBytes(unknownSizeChain(40));
    const ToolRun chain = run("tree " + file.path());
    EXPECT_EQ(chain.status, 0) << chain.output;
    EXPECT_EQ(std::count(chain.output.begin(), chain.output.end(), '\n'), 1 + 80);
}

TEST(GrundelIff, NamesTypedOnTheCommandLineMayRunCommands) {
    TempFile file;
    file.setBytes(writeToMemory(group("FORM", "TEST", {chunk("DATA", text("xyz"))})));
    const ToolRun piped = run("check '|cat " + file.path() + "'");
    EXPECT_EQ(piped.status, 0) << piped.output;
}

TEST(GrundelIff, DashAndStandardStreams) {
    TempFile file;
    TempFile messages(".txt");
    for (const char* name : {"-", "stdout"}) {
        // Only the file's bytes on standard output; the message on standard error.
        const std::string command = std::string(GRUNDEL_IFF_TOOL) + " demo " + name + " > " + file.path() + " 2> " +
                                    messages.path();
        ASSERT_EQ(std::system(command.c_str()), 0) << name;
        const Bytes bytes = file.bytes();
        ASSERT_GE(bytes.size(), 12u) << name;
        EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 4), "FOR4") << name;
        const Bytes told = messages.bytes();
        EXPECT_NE(std::string(told.begin(), told.end()).find("wrote the sample to standard output"),
                  std::string::npos);
        const ToolRun check = run("check " + file.path());
        EXPECT_EQ(check.status, 0) << check.output;
        EXPECT_NE(check.output.find("ok: 8 groups, 7 data chunks"), std::string::npos) << check.output;
    }
    // Through a pipe the sizes stay unknown, and "-" reads them back.
    const ToolRun piped = run("demo - 2>/dev/null | " GRUNDEL_IFF_TOOL " tree -");
    EXPECT_EQ(piped.status, 0) << piped.output;
    EXPECT_NE(piped.output.find("FOR4 'DEMO'"), std::string::npos) << piped.output;
    EXPECT_NE(piped.output.find("unknown"), std::string::npos) << piped.output;
    const ToolRun fromFile = run("check - < " + file.path());
    EXPECT_EQ(fromFile.status, 0) << fromFile.output;
}

TEST(GrundelIff, FileIncompleteSaysWhere) {
    TempFile file;
    const Bytes whole = writeToMemory(group("FORM", "TEST", {chunk("FRST", text("12")), chunk("DATA", text("12345"))}));
    // Cut inside the data of "DATA", whose header stands at 12 + 10 = 22.
    file.setBytes(Bytes(whole.begin(), whole.end() - 3));
    ToolRun cut = run("check " + file.path());
    EXPECT_EQ(cut.status, 1);
    EXPECT_NE(cut.output.find("(8) file incomplete: chunk \"DATA\" at offset 22 runs past the end"), std::string::npos)
        << cut.output;
    // Cut inside that header.
    file.setBytes(Bytes(whole.begin(), whole.begin() + 25));
    cut = run("tree " + file.path());
    EXPECT_EQ(cut.status, 1);
    EXPECT_NE(cut.output.find("(8) file incomplete: the header at offset 22 runs past the end"), std::string::npos)
        << cut.output;
}

namespace {

// totext of path, then fromtext of that text: the text, after checking the
// file came back byte for byte.
std::string textRoundTrip(const std::string& path) {
    TempFile text(".txt"), again;
    const ToolRun toText = run("totext " + path + " > " + text.path());
    EXPECT_EQ(toText.status, 0) << toText.output;
    const ToolRun fromText = run("fromtext " + text.path() + " " + again.path());
    EXPECT_EQ(fromText.status, 0) << fromText.output;
    Bytes original;
    if (std::FILE* f = std::fopen(path.c_str(), "rb")) {
        for (int c; (c = std::fgetc(f)) != EOF;)
            original.push_back(static_cast<unsigned char>(c));
        std::fclose(f);
    }
    EXPECT_FALSE(original.empty());
    EXPECT_TRUE(again.bytes() == original) << path;
    const Bytes shown = text.bytes();
    return std::string(shown.begin(), shown.end());
}

} // namespace

TEST(GrundelIff, TextRoundTripsOfFilesOthersWrote) {
    if (!available("sox --version"))
        GTEST_SKIP() << "sox not installed";
    for (const char* format : {"-r 8000 -c 2 -b 16", "-r 8001 -c 1 -b 8"}) {
        TempFile aiff(".aiff");
        ASSERT_EQ(std::system(("sox -n " + std::string(format) + " " + aiff.path() + " synth 0.01 sine 440 2>/dev/null")
                                  .c_str()),
                  0);
        const std::string text = textRoundTrip(aiff.path());
        EXPECT_NE(text.find("form FORM AIFF {\n"), std::string::npos) << text;
        EXPECT_NE(text.find("  COMM bytes 18 "), std::string::npos) << text;
        EXPECT_NE(text.find("  SSND bytes "), std::string::npos) << text;
    }
}

TEST(GrundelIff, TextRoundTripsThroughStandardStreams) {
    // The demo file as written to a file, and as written to a pipe (unknown
    // sizes, end markers), each through "-" on both sides.
    TempFile written, piped, again, messages(".txt");
    ASSERT_EQ(run("demo " + written.path()).status, 0);
    EXPECT_NE(textRoundTrip(written.path()).find("  list LIS4 LIST {\n    prop PRO4 PROP {"), std::string::npos);
    ASSERT_EQ(std::system((std::string(GRUNDEL_IFF_TOOL) + " demo - 2>/dev/null | cat > " + piped.path()).c_str()), 0);
    const std::string command = std::string(GRUNDEL_IFF_TOOL) + " totext - < " + piped.path() + " | " +
                                GRUNDEL_IFF_TOOL + " fromtext - - > " + again.path() + " 2> " + messages.path();
    ASSERT_EQ(std::system(command.c_str()), 0);
    EXPECT_TRUE(again.bytes() == piped.bytes());
    EXPECT_TRUE(messages.bytes().empty());
    EXPECT_NE(textRoundTrip(piped.path()).find("size=0x80000002 {"), std::string::npos);
}

TEST(GrundelIff, DumpDecodesThroughTheRegistry) {
    TempFile text(".txt"), file;
    text.setBytes(fltest::text("grundel-iff text 1\n"
                               "form FOR4 VALS {\n"
                               "  DBLE 0.1\n"
                               "  DBLE time 6000\n"
                               "  DBLE bytes 3 010203\n"
                               "  XYZW bytes 4 \"abc\\0\"\n"
                               "}\n"));
    const ToolRun made = run("fromtext " + text.path() + " " + file.path());
    ASSERT_EQ(made.status, 0) << made.output;
    const ToolRun dump = run("dump " + file.path());
    EXPECT_EQ(dump.status, 0);
    for (const char* line : {"FOR4 'VALS'", "    DBLE  Tdata 0.10000000000000001\n", "    DBLE  time 6000 ticks\n",
                             "    DBLE  bytes 010203  (Tdata refuses them)\n", "    XYZW  bytes \"abc\\0\"\n"})
        EXPECT_NE(dump.output.find(line), std::string::npos) << line << "\n" << dump.output;
}

TEST(GrundelIff, BadTextIsReportedAndNothingIsWritten) {
    TempFile text(".txt"), out;
    std::remove(out.path().c_str());
    text.setBytes(fltest::text("grundel-iff text 1\nform FOR4 VALS {\n  DBLE 1.5 2\n"));
    ToolRun result = run("fromtext " + text.path() + " " + out.path());
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.output.find(": line 3: chunk DBLE: 1 argument(s) left over after the value"), std::string::npos)
        << result.output;
    EXPECT_NE(::access(out.path().c_str(), F_OK), 0);
    // Text that makes a file the library refuses: a data chunk at the root.
    text.setBytes(fltest::text("grundel-iff text 1\nDATA bytes 1 00\n"));
    result = run("fromtext " + text.path() + " " + out.path());
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.output.find("the chunk library would refuse this file: (12) bad root block"), std::string::npos)
        << result.output;
    // totext refuses what check refuses, with the same message.
    text.setBytes(fltest::text("not chunks at all"));
    result = run("totext " + text.path());
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.output.find("(12) bad root block"), std::string::npos) << result.output;
}
