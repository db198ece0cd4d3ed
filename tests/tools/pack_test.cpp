#include "run_tool.h"

#include "support/rows.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace tools_test;
using support::read_file;
using support::temp_folder;

/// A folder to be packed beside the place for the package.
class Pack : public testing::Test {
protected:
    Pack() {
        folder.write("apps/android/mail.sc", "::App::Script::{}\n");
        folder.write("apps/mail.py", std::string(5000, 'p'));
        folder.write("apps/mail.xq", "collection()");
        folder.write("apps/config/mail.xml", "<mail/>");
        folder.write("apps/Resources/empty", "");
        folder.write("apps/Resources/notiz\xC3\xBC.txt", std::string("\0\xFF raw", 6));
    }

    run_result pack(std::vector<std::string> more = {}, const redirection& where = {}) {
        std::vector<std::string> arguments = {"pack", source, output, "--key", private_key()};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return run(arguments, where);
    }

    std::string extract(std::size_t offset, std::size_t size, const std::string& name) {
        return folder.write(name, read_file(output).substr(offset, size));
    }

    /// Names of what stands beside the folder, so that nothing left over goes unseen.
    std::string leftovers() const {
        std::string names;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
            if (entry.path() != source) names += entry.path().filename().string() + ' ';
        }
        return names;
    }

    temp_folder folder;
    std::string source = folder.file("apps");
    std::string output = folder.file("apps.pkg");
};

TEST_F(Pack, ServesTheVeryBytesThatWerePacked) {
    ASSERT_EQ(pack().status, 0);
    for (const char* name : {"android/mail.sc", "mail.py", "mail.xq", "config/mail.xml",
                             "Resources/empty", "Resources/notiz\xC3\xBC.txt"}) {
        const run_result result = run({"cat", output, name, "--key", public_key()});
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.out, read_file(source + '/' + name)) << name;
    }
    EXPECT_EQ(leftovers(), "apps.pkg ");
}

TEST_F(Pack, SameInputGivesSameBytes) {
    ASSERT_EQ(pack({"--stamp", "2026-03-09-01"}).status, 0);
    const std::string first = read_file(output);

    // The same files made in another order and at another time.
    const std::string other = folder.file("other");
    for (const char* name : {"Resources/notiz\xC3\xBC.txt", "mail.xq", "mail.py", "config/mail.xml",
                             "android/mail.sc", "Resources/empty"}) {
        const std::string copy =
            folder.write("other/" + std::string(name), read_file(source + '/' + name));
        const timespec past[2] = {{1000000000, 0}, {1000000000, 0}};
        utimensat(AT_FDCWD, copy.c_str(), past, 0);
    }
    source = other;
    ASSERT_EQ(pack({"--stamp", "2026-03-09-01", "--force"}).status, 0);
    EXPECT_EQ(read_file(output), first);
}

TEST_F(Pack, StampComesFromTheEnvironmentOrTheClock) {
    const auto stamp = [](const run_result& result) {
        return nlohmann::json::parse(result.out)["stamp"].get<std::string>();
    };
    EXPECT_EQ(stamp(pack({"--json"}, {.environment = "SOURCE_DATE_EPOCH=1700000000"})),
              "2023-11-14-01");
    const std::string before = support::output_of("date -u +%F-01");
    const std::string today = stamp(pack({"--json", "--force"}));
    const std::string after = support::output_of("date -u +%F-01");
    EXPECT_TRUE(today + '\n' == before || today + '\n' == after) << today;
}

TEST_F(Pack, SignatureAndHeaderHoldForOthers) {
    ASSERT_EQ(pack({"--stamp", "2026-03-09-42", "--kind", "LATTICEDB", "--version-parts",
                    "258.3.4.5", "--aux", "6", "--trailer", "build 7"})
                  .status,
              0);
    const std::size_t signature_size = 160; // of a test key
    const std::string tail = std::string("\xA0\0\0\0", 4);
    const std::string head = read_file(output).substr(0, 48);
    EXPECT_EQ(
        head,
        std::string("LATTICEDB\0\1\0\0\0002026-03-09-42\0\2\1\3\4\5\0\0\0\6\0\0\0\0\4\0\0", 44) +
            tail);
    EXPECT_EQ(read_file(output).substr(48 + signature_size, 9), std::string("build 7\0\0", 9));

    const std::string signature = extract(48, signature_size, "signature");
    const std::string covered =
        folder.write("covered", read_file(output).substr(1024) + "2026-03-09-42");
    EXPECT_EQ(support::output_of("openssl dgst -sha512 -verify " + public_key() + " -signature " +
                                 signature + ' ' + covered),
              "Verified OK\n");
}

TEST_F(Pack, ArchiveHoldsForOthers) {
    if (!has_command("python3")) GTEST_SKIP() << "python3 is not there";
    ASSERT_EQ(pack({"--stamp", "2026-03-09-01"}).status, 0);
    const std::string archive = extract(1024, std::string::npos, "apps.zip");
    const std::string script = folder.write("read.py", R"(import sys, zipfile
archive = zipfile.ZipFile(sys.argv[1])
assert archive.testzip() is None
for i in archive.infolist():
    assert open(sys.argv[2] + '/' + i.filename, 'rb').read() == archive.read(i)
    print(ascii(i.filename), i.compress_type, i.flag_bits & ~6, i.date_time[:3], len(i.extra), i.create_system)
)");
    EXPECT_EQ(support::output_of("python3 " + script + ' ' + archive + ' ' + source),
              "'Resources/empty' 0 0 (2026, 3, 9) 0 0\n"
              "'Resources/notiz\\xfc.txt' 0 2048 (2026, 3, 9) 0 0\n"
              "'android/mail.sc' 0 0 (2026, 3, 9) 0 0\n"
              "'config/mail.xml' 0 0 (2026, 3, 9) 0 0\n"
              "'mail.py' 8 0 (2026, 3, 9) 0 0\n"
              "'mail.xq' 0 0 (2026, 3, 9) 0 0\n");
}

TEST_F(Pack, WarnsOfWhatIsLeftOutOrOutOfReach) {
    folder.write("apps/.git/config", "");
    folder.write("apps/README", "");
    folder.write("apps/Mail.py", "");
    const run_result result = pack();
    EXPECT_EQ(result.status, 0);
    for (const char* words :
         {"left out: .git.", "ask for these files: README.", "Mail.py and mail.py."}) {
        EXPECT_NE(result.err.find(words), std::string::npos) << result.err;
    }
    EXPECT_EQ(pack({"--force", "--all"}).err.find("left out"), std::string::npos);
}

TEST_F(Pack, ReplacesOnlyWithForceAndNeverPacksItsOutput) {
    output = folder.write("apps/old.pkg", "old");
    EXPECT_EQ(pack().status, 2);
    EXPECT_EQ(read_file(output), "old");
    ASSERT_EQ(pack({"--force"}).status, 0);
    EXPECT_EQ(run({"list", output, "--key", public_key()}).out.find("old.pkg"), std::string::npos);
    EXPECT_EQ(run({"info", output, "--json"}).out.find("\"unreached\": 1"), std::string::npos);
}

TEST_F(Pack, ReadsTheKeyFromAndWritesToPipes) {
    const std::string packed = folder.file("piped.pkg");
    EXPECT_EQ(run({"pack", source, "-", "--key", "-"}, {.in = private_key(), .out = packed}).status,
              0);
    EXPECT_EQ(run({"verify", "-", "--key", public_key()}, {.in = packed}).status, 0);
    const run_result full =
        run({"pack", source, "-", "--key", private_key()}, {.out = "/dev/full"});
    EXPECT_EQ(full.status, 2);
    EXPECT_NE(full.err.find("No space left"), std::string::npos) << full.err;
}

/// The package is complete, and its way out is blocked by a pipe that nobody reads.
TEST_F(Pack, SignalsLeaveNothingBehind) {
    folder.write("apps/Resources/large", [] {
        std::string noise;
        for (std::uint32_t i = 1; i != 200000; ++i)
            noise += static_cast<char>(i * i * 2654435761u >> 24);
        return noise;
    }());
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const temp_folder workplace;
        std::array<int, 2> pipe_ends{};
        ASSERT_EQ(pipe2(pipe_ends.data(), O_CLOEXEC), 0);
        const pid_t process =
            start({"pack", source, "-", "--key", private_key()},
                  {.environment = "TMPDIR=" + workplace.path()}, pipe_ends[1], STDERR_FILENO);
        close(pipe_ends[1]);
        char first = 0;
        ASSERT_EQ(read(pipe_ends[0], &first, 1), 1); // it writes, so the file is there
        EXPECT_FALSE(std::filesystem::is_empty(workplace.path()));
        kill(process, signal);
        EXPECT_EQ(wait_for(process), 128 + signal);
        EXPECT_TRUE(std::filesystem::is_empty(workplace.path()));
        close(pipe_ends[0]);
    }
}

struct refusal {
    const char* name;
    int status;
    const char* message; // a part of it
    std::vector<std::string> arguments{};
    std::function<void(const temp_folder&)> prepare = [](const temp_folder&) {};
};

class PackRefuses : public Pack, public testing::WithParamInterface<refusal> {};

TEST_P(PackRefuses, AndLeavesNothing) {
    GetParam().prepare(folder);
    const std::string before = leftovers();
    const run_result result = pack(GetParam().arguments);
    EXPECT_EQ(result.status, GetParam().status);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find(GetParam().message), std::string::npos) << result.err;
    EXPECT_EQ(leftovers(), before);
}

std::string path_in(const temp_folder& folder, const char* name) {
    return folder.file("apps/") + name;
}

void make_deep(const temp_folder& folder) {
    int place = open(folder.file("apps").c_str(), O_RDONLY);
    const std::string name(200, 'd');
    for (int depth = 0; depth != 21; ++depth) {
        mkdirat(place, name.c_str(), 0700);
        const int below = openat(place, name.c_str(), O_RDONLY);
        close(place);
        place = below;
    }
    close(openat(place, "x.sc", O_WRONLY | O_CREAT, 0600));
    close(place);
}

INSTANTIATE_TEST_SUITE_P(
    Sources, PackRefuses,
    testing::Values(refusal{"Link",
                            1,
                            "Symbolic links are not followed",
                            {},
                            [](const auto& f) {
                                std::filesystem::create_symlink("mail.py", path_in(f, "l.py"));
                            }},
                    refusal{"LoopOfLinks",
                            1,
                            "Symbolic links are not followed",
                            {},
                            [](const auto& f) {
                                std::filesystem::create_symlink(".", path_in(f, "loop"));
                            }},
                    refusal{"Pipe",
                            1,
                            "Only files and folders can be packed",
                            {},
                            [](const auto& f) { mkfifo(path_in(f, "p.py").c_str(), 0600); }},
                    refusal{"NameNotUtf8",
                            1,
                            "m\\xe9.py: The name is not valid UTF-8",
                            {},
                            [](const auto& f) { f.write("apps/m\xE9.py", ""); }},
                    refusal{"NameTooLong", 1, "The name is longer than 4095 bytes", {}, make_deep},
                    refusal{"Empty",
                            1,
                            "has nothing for the engine",
                            {},
                            [](const auto& f) {
                                std::filesystem::remove_all(f.file("apps"));
                                f.write("apps/README", "");
                            }},
                    refusal{"NoFolder",
                            2,
                            "apps: No such file or directory",
                            {},
                            [](const auto& f) { std::filesystem::remove_all(f.file("apps")); }},
                    refusal{"KeyInFolder",
                            1,
                            "This is the private key",
                            {},
                            [](const auto& f) {
                                std::filesystem::create_hard_link(private_key(),
                                                                  path_in(f, "k.xml"));
                            }}),
    support::row_name);

INSTANTIATE_TEST_SUITE_P(
    Options, PackRefuses,
    testing::Values(
        refusal{"NoSuchDay",
                2,
                "The stamp \"2026-02-30-01\" is not valid",
                {"--stamp", "2026-02-30-01"}},
        refusal{"StampBefore2017", 2, "is not valid", {"--stamp", "2016-12-31-00"}},
        refusal{"Kind", 2, "--kind: morvantic", {"--kind", "morvantic"}},
        refusal{"Encryption", 2, "--encrypt", {"--encrypt", "aes-512"}},
        refusal{"VersionTooLarge", 2, "is not four numbers", {"--version-parts", "1.256.0.0"}},
        refusal{"TrailerTooLong", 2, "do not fit", {"--trailer", std::string(816, 't')}},
        refusal{"JsonAndPackage", 2, "not expected", {"-", "--json"}},
        refusal{"OutputThere",
                2,
                "is there already",
                {},
                [](const auto& f) { f.write("apps.pkg", "old"); }},
        refusal{"OutputIsNoFile",
                2,
                "is not a file",
                {"--force"},
                [](const auto& f) { mkfifo(f.file("apps.pkg").c_str(), 0600); }}),
    support::row_name);

TEST_F(Pack, RefusesUnusableKeysAndOutputs) {
    support::output_of("openssl genrsa -aes128 -passout pass:x -out " + folder.file("locked") +
                       " 2>&1");
    support::output_of("openssl ecparam -genkey -name prime256v1 -out " + folder.file("ec"));
    support::output_of("openssl genrsa -out " + folder.file("short") + " 1024 2>&1");

    const struct {
        std::string key;
        std::string output;
        int status;
        const char* message;
    } rows[] = {
        {folder.file("locked"), output, 1, "protected by a passphrase"},
        {folder.file("ec"), output, 1, "not an RSA private key"},
        {folder.file("short"), output, 1, "1024 bits cannot sign packages"},
        {public_key(), output, 1, "not an RSA private key"},
        {private_key(), folder.file("no/apps.pkg"), 2, "cannot be written: No such file"},
    };

    for (const auto& row : rows) {
        const run_result result = run({"pack", source, row.output, "--key", row.key});
        EXPECT_EQ(result.status, row.status);
        EXPECT_NE(result.err.find(row.message), std::string::npos) << result.err;
        EXPECT_NE(access(row.output.c_str(), F_OK), 0);
    }
}

} // namespace
