#include "run_tool.h"

#include "support/rows.h"
#include "tools/morvantic/archive_writer.h"
#include "tools/morvantic/descriptor.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <unistd.h>
#include <unzip.h>

namespace {

using namespace tools_test;
using support::output_of;
using support::read_file;
using support::temp_folder;

/// A folder to be packed beside the place for the package.
class Pack : public testing::Test {
protected:
    Pack() {
        folder.write("apps/android/mail.sc", "::App::Script::{}\n");
        folder.write("apps/mail.py", std::string(5000, 'p'));
        folder.write("apps/mail.xq", "collection()");
        folder.write("apps/Resources/empty", "");
        folder.write("apps/Resources/notiz\xC3\xBC.txt", std::string("\0\xFF raw", 6));
    }

    run_result pack(const std::string& more = "", const redirection& where = {}) {
        std::vector<std::string> arguments = {"pack", source, output, "--key", key};
        for (const std::string& word : words(more))
            arguments.push_back(word);
        return run(arguments, where);
    }

    /// Runs a shell command beside the folder.
    std::string shell(const std::string& command) {
        return output_of("exec 2>&1; cd " + folder.path() + "; KEY=" + private_key() + "; " +
                         command);
    }

    temp_folder folder;
    std::string source = folder.file("apps");
    std::string output = folder.file("apps.pkg");
    std::string key = private_key();
};

TEST_F(Pack, SameInputGivesSameBytes) {
    ASSERT_EQ(pack("--stamp 2026-03-09-01").status, 0);
    const std::string first = read_file(output);
    // The same files made in another order and at another time.
    shell("mkdir other; cd apps; for f in $(find -type f | sort -r); do"
          " mkdir -p ../other/$(dirname $f); cp $f ../other/$f; touch -d 2001-09-09 ../other/$f; "
          "done");
    source = folder.file("other");
    ASSERT_EQ(pack("--stamp 2026-03-09-01 --force").status, 0);
    EXPECT_EQ(read_file(output), first);
}

TEST_F(Pack, StampComesFromTheEnvironmentOrTheClock) {
    const auto stamp = [](const run_result& result) {
        return nlohmann::json::parse(result.out)["stamp"].get<std::string>();
    };
    EXPECT_EQ(stamp(pack("--json", {.environment = "SOURCE_DATE_EPOCH=1700000000"})),
              "2023-11-14-01");
    const std::string before = output_of("date -u +%F-01");
    const std::string today = stamp(pack("--json --force")) + '\n';
    EXPECT_TRUE(today == before || today == output_of("date -u +%F-01")) << today;
}

TEST_F(Pack, SignatureAndHeaderHoldForOthers) {
    ASSERT_EQ(pack("--stamp 2026-03-09-42 --kind LATTICEDB --version-parts=258.3.4.5 --aux 6 "
                   "--trailer build-7")
                  .status,
              0);
    const std::string head("LATTICEDB\0\1\0\0\0002026-03-09-42\0\2\1\3\4\5\0\0\0\6\0\0\0\0\4\0\0"
                           "\xA0\0\0\0",
                           48);
    EXPECT_EQ(read_file(output).substr(0, 48), head);
    EXPECT_EQ(read_file(output).substr(48 + 160, 9), std::string("build-7\0\0", 9));
    EXPECT_EQ(
        shell("head -c 208 apps.pkg | tail -c 160 >signature; tail -c +1025 apps.pkg >covered;"
              " printf 2026-03-09-42 >>covered;"
              " openssl dgst -sha512 -verify " +
              public_key() + " -signature signature covered"),
        "Verified OK\n");
}

TEST_F(Pack, ArchiveHoldsForOthers) {
    if (std::system("command -v python3 >/dev/null") != 0) GTEST_SKIP() << "python3 is not there";
    ASSERT_EQ(pack("--stamp 2026-03-09-01").status, 0);
    EXPECT_EQ(shell("ls -A"), "apps\napps.pkg\n") << "nothing is left over";
    EXPECT_EQ(shell("touch any; stat -c %a any"), shell("stat -c %a apps.pkg"));
    folder.write("read.py", R"(import zipfile
archive = zipfile.ZipFile('apps.zip')
assert archive.testzip() is None
for i in archive.infolist():
    assert open('apps/' + i.filename, 'rb').read() == archive.read(i)
    print(ascii(i.filename), i.compress_type, i.flag_bits & ~6, i.date_time[:3], len(i.extra), i.create_system)
)");
    EXPECT_EQ(shell("tail -c +1025 apps.pkg >apps.zip; python3 read.py"),
              "'Resources/empty' 0 0 (2026, 3, 9) 0 0\n"
              "'Resources/notiz\\xfc.txt' 0 2048 (2026, 3, 9) 0 0\n"
              "'android/mail.sc' 0 0 (2026, 3, 9) 0 0\n"
              "'mail.py' 8 0 (2026, 3, 9) 0 0\n"
              "'mail.xq' 0 0 (2026, 3, 9) 0 0\n");
}

/// In 64 bits, since others refuse an archive that holds more than it counts.
TEST_F(Pack, ArchiveCountsWhatItHolds) {
    const std::string path = folder.write("archive.zip", "in front");
    {
        const tool::descriptor file(open(path.c_str(), O_RDWR));
        tool::archive_writer writer(file.number(), 8, 0);
        for (int i = 0; i != 65600; ++i)
            writer.add(std::to_string(i), {}, 0);
        writer.finish();
    }
    EXPECT_EQ(shell("tail -c 98 archive.zip | od -An -tu8 -j24 -N16 | tr -s ' '"),
              " 65600 65600\n");
    EXPECT_EQ(shell("tail -c 42 archive.zip | head -c 4"), "PK\x06\x07");
    shell("tail -c +9 archive.zip >behind.zip");
    const unzFile read = unzOpen64(folder.file("behind.zip").c_str());
    unz_global_info64 totals{};
    EXPECT_EQ(unzGetGlobalInfo64(read, &totals), UNZ_OK) << "places count from the archive's start";
    EXPECT_EQ(totals.number_entry, 65600u);
    unzClose(read);
}

TEST_F(Pack, EncryptedPayloadOpensForOthers) {
    const std::string derive = "derive() { openssl kdf -keylen $1 -kdfopt digest:SHA256"
                               " -kdfopt key:MORVANTIC -kdfopt salt:2026-03-09-01"
                               " -kdfopt \"info:morvantic package $2\" HKDF | tr -d ':\\n'; }; ";
    ASSERT_EQ(pack("--stamp 2026-03-09-01").status, 0);
    const std::string archive = read_file(output).substr(1024);
    for (const auto& [bits, length] : {std::pair("128", "16"), {"192", "24"}, {"256", "32"}}) {
        const std::string how = std::string("aes-") + bits;
        ASSERT_EQ(pack("--force --stamp 2026-03-09-01 --encrypt " + how).status, 0);
        EXPECT_EQ(shell(derive + "tail -c +1025 apps.pkg | openssl enc -d -" + how + "-cfb -K $(" +
                        "derive " + length + " key) -iv $(derive 16 iv) -out apps.zip"),
                  "");
        EXPECT_EQ(read_file(folder.file("apps.zip")), archive) << how;
        const nlohmann::json info = nlohmann::json::parse(run({"info", output, "--json"}).out);
        EXPECT_EQ(info["members"]["script"], 1) << "looked into without a key";
        EXPECT_EQ(run({"verify", output, "--key", public_key()}).status, 0);
    }
}

TEST_F(Pack, WarnsOfWhatIsLeftOutOrOutOfReach) {
    shell("mkdir apps/.git; touch apps/.git/config apps/README apps/Mail.py");
    const run_result result = pack();
    EXPECT_EQ(result.status, 0);
    for (const char* words :
         {"left out: .git.", "ask for these files: README.", "Mail.py and mail.py."}) {
        EXPECT_NE(result.err.find(words), std::string::npos) << result.err;
    }
    EXPECT_EQ(pack("--force --all").err.find("left out"), std::string::npos);
}

TEST_F(Pack, ReplacesOnlyWithForceAndNeverPacksItsOutput) {
    output = folder.write("apps/old.pkg", "old");
    EXPECT_EQ(pack().status, 2);
    EXPECT_EQ(read_file(output), "old");
    ASSERT_EQ(pack("--force").status, 0);
    EXPECT_EQ(run({"info", output, "--json"}).out.find("\"unreached\": 1"), std::string::npos);
    output = folder.file("no/apps.pkg");
    EXPECT_NE(pack().err.find("cannot be written: No such file"), std::string::npos);
}

TEST_F(Pack, ReadsTheKeyFromAndWritesToPipes) {
    const std::string packed = folder.file("piped.pkg");
    EXPECT_EQ(run({"pack", source, "-", "--key", "-"}, {.in = private_key(), .out = packed}).status,
              0);
    EXPECT_EQ(run({"verify", "-", "--key", public_key()}, {.in = packed}).status, 0);
    output = "-";
    EXPECT_EQ(pack("--json").status, 2);
    shell("mkdir temporary");
    const std::string temporary = "TMPDIR=" + folder.file("temporary");
    const run_result full = pack("", {.out = "/dev/full", .environment = temporary});
    EXPECT_EQ(full.status, 2);
    EXPECT_EQ(shell("ls -A temporary"), "");
    EXPECT_NE(full.err.find("No space left"), std::string::npos) << full.err;
}

/// The package is complete, and its way out is blocked by a pipe that nobody reads.
TEST_F(Pack, SignalsLeaveNothingBehind) {
    shell("head -c 200000 /dev/urandom >apps/Resources/large");
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        std::signal(signal, SIG_DFL); // the tool leaves it ignored where it was, as under nohup
        const temp_folder temporary;
        std::array<int, 2> pipe_ends{};
        ASSERT_EQ(pipe2(pipe_ends.data(), O_CLOEXEC), 0);
        const pid_t process =
            start({"pack", source, "-", "--key", private_key()},
                  {.environment = "TMPDIR=" + temporary.path()}, pipe_ends[1], STDERR_FILENO);
        close(pipe_ends[1]);
        char first = 0;
        ASSERT_EQ(read(pipe_ends[0], &first, 1), 1); // it writes, so the file is there
        EXPECT_FALSE(std::filesystem::is_empty(temporary.path()));
        kill(process, signal);
        EXPECT_EQ(wait_for(process), 128 + signal);
        EXPECT_TRUE(std::filesystem::is_empty(temporary.path()));
        close(pipe_ends[0]);
    }
}

struct refusal {
    const char* name;
    int status;
    const char* preparation; // for the shell
    const char* message;     // a part of it
    const char* arguments = "";
};

class PackRefuses : public Pack, public testing::WithParamInterface<refusal> {};

TEST_P(PackRefuses, AndLeavesNothing) {
    shell(GetParam().preparation);
    if (std::filesystem::exists(folder.file("key"))) key = folder.file("key");
    const std::string before = shell("ls -A");
    const run_result result = pack(GetParam().arguments);
    EXPECT_EQ(result.status, GetParam().status);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find(GetParam().message), std::string::npos) << result.err;
    EXPECT_EQ(shell("ls -A"), before);
}

constexpr auto make_deep = "cd apps; n=$(printf %0200d 0); for i in $(seq 21); do mkdir $n; cd $n;"
                           " done; true";

const refusal refused_sources[] = {
    {"Link", 1, "ln -s mail.py apps/l.py", "Symbolic links are not followed"},
    {"LoopOfLinks", 1, "ln -s . apps/loop", "Symbolic links are not followed"},
    {"Pipe", 1, "mkfifo apps/p.py", "Only files and folders can be packed"},
    {"NameNotUtf8", 1, "touch apps/m\xE9.py", "m\\xe9.py: The name is not valid UTF-8"},
    {"NameTooLong", 1, make_deep, "The name is longer than 4095 bytes"},
    {"Empty", 1, "rm -r apps; mkdir apps; touch apps/README", "has nothing for the engine"},
    {"NoFolder", 2, "rm -r apps", "apps: No such file or directory"},
    {"KeyInFolder", 1, "ln $KEY apps/k.xml", "This is the private key"},
};

INSTANTIATE_TEST_SUITE_P(Sources, PackRefuses, testing::ValuesIn(refused_sources),
                         support::row_name);

const refusal refused_keys[] = {
    {"Locked", 1, "openssl genrsa -aes128 -passout pass:x -out key", "protected by a passphrase"},
    {"Curve", 1, "openssl ecparam -genkey -name prime256v1 -out key", "not an RSA private key"},
    {"Short", 1, "openssl genrsa -out key 1024", "1024 bits cannot sign packages"},
};

INSTANTIATE_TEST_SUITE_P(Keys, PackRefuses, testing::ValuesIn(refused_keys), support::row_name);

const refusal refused_options[] = {
    {"NoSuchDay", 2, ":", "The stamp \"2026-02-30-01\" is not valid", "--stamp 2026-02-30-01"},
    {"StampBefore2017", 2, ":", "is not valid", "--stamp 2016-12-31-00"},
    {"Kind", 2, ":", "--kind: morvantic", "--kind morvantic"},
    {"Encryption", 2, ":", "--encrypt", "--encrypt aes-512"},
    {"VersionTooLarge", 2, ":", "is not four numbers", "--version-parts=1.256.0.0"},
    {"OutputThere", 2, "echo old >apps.pkg", "is there already"},
    {"OutputIsNoFile", 2, "mkfifo apps.pkg", "is not a file", "--force"},
};

INSTANTIATE_TEST_SUITE_P(Options, PackRefuses, testing::ValuesIn(refused_options),
                         support::row_name);

} // namespace
