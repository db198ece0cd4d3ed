#include "run_tool.h"

#include <csignal>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

// What holds for all commands, and the making of keys.

namespace {

using namespace tools_test;
using support::output_of;

TEST(WrongCalls, AreTheCallersFaultAndWriteNoData) {
    const std::pair<const char*, const char*> rows[] = {
        {"", "morvantic: A subcommand is required."},
        {"frobnicate", "There is no command or option frobnicate."},
        {"info --fast x", "not expected: --fast. Try \"morvantic info"},
        {"list x --key y --kind perl", "--kind: perl"},
        {"keygen /no/x /no/y --bits 1024", "--bits: 1024 not in"},
        {"keygen - /no/y", "Keys go to files."},
        {"keygen /no/key /no/key", "cannot go to one file"},
        {"keygen /no/x /no/y --bits 2048", "No such file or directory"},
        {"keygen /no/x /dev/null --bits 2048", "is there already"},
        {"info /no/package", "cannot be read: No such file"},
        {"info /", "/ cannot be read: Is a directory"},
        {"cat - x --key -", "cannot both be standard input"},
        {"--help >/dev/full", "Standard output cannot be written"},
        {"--help >&-", "Standard output cannot be written"},
    };
    for (const auto& [arguments, message] : rows) {
        SCOPED_TRACE(arguments);
        const run_result result = run(arguments);
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err.find(message), std::string::npos) << result.err;
    }
}

TEST(Output, IsHelpOrEndsQuietlyInAClosedPipe) {
    EXPECT_EQ(run("pack --help").out.find("Usage: morvantic pack "), 0u);
    const support::temp_folder folder;
    const std::string pipe = folder.file("pipe");
    output_of("mkfifo " + pipe);
    const run_result result = run("--help 3<>" + pipe + " 4>" + pipe + " 3<&- >&4");
    EXPECT_EQ(result.status, 128 + SIGPIPE);
    EXPECT_EQ(result.err, "");
}

TEST(Keygen, MakesAPairThatOthersCanUse) {
    const support::temp_folder folder;
    const std::string secret = folder.file("private.pem");
    const std::string open = folder.file("public.pem");
    const run_result result = run("keygen " + secret + " " + open + " --bits 2048 --json");
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(output_of("stat -c %a " + secret), "600\n");
    EXPECT_NO_THROW(output_of("openssl rsa -check -noout -in " + secret + " 2>&1"));
    EXPECT_EQ(output_of("openssl rsa -pubout -in " + secret + " 2>/dev/null"),
              support::read_file(open));
    const std::string digest =
        output_of("openssl pkey -pubin -outform DER -in " + open + " | openssl dgst -sha256 -c");
    const std::string fingerprint = nlohmann::json::parse(result.out)["fingerprint_sha256"];
    EXPECT_NE(digest.find("= " + fingerprint + '\n'), std::string::npos) << digest;
}

} // namespace
