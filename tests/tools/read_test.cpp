#include "run_tool.h"

#include "support/package_builder.h"
#include "support/rows.h"
#include "support/zip_builder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

// info, verify, list and cat on packages whose bytes are laid down here.

namespace {

using namespace tools_test;
using nlohmann::json;
using support::package_builder;
using support::to_bytes;
using support::zip_builder;

constexpr std::uint16_t utf8_name = 0x800;

zip_builder sound_archive() {
    return {.members = {{.name = "b.sc", .content = "::App::Script::{}"},
                        {.name = "a.sc", .content = "", .method = 0},
                        {.name = "x/q.xq", .content = "collection()"},
                        {.name = "p.py", .content = "pass\n", .method = 0},
                        {.name = "c.xml", .content = "<c/>"},
                        {.name = "Resources/r.sc", .content = std::string("\0\xFF\n", 3)},
                        {.name = "caf\xE9.py", .content = "raw name"},
                        {.name = "caf\xC3\xA9.py", .content = "UTF-8 name", .flags = utf8_name},
                        {.name = "folder/", .content = "", .method = 0},
                        {.name = "notes.txt", .content = "nobody asks"}}};
}

void put_archive(package_builder& package, const zip_builder& archive) {
    package.payload = archive.build().content;
}

class Read : public testing::Test {
protected:
    Read() { put_archive(package, sound_archive()); }

    /// Runs a command on the package, with the key to verify it.
    run_result with_key(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin() + 1, path);
        arguments.insert(arguments.end(), {"--key", public_key()});
        return run(arguments);
    }

    void write() { folder.write("test.pkg", package.build()); }

    package_builder package;
    support::temp_folder folder;
    std::string path = folder.file("test.pkg");
};

TEST_F(Read, ListShowsWhatTheEngineServesInItsOrder) {
    write();
    // The raw byte is listed as the sign-extended character that the engine makes of it.
    EXPECT_EQ(with_key({"list"}).out, "Resources/r.sc\na.sc\nb.sc\nc.xml\ncaf\xC3\xA9.py\n"
                                      "caf\xEF\xBF\xA9.py\np.py\nx/q.xq\n");
    const json list = json::parse(with_key({"list", "--json", "--kind", "xml"}).out);
    EXPECT_EQ(list, json::parse(R"([{"name": "c.xml", "kind": "xml", "size": 4,
                                     "packed_size": 6, "method": "deflated"}])"));
    EXPECT_EQ(with_key({"list", "--long", "--kind", "python"}).out.find("python "), 0u);
    EXPECT_EQ(run({"list", path, "--key", "-"}, {.in = public_key()}).status, 0);
    EXPECT_NE(run({"list", path, "--key", private_key()}).err.find("not an RSA public key in PEM"),
              std::string::npos);
}

TEST_F(Read, CatGivesExactBytesUnderEachName) {
    write();
    const std::pair<const char*, std::string> served[] = {
        {"a.sc", ""},
        {"Resources/r.sc", std::string("\0\xFF\n", 3)},
        {"caf\xEF\xBF\xA9.py", "raw name"},
        {"caf\xC3\xA9.py", "UTF-8 name"}};
    for (const auto& [name, content] : served) {
        const run_result result = with_key({"cat", name});
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.out, content);
    }
    for (const char* name : {"B.sc", "folder/", "notes.txt", "caf\xE9.py"}) {
        const run_result result = with_key({"cat", name});
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err.find("test.pkg"), std::string::npos);
    }
}

TEST_F(Read, VerifyTellsWhatTheSignatureCovers) {
    write();
    const json report = json::parse(with_key({"verify", "--json"}).out);
    EXPECT_EQ(report["sound"], true);
    EXPECT_EQ(report["served"]["script"], 2);
    EXPECT_EQ(report["served"]["python"], 3);
    for (const auto& [name, field] : report["fields"].items())
        EXPECT_EQ(field["covered_by_signature"], name == "stamp" || name == "payload") << name;
    EXPECT_EQ(report["fields"]["version_parts"]["value"], "258.3.4.84281096");
    const run_result text = with_key({"verify"});
    EXPECT_EQ(text.status, 0);
    EXPECT_NE(text.out.find("The package is sound."), std::string::npos);
    EXPECT_NE(text.out.find(report["key_fingerprint_sha256"].get<std::string>()),
              std::string::npos);
}

TEST_F(Read, AnInvalidStampIsNotCovered) {
    package.stamp = "2026-13-09-07";
    package.signed_stamp = "";
    write();
    const run_result result = with_key({"verify"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.err.find("The stamp is not valid"), std::string::npos) << result.err;
    EXPECT_EQ(json::parse(run({"info", path, "--json"}).out)["fields"]["stamp"],
              json::parse(R"({"value": "2026-13-09-07", "covered_by_signature": false})"));
}

struct bad_package {
    const char* name;
    const char* failed_check;
    const char* message; // a part of it
    void (*change)(package_builder&);
};

class BadPackage : public Read, public testing::WithParamInterface<bad_package> {};

TEST_P(BadPackage, VerifyNamesTheFailedCheckAndTheOthersRefuse) {
    GetParam().change(package);
    write();
    const run_result text = with_key({"verify"});
    EXPECT_EQ(text.status, 1);
    EXPECT_EQ(text.out, "");
    EXPECT_NE(text.err.find(GetParam().message), std::string::npos) << text.err;
    const run_result report = with_key({"verify", "--json"});
    EXPECT_EQ(report.status, 1);
    EXPECT_EQ(json::parse(report.out)["failed_check"], GetParam().failed_check);
    for (const auto& command : {std::vector<std::string>{"list"}, {"cat", "b.sc"}}) {
        const run_result result = with_key(command);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "");
    }
}

const bad_package bad_packages[] = {
    {"Version", "header_version", "version is unknown", [](auto& p) { p.header_version = 2; }},
    {"ForeignKey", "signature", "signature does not match",
     [](auto& p) { p.keys = &support::test_keys::stranger(); }},
    {"Encryption", "encryption_type", "type is unknown", [](auto& p) { p.encryption_type = 2048; }},
    {"NoArchive", "archive", "no zip archive", [](auto& p) { p.payload = to_bytes("text"); }},
    {"NameNotUtf8", "archive", "says that it is UTF-8 and is not",
     [](auto& p) {
         put_archive(p, {{{"\xE9.sc", "", 8, utf8_name}}});
     }},
};

INSTANTIATE_TEST_SUITE_P(Faults, BadPackage, testing::ValuesIn(bad_packages), support::row_name);

constexpr std::size_t local_data = 30 + 6; // behind the header and the name

struct bad_member {
    const char* name;
    std::size_t field; // of the central record, or the local data
    std::size_t width;
    std::uint64_t value;
    const char* reason;
};

class BadMember : public Read, public testing::WithParamInterface<bad_member> {};

/// Among them is what would keep the engine waiting for ever: the tests end, so it was not asked.
TEST_P(BadMember, IsFoundBeforeTheEngineIsAsked) {
    const auto& [name, field, width, value, reason] = GetParam();
    auto archive = zip_builder{{{"bad.sc", std::string(3000, 'x')}, {"good.sc", "good"}}}.build();
    const auto& headers = field == local_data ? archive.local_headers : archive.central_records;
    archive.put(headers[0] + field, value, width);
    package.payload = archive.content;
    write();

    const run_result text = with_key({"verify"});
    EXPECT_EQ(text.status, 1);
    EXPECT_NE(text.err.find(std::string("  bad.sc: ") + reason), std::string::npos) << text.err;
    const json report = json::parse(with_key({"verify", "--json"}).out);
    EXPECT_EQ(report["failed_check"], "files");
    EXPECT_EQ(report["problems"].size(), 1u);
    const run_result cat = with_key({"cat", "bad.sc"});
    EXPECT_EQ(cat.status, 1);
    EXPECT_EQ(cat.out, "");
    EXPECT_EQ(with_key({"cat", "good.sc"}).out, "good");
}

const bad_member bad_members[] = {
    {"Encrypted", support::central_flags, 2, 1, "it is encrypted"},
    {"Method", support::central_method, 2, 12, "its compression method 12 is not supported"},
    {"BreaksOff", support::central_compressed_size, 4, 9, "its compressed data break off"},
    {"NoData", support::central_compressed_size, 4, 0, "its compressed data break off"},
    {"Damaged", local_data, 4, 0xFFFFFFFF, "its compressed data are damaged"},
    {"TooLong", support::central_compressed_size, 4, 1 << 20, "its data reach beyond the end"},
    {"OffsetBeyondTheEnd", support::central_offset, 4, 1 << 20, "it lies beyond the end"},
    {"OffsetOfNoHeader", support::central_offset, 4, 1, "it is not where the directory"},
    {"CheckValue", support::central_crc, 4, 1, "its content does not match its check value"},
    {"Size", support::central_size, 4, 2999, "its content has another size"},
};

INSTANTIATE_TEST_SUITE_P(Defects, BadMember, testing::ValuesIn(bad_members), support::row_name);

TEST_F(Read, InfoGoesAsFarAsItCan) {
    package.signature = to_bytes("no signature");
    write();
    json info = json::parse(run({"info", path, "--json"}).out);
    EXPECT_EQ(info["verified"], false);
    EXPECT_EQ(info["members"]["script"], 2);
    EXPECT_EQ(info["members"]["unreached"], 1);
    EXPECT_EQ(info["fields"]["signature"]["value"], 12);
    EXPECT_NE(run({"info", path}).out.find("Nothing was verified"), std::string::npos);

    package.encryption_type = 512;
    write();
    info = json::parse(run({"info", path, "--json"}).out);
    EXPECT_EQ(info["archive_problem"], "The payload is no zip archive, or an empty one.");
    EXPECT_NE(run({"info", path}).out.find("AES-128 (512)"), std::string::npos);

    package.encryption_type = 2048;
    write();
    info = json::parse(run({"info", path, "--json"}).out);
    EXPECT_EQ(info["members"], nullptr);
    EXPECT_EQ(info["archive_problem"], "The encryption type is unknown.");

    package.kind = "morvantic";
    write();
    const run_result nothing = run({"info", path});
    EXPECT_EQ(nothing.status, 1);
    EXPECT_EQ(nothing.out, "");
}

TEST_F(Read, TextThatControlsATerminalIsShownOnOneOnly) {
    put_archive(package, {{{"\x1B[2J.sc", ""}}});
    package.trailer_text = "\x1B]0;title\a";
    write();
    EXPECT_EQ(with_key({"list"}).out, "\x1B[2J.sc\n");
    EXPECT_EQ(run_on_terminal({"list", path, "--key", public_key()}), "\\x1b[2J.sc\r\n");
    EXPECT_EQ(run_on_terminal({"info", path}).find('\x1B'), std::string::npos);
}

} // namespace
