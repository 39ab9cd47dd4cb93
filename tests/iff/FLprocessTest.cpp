// Running programs: statuses, missing programs, pipes both ways, and a
// filter whose input and output are both larger than a pipe holds.
#include "grundel/iff/FLprocess.h"

#include "grundel/iff/FLerror.h"
#include "grundel/iff/FLmemory.h"

#include <gtest/gtest.h>

#include <cctype>
#include <csignal>
#include <cstdio>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

struct Filtered {
    int status;
    std::string output;
};

Filtered filter(std::initializer_list<const char*> args, const std::string& input) {
    std::vector<const char*> argv(args);
    argv.push_back(nullptr);
    char* output = nullptr;
    size_t length = 0;
    const int status = FLfilter(argv.data(), input.data(), input.size(), &output, &length);
    Filtered result{status, output ? std::string(output, length) : std::string()};
    if (output) {
        EXPECT_EQ(output[length], '\0');
    }
    FLfree(output);
    return result;
}

} // namespace

TEST(FLprocess, ReportsExitCodesSignalsAndMissingPrograms) {
    EXPECT_EQ(FLsystem("exit 0"), 0);
    EXPECT_EQ(FLsystem("exit 3"), 3);
    EXPECT_EQ(FLsystem("kill -TERM $$"), 128 + SIGTERM);
    FLseterror(0);
    EXPECT_EQ(FLsystem(nullptr), -1);
    EXPECT_EQ(FLerror(), kFLbadCall);

    const char* const exitFive[] = {"sh", "-c", "exit 5", nullptr};
    EXPECT_EQ(FLexec(exitFive), 5);
    const char* const quoted[] = {"sh", "-c", "test \"$1\" = 'a b;c'", "sh", "a b;c", nullptr};
    EXPECT_EQ(FLexec(quoted), 0) << "arguments reach the program untouched by a shell";
    const char* const missing[] = {"grundel-no-such-program", nullptr};
    FLseterror(0);
    EXPECT_EQ(FLexec(missing), -1);
    EXPECT_EQ(FLerror(), kFLnoFilter);
    const char* const empty[] = {nullptr};
    EXPECT_EQ(FLexec(empty), -1);
    EXPECT_EQ(FLerror(), kFLbadCall);
    EXPECT_EQ(FLexec(nullptr), -1);

    const char* const sevens[] = {"sh", "-c", "exit 7", nullptr};
    const int pid = FLspawn(sevens);
    ASSERT_GT(pid, 0);
    EXPECT_EQ(FLwait(pid), 7);
    EXPECT_EQ(FLwait(pid), -1) << "a child is collected once";
    EXPECT_EQ(FLerror(), kFLio);
}

TEST(FLprocess, PipesReadAndWrite) {
    std::FILE* in = FLpopen("printf 'hello\\n'; exit 4", "r");
    ASSERT_NE(in, nullptr);
    char line[32] = {};
    ASSERT_NE(std::fgets(line, sizeof line, in), nullptr);
    EXPECT_STREQ(line, "hello\n");
    EXPECT_EQ(FLpclose(in), 4);

    char pattern[] = "/tmp/grundel_popen_XXXXXX";
    const int fd = ::mkstemp(pattern);
    ASSERT_GE(fd, 0);
    ::close(fd);
    const std::string command = std::string("cat > ") + pattern;
    std::FILE* out = FLpopen(command.c_str(), "w");
    ASSERT_NE(out, nullptr);
    std::fputs("written through", out);
    EXPECT_EQ(FLpclose(out), 0);
    std::FILE* back = std::fopen(pattern, "r");
    ASSERT_NE(back, nullptr);
    ASSERT_NE(std::fgets(line, sizeof line, back), nullptr);
    EXPECT_STREQ(line, "written through");
    std::fclose(back);
    std::remove(pattern);

    FLseterror(0);
    EXPECT_EQ(FLpopen("true", "rw"), nullptr);
    EXPECT_EQ(FLerror(), kFLbadMode);
    EXPECT_EQ(FLpopen("true", nullptr), nullptr);
    EXPECT_EQ(FLpopen(nullptr, "r"), nullptr);
    EXPECT_EQ(FLerror(), kFLbadCall);
    std::FILE* foreign = std::tmpfile();
    EXPECT_EQ(FLpclose(foreign), -1) << "a stream FLpopen did not give";
    EXPECT_EQ(FLerror(), kFLbadCall);
    std::fclose(foreign);
}

TEST(FLprocess, FiltersMoreThanAPipeHoldsEitherWay) {
    std::string input;
    for (int i = 0; input.size() < (3u << 20); ++i)
        input += "line " + std::to_string(i) + " of text\n";
    std::string upper = input;
    for (char& c : upper)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    const Filtered converted = filter({"tr", "a-z", "A-Z"}, input);
    EXPECT_EQ(converted.status, 0);
    EXPECT_TRUE(converted.output == upper) << converted.output.size() << " bytes back";

    // A program that reads little or nothing must not stop the caller (no
    // SIGPIPE, no hang).
    const Filtered head = filter({"head", "-c", "10"}, input);
    EXPECT_EQ(head.status, 0);
    EXPECT_EQ(head.output, input.substr(0, 10));
    const Filtered ignoring = filter({"sh", "-c", "exit 2"}, input);
    EXPECT_EQ(ignoring.status, 2);
    EXPECT_EQ(ignoring.output, "");

    const Filtered nothing = filter({"cat"}, "");
    EXPECT_EQ(nothing.status, 0);
    EXPECT_EQ(nothing.output, "");
    const Filtered missing = filter({"grundel-no-such-filter"}, "x");
    EXPECT_EQ(missing.status, -1);
    EXPECT_EQ(FLerror(), kFLnoFilter);
}
