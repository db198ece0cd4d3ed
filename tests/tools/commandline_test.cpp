#include "run_tool.h"

#include "support/rows.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

// What holds for all commands, and the making of keys.

namespace {

using namespace tools_test;
using support::temp_folder;

struct wrong_call {
    const char* name;
    const char* arguments;
    const char* message; // a part of it
};

class WrongCall : public testing::TestWithParam<wrong_call> {};

TEST_P(WrongCall, IsTheCallersFaultAndWritesNoData) {
    const run_result result = run(words(GetParam().arguments));
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find(GetParam().message), std::string::npos) << result.err;
}

const wrong_call wrong_calls[] = {
    {"Nothing", "", "morvantic: A subcommand is required."},
    {"UnknownCommand", "frobnicate", "There is no command or option frobnicate."},
    {"UnknownOption", "info --fast x", "not expected: --fast. Try \"morvantic info"},
    {"UnknownKind", "list x --key y --kind perl", "--kind: perl"},
    {"KeyLength", "keygen /no/x /no/y --bits 1024", "--bits: 1024 not in"},
    {"KeyToStandardOutput", "keygen - /no/y", "Keys go to files."},
    {"OneFileForBothKeys", "keygen /no/key /no/key", "cannot go to one file"},
    {"KeyFolderMissing", "keygen /no/x /no/y --bits 2048", "No such file or directory"},
    {"KeyIsThere", "keygen /no/x /dev/null --bits 2048", "is there already"},
    {"PackageMissing", "info /no/package", "cannot be read: No such file"},
    {"PackageIsFolder", "info /", "/ cannot be read: Is a directory"},
    {"OneInputForTwo", "cat - x --key -", "cannot both be standard input"},
};

INSTANTIATE_TEST_SUITE_P(Calls, WrongCall, testing::ValuesIn(wrong_calls), support::row_name);

TEST(Output, ThatCannotBeWrittenIsAnError) {
    EXPECT_EQ(run({"pack", "--help"}).out.find("Usage: morvantic pack "), 0u);
    for (const char* place : {"/dev/full", "-"}) {
        const run_result result = run({"--help"}, {.out = place});
        EXPECT_EQ(result.status, 2) << place;
        EXPECT_NE(result.err.find("Standard output cannot be written"), std::string::npos);
    }
    std::array<int, 2> pipe_ends{};
    ASSERT_EQ(pipe(pipe_ends.data()), 0);
    close(pipe_ends[0]);
    EXPECT_EQ(wait_for(start({"--help"}, {}, pipe_ends[1], STDERR_FILENO)), 128 + SIGPIPE)
        << "a closed pipe ends it quietly";
    close(pipe_ends[1]);
}

TEST(Keygen, MakesAPairThatOthersCanUse) {
    const temp_folder folder;
    const std::string secret = folder.file("private.pem");
    const std::string open = folder.file("public.pem");
    const run_result result = run({"keygen", secret, open, "--bits", "2048", "--json"});
    ASSERT_EQ(result.status, 0) << result.err;

    struct stat status;
    ASSERT_EQ(stat(secret.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    EXPECT_NO_THROW(support::output_of("openssl rsa -check -noout -in " + secret + " 2>&1"));
    EXPECT_EQ(support::output_of("openssl rsa -pubout -in " + secret + " 2>/dev/null"),
              support::read_file(open));

    const std::string digest = support::output_of("openssl pkey -pubin -outform DER -in " + open +
                                                  " | openssl dgst -sha256 -c");
    const std::string fingerprint = nlohmann::json::parse(result.out)["fingerprint_sha256"];
    EXPECT_NE(digest.find("= " + fingerprint + '\n'), std::string::npos) << digest;
}

} // namespace
