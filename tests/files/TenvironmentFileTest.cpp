#include "grundel/files/TenvironmentFile.h"

#include "FilesTestSupport.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace {

// A process environment of the test's own, so that nothing depends on the
// real one.
struct FakeEnvironment {
    std::map<std::string, std::string> values;
    static const char* lookup(const char* name, void* context) {
        const auto& v = static_cast<FakeEnvironment*>(context)->values;
        const auto it = v.find(name);
        return it == v.end() ? nullptr : it->second.c_str();
    }
};

std::string valueOf(const TenvironmentFile& file, const char* name) {
    const Tstring* v = file.find(name);
    return v ? v->asC() : "<unset>";
}

} // namespace

TEST(TenvironmentFile, LinesAreNameEqualsValue) {
    FakeEnvironment env;
    TenvironmentFile file;
    const int bad = file.parse("# comment\n"
                               "\n"
                               "  A = one two  \r\n"
                               "B=x=y # not a comment\n"
                               "   # indented comment\n"
                               "_c9=\n"
                               "A = again\n",
                               FakeEnvironment::lookup, &env);
    EXPECT_EQ(bad, 0);
    ASSERT_EQ(file.names().length(), 3u);
    // A name given twice keeps its first place and takes its last value.
    EXPECT_STREQ(file.names()[0].asC(), "A");
    EXPECT_EQ(valueOf(file, "A"), "again");
    EXPECT_EQ(valueOf(file, "B"), "x=y # not a comment");
    EXPECT_EQ(valueOf(file, "_c9"), "");
    EXPECT_EQ(valueOf(file, "C"), "<unset>");
}

TEST(TenvironmentFile, MalformedLinesAreSkippedAndCounted) {
    FakeEnvironment env;
    TenvironmentFile file;
    const std::string text = std::string("GOOD = 1\n"
                                         "no equals sign\n"
                                         "9LEADING_DIGIT = x\n"
                                         "= no name\n"
                                         "BAD-NAME = x\n"
                                         "NUL") +
                             std::string(1, '\0') + "= x\nLAST = 2";
    EXPECT_EQ(file.parse(text, FakeEnvironment::lookup, &env), 5);
    EXPECT_EQ(file.malformedLines(), 5);
    EXPECT_EQ(file.firstMalformedLine(), 2);
    EXPECT_EQ(valueOf(file, "GOOD"), "1");
    EXPECT_EQ(valueOf(file, "LAST"), "2");
    EXPECT_EQ(file.names().length(), 2u);
}

TEST(TenvironmentFile, ExpansionPrefersTheProcessThenEarlierLines) {
    FakeEnvironment env;
    env.values = {{"HOME", "/home/u"}, {"SHARED", "process"}};
    TenvironmentFile file;
    file.parse("SHARED = file\n"
               "MINE = /opt/mine\n"
               "P = $HOME/a:${MINE}/b:$SHARED\n"
               "LATER = $NEXT\n"
               "NEXT = n\n"
               "OPEN = ${HOME:$UNSET_NAME:100%\n",
               FakeEnvironment::lookup, &env);
    EXPECT_EQ(valueOf(file, "P"), "/home/u/a:/opt/mine/b:process");
    // Only lines above count; unset and unterminated references stay.
    EXPECT_EQ(valueOf(file, "LATER"), "$NEXT");
    EXPECT_EQ(valueOf(file, "OPEN"), "/home/u:$UNSET_NAME:100%");
    EXPECT_EQ(file.unexpandedValues(), 0);
}

TEST(TenvironmentFile, ExpansionIsBoundedOverTheWholeFile) {
    // Each line doubles the one above: without a bound this would need
    // 2^200 bytes.
    FakeEnvironment env;
    std::string text = "A0 = xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx\n";
    for (int i = 1; i < 200; ++i)
        text += "A" + std::to_string(i) + " = $A" + std::to_string(i - 1) + "$A" + std::to_string(i - 1) + "\n";
    TenvironmentFile file;
    file.parse(text, FakeEnvironment::lookup, &env);
    EXPECT_GT(file.unexpandedValues(), 0);
    std::size_t total = 0;
    for (const Tstring& v : file.values()) {
        EXPECT_LE(v.length(), Tstring::kExpandLimit);
        total += v.length();
    }
    EXPECT_LE(total, std::size_t(TenvironmentFile::kExpansionBudget) + text.size());
    // A value that could not be expanded is kept whole, as written, not cut.
    int asWritten = 0;
    for (int i = 1; i < 200; ++i) {
        const std::string previous = "$A" + std::to_string(i - 1);
        asWritten += valueOf(file, ("A" + std::to_string(i)).c_str()) == previous + previous;
    }
    EXPECT_EQ(asWritten, file.unexpandedValues());
}

TEST(TenvironmentFile, ExtractSplitsInPlace) {
    char line[] = "  NAME\t=  some value \t";
    char* name = nullptr;
    char* value = nullptr;
    ASSERT_EQ(TenvironmentFile::extractVariableAndValue(line, &name, &value), 1);
    EXPECT_STREQ(name, "NAME");
    EXPECT_STREQ(value, "some value");
    char comment[] = "\t# NAME = value";
    EXPECT_EQ(TenvironmentFile::extractVariableAndValue(comment, &name, &value), 0);
    char spaced[] = "NA ME = value";
    EXPECT_EQ(TenvironmentFile::extractVariableAndValue(spaced, &name, &value), -1);
    EXPECT_EQ(TenvironmentFile::extractVariableAndValue(nullptr, &name, &value), 0);
}

TEST(TenvironmentFile, ReadingFiles) {
    ScratchDirectory dir;
    FakeEnvironment env;
    TenvironmentFile file;
    // A missing file is an empty one.
    EXPECT_TRUE(file.read(dir.file("missing.env").c_str(), FakeEnvironment::lookup, &env));
    EXPECT_EQ(file.names().length(), 0u);

    writeFile(dir.file("ok.env"), "X = 1\n");
    ASSERT_TRUE(file.read(dir.file("ok.env").c_str(), FakeEnvironment::lookup, &env));
    EXPECT_EQ(valueOf(file, "X"), "1");

    // A directory and a file over the size limit are refused, leaving nothing.
    EXPECT_FALSE(file.read(dir.path().c_str(), FakeEnvironment::lookup, &env));
    EXPECT_EQ(file.names().length(), 0u);
    writeFile(dir.file("huge.env"), "Y = 2\n" + std::string(TenvironmentFile::kMaxFileBytes, '#'));
    EXPECT_FALSE(file.read(dir.file("huge.env").c_str(), FakeEnvironment::lookup, &env));
    EXPECT_EQ(file.find("Y"), nullptr);
}
