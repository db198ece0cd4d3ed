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
    std::vector<std::string> arguments;
    const char* message; // a part of it
};

class WrongCall : public testing::TestWithParam<wrong_call> {};

TEST_P(WrongCall, IsTheCallersFaultAndWritesNoData) {
    const run_result result = run(GetParam().arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find(GetParam().message), std::string::npos) << result.err;
}

const std::string nowhere = "/nowhere/at/all";

INSTANTIATE_TEST_SUITE_P(
    Calls, WrongCall,
    testing::Values(
        wrong_call{"Nothing", {}, "morvantic: A subcommand is required."},
        wrong_call{"UnknownCommand", {"frobnicate"}, "There is no command or option frobnicate."},
        wrong_call{
            "UnknownOption", {"info", "--fast", "x"}, "not expected: --fast. Try \"morvantic info"},
        wrong_call{"NoKey", {"verify", "x"}, "--key is required"},
        wrong_call{"TooManyArguments", {"info", "x", "y"}, "not expected: y"},
        wrong_call{"UnknownKind", {"list", "x", "--key", "y", "--kind", "perl"}, "--kind: perl"},
        wrong_call{"KeyLength", {"keygen", "x", "y", "--bits", "1024"}, "--bits: 1024 not in"},
        wrong_call{"KeyToStandardOutput", {"keygen", "-", "y"}, "Keys go to files."},
        wrong_call{"OneFileForBothKeys", {"keygen", nowhere, nowhere}, "cannot go to one file"},
        wrong_call{"KeyFolderMissing",
                   {"keygen", nowhere, "y", "--bits", "2048"},
                   "No such file or directory"},
        wrong_call{"PackageMissing", {"info", nowhere}, "cannot be read: No such file"},
        wrong_call{"PackageIsFolder", {"info", "/"}, "/ cannot be read: Is a directory"},
        wrong_call{"KeyMissing", {"verify", "/dev/null", "--key", nowhere}, "cannot be read"},
        wrong_call{
            "OneInputForTwo", {"cat", "-", "x", "--key", "-"}, "cannot both be standard input"}),
    support::row_name);

TEST(Help, EachCommandShowsUsageAndAnExample) {
    for (const char* command : {"keygen", "pack", "info", "verify", "list", "cat"}) {
        const run_result result = run({command, "--help"});
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(result.out.find("Usage: morvantic " + std::string(command) + " "), 0u);
        EXPECT_NE(result.out.find("\n  morvantic " + std::string(command) + " "),
                  std::string::npos);
    }
    EXPECT_EQ(run({"--version"}).out.find("morvantic "), 0u);
}

TEST(Output, ThatCannotBeWrittenIsAnError) {
    for (const char* place : {"/dev/full", "-"}) {
        const run_result result = run({"--help"}, {.out = place});
        EXPECT_EQ(result.status, 2) << place;
        EXPECT_NE(result.err.find("Standard output cannot be written"), std::string::npos);
    }
}

TEST(Output, IntoAClosedPipeEndsQuietly) {
    const temp_folder folder;
    std::array<int, 2> pipe_ends{};
    ASSERT_EQ(pipe(pipe_ends.data()), 0);
    close(pipe_ends[0]);
    const int err = creat(folder.file("err").c_str(), 0600);
    EXPECT_EQ(wait_for(start({"--help"}, {}, pipe_ends[1], err)), 128 + SIGPIPE);
    close(pipe_ends[1]);
    close(err);
    EXPECT_EQ(support::read_file(folder.file("err")), "");
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

TEST(Keygen, NeverWritesOverAFile) {
    const temp_folder folder;
    const std::string old = folder.write("old.pem", "precious");
    for (const auto& [secret, open] :
         {std::pair{old, folder.file("new.pem")}, std::pair{folder.file("new.pem"), old}}) {
        EXPECT_EQ(run({"keygen", secret, open, "--bits", "2048"}).status, 2);
        EXPECT_EQ(support::read_file(old), "precious");
        EXPECT_NE(access(folder.file("new.pem").c_str(), F_OK), 0);
    }
}

} // namespace
