#include "run_tool.h"

#include "tools/morvantic/archive_writer.h"
#include "tools/morvantic/descriptor.h"

#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <unzip.h>

namespace {

using namespace tools_test;
using nlohmann::json;
using support::read_file;

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

    run_result pack(const std::string& more = "", const std::string& variables = "") const {
        return run("pack " + source + " " + output + " --key " + key + " " + more, variables);
    }

    /// Runs a shell command beside the folder.
    std::string shell(const std::string& command) const {
        return support::output_of("exec 2>&1; cd " + folder.path() + "; KEY=" + private_key() +
                                  "; PUBLIC=" + public_key() + "; TOOL=" TOOL_PATH "; " + command);
    }

    support::temp_folder folder;
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
    EXPECT_EQ(json::parse(pack("--json", "SOURCE_DATE_EPOCH=1700000000").out)["stamp"],
              "2023-11-14-01");
    EXPECT_EQ(shell("before=$(date -u +%F-01); $TOOL pack apps 2.pkg --key $KEY >report;"
                    "grep -c -e $before -e $(date -u +%F-01) report"),
              "1\n");
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
              " openssl dgst -sha512 -verify $PUBLIC -signature signature covered"),
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
    const tool::descriptor file(open(path.c_str(), O_RDWR));
    tool::archive_writer writer(file.number(), 8, 0);
    for (int i = 0; i != 65600; ++i)
        writer.add(std::to_string(i), {}, 0);
    writer.finish();
    shell("tail -c +9 archive.zip >behind.zip"); // places count from the archive's start
    const unzFile read = unzOpen64(folder.file("behind.zip").c_str());
    unz_global_info64 totals{};
    EXPECT_EQ(unzGetGlobalInfo64(read, &totals), UNZ_OK);
    EXPECT_EQ(totals.number_entry, 65600u);
    unzClose(read);
}

/// The engine has read it before it is published, so it is what was packed.
TEST_F(Pack, EncryptsAndIsLookedIntoWithoutAKey) {
    for (const char* how : {"aes-128", "aes-192", "aes-256"}) {
        ASSERT_EQ(pack(std::string("--force --encrypt ") + how).status, 0);
        EXPECT_EQ(read_file(output).find("PK\3\4"), std::string::npos);
        EXPECT_EQ(json::parse(run("info --json " + output).out)["members"]["script"], 1);
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
    EXPECT_NE(pack().err.find("is there already"), std::string::npos);
    EXPECT_EQ(read_file(output), "old");
    ASSERT_EQ(pack("--force").status, 0);
    EXPECT_EQ(json::parse(run("info --json " + output).out)["members"]["unreached"], 0);
    output = folder.file("no/apps.pkg");
    EXPECT_NE(pack().err.find("cannot be written: No such file"), std::string::npos);
}

TEST_F(Pack, ReadsTheKeyFromAndWritesToPipes) {
    EXPECT_EQ(shell("$TOOL pack apps - --key - <$KEY | $TOOL verify - --key $PUBLIC >report"
                    " && mkdir temporary && ls"),
              "apps\nreport\ntemporary\n");
    output = "-";
    EXPECT_EQ(pack("--json").status, 2);
    const run_result full = pack(">/dev/full", "TMPDIR=" + folder.file("temporary"));
    EXPECT_EQ(full.status, 2);
    EXPECT_EQ(shell("ls -A temporary"), "");
    EXPECT_NE(full.err.find("No space left"), std::string::npos) << full.err;
}

/// The package is complete, and its way out is blocked by a pipe that nobody reads.
TEST_F(Pack, SignalsLeaveNothingBehind) {
    shell("head -c 200000 /dev/urandom >apps/Resources/large; mkfifo pipe; mkdir temporary");
    for (const auto& [signal, status] :
         {std::pair("INT", "130"), {"TERM", "143"}, {"HUP", "129"}}) {
        // The tool leaves a signal ignored where it was, as the shell ignores them behind an &.
        EXPECT_EQ(shell("exec 2>/dev/null; export TMPDIR=temporary; "
                        "env --default-signal $TOOL pack apps - --key $KEY >pipe & exec 3<pipe;"
                        "head -c 1 <&3 >first; ls -A temporary | wc -l;" // it writes
                        "kill -" +
                        std::string(signal) + " $!; wait $!; echo $?; ls -A temporary"),
                  "1\n" + std::string(status) + "\n");
    }
}

struct refusal {
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

const refusal refusals[] = {
    {1, "ln -s . apps/loop", "Symbolic links are not followed"},
    {1, "mkfifo apps/p.py", "Only files and folders can be packed"},
    {1, "touch apps/m\xE9.py", "m\\xe9.py: The name is not valid UTF-8"},
    {1, make_deep, "The name is longer than 4095 bytes"},
    {1, "rm -r apps; mkdir apps; touch apps/README", "has nothing for the engine"},
    {2, "rm -r apps", "apps: No such file or directory"},
    {1, "ln $KEY apps/k.xml", "This is the private key"},

    {1, "openssl genrsa -aes128 -passout pass:x -out key", "protected by a passphrase"},
    {1, "openssl ecparam -genkey -name prime256v1 -out key", "not an RSA private key"},
    {1, "openssl genrsa -out key 1024", "1024 bits cannot sign packages"},

    {2, ":", "The stamp \"2026-02-30-01\" is not valid", "--stamp 2026-02-30-01"},
    {2, ":", "--kind: morvantic", "--kind morvantic"},
    {2, ":", "is not four numbers", "--version-parts=1.256.0.0"},
    {2, "mkfifo apps.pkg", "is not a file", "--force"},
};

INSTANTIATE_TEST_SUITE_P(Each, PackRefuses, testing::ValuesIn(refusals));

} // namespace
