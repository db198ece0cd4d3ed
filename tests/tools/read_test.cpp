#include "run_tool.h"

#include "support/package_builder.h"
#include "support/rows.h"
#include "support/zip_builder.h"

#include <functional>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

// info, verify, list and cat on packages whose bytes are laid down here.

namespace {

using namespace tools_test;
using nlohmann::json;
using support::package_builder;
using support::to_bytes;
using support::zip_builder;
using support::zip_member;

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

package_builder package_with(const support::bytes& payload) {
    package_builder package;
    package.payload = payload;
    return package;
}

class Read : public testing::Test {
protected:
    void write(const package_builder& package) { folder.write("test.pkg", package.build()); }

    void write(const zip_builder& archive) { write(package_with(archive.build().content)); }

    run_result with_key(std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), {"--key", public_key()});
        return run(arguments);
    }

    support::temp_folder folder;
    std::string path = folder.file("test.pkg");
};

TEST_F(Read, ListShowsWhatTheEngineServesInItsOrder) {
    write(sound_archive());
    // The raw byte is listed as the sign-extended character that the engine makes of it.
    EXPECT_EQ(with_key({"list", path}).out, "Resources/r.sc\na.sc\nb.sc\nc.xml\ncaf\xC3\xA9.py\n"
                                            "caf\xEF\xBF\xA9.py\np.py\nx/q.xq\n");
    EXPECT_EQ(with_key({"list", path, "--kind", "script"}).out, "a.sc\nb.sc\n");
    const json list = json::parse(with_key({"list", path, "--json", "--kind", "xml"}).out);
    EXPECT_EQ(list, json::parse(R"([{"name": "c.xml", "kind": "xml", "size": 4,
                                     "packed_size": 6, "method": "deflated"}])"));
    EXPECT_EQ(with_key({"list", path, "--long", "--kind", "python"}).out.find("python "), 0u);
}

TEST_F(Read, CatGivesExactBytesUnderEachName) {
    write(sound_archive());
    for (const auto& [name, content] : std::initializer_list<std::pair<const char*, std::string>>{
             {"b.sc", "::App::Script::{}"},
             {"a.sc", ""},
             {"Resources/r.sc", std::string("\0\xFF\n", 3)},
             {"caf\xEF\xBF\xA9.py", "raw name"},
             {"caf\xC3\xA9.py", "UTF-8 name"}}) {
        const run_result result = with_key({"cat", path, name});
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.out, content);
    }
    for (const char* name : {"B.sc", "folder/", "notes.txt", "caf\xE9.py"}) {
        const run_result result = with_key({"cat", path, name});
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err.find("test.pkg"), std::string::npos);
    }
}

TEST_F(Read, VerifyTellsWhatTheSignatureCovers) {
    write(sound_archive());
    const run_result result = with_key({"verify", path, "--json"});
    ASSERT_EQ(result.status, 0) << result.err;
    const json report = json::parse(result.out);
    EXPECT_EQ(report["sound"], true);
    EXPECT_EQ(report["served"]["script"], 2);
    EXPECT_EQ(report["served"]["python"], 3);
    EXPECT_EQ(report["served"]["unreached"], 0);
    for (const auto& [name, field] : report["fields"].items()) {
        EXPECT_EQ(field["covered_by_signature"], name == "stamp" || name == "payload") << name;
    }
    EXPECT_EQ(report["fields"]["version_parts"]["value"], "258.3.4.84281096");
    const run_result text = with_key({"verify", path});
    EXPECT_NE(text.out.find("The package is sound."), std::string::npos);
    EXPECT_NE(text.out.find(report["key_fingerprint_sha256"].get<std::string>()),
              std::string::npos);
}

TEST_F(Read, AnInvalidStampIsNotCovered) {
    package_builder package = package_with(sound_archive().build().content);
    package.stamp = "2026-13-09-07";
    package.signed_stamp = "";
    write(package);
    const run_result result = with_key({"verify", path});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.err.find("The stamp is not valid"), std::string::npos) << result.err;
    const json info = json::parse(run({"info", path, "--json"}).out);
    EXPECT_EQ(info["fields"]["stamp"],
              json::parse(R"({"value": "2026-13-09-07", "covered_by_signature": false})"));
}

struct bad_package {
    const char* name;
    const char* failed_check;
    const char* message; // a part of it
    std::function<support::bytes()> build;
};

support::bytes changed(void (*change)(package_builder&)) {
    package_builder package = package_with(sound_archive().build().content);
    change(package);
    return package.build();
}

class BadPackage : public Read, public testing::WithParamInterface<bad_package> {
protected:
    BadPackage() { folder.write("test.pkg", GetParam().build()); }
};

TEST_P(BadPackage, VerifyNamesTheFailedCheckAndTheOthersRefuse) {
    const run_result text = with_key({"verify", path});
    EXPECT_EQ(text.status, 1);
    EXPECT_EQ(text.out, "");
    EXPECT_NE(text.err.find(GetParam().message), std::string::npos) << text.err;
    const run_result report = with_key({"verify", path, "--json"});
    EXPECT_EQ(report.status, 1);
    EXPECT_EQ(json::parse(report.out)["failed_check"], GetParam().failed_check);
    for (const auto& command : {std::vector<std::string>{"list", path}, {"cat", path, "b.sc"}}) {
        const run_result result = with_key(command);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "");
    }
}

INSTANTIATE_TEST_SUITE_P(
    Faults, BadPackage,
    testing::Values(
        bad_package{"TooShort", "size", "shorter than a package header",
                    [] { return to_bytes(std::string(1023, 'M')); }},
        bad_package{"Kind", "kind", "known kind",
                    [] { return changed([](auto& p) { p.kind = "morvantic"; }); }},
        bad_package{"Version", "header_version", "header version is unknown",
                    [] { return changed([](auto& p) { p.header_version = 2; }); }},
        bad_package{
            "ForeignKey", "signature", "signature does not match",
            [] { return changed([](auto& p) { p.keys = &support::test_keys::stranger(); }); }},
        bad_package{"OtherStamp", "signature", "signature does not match",
                    [] { return changed([](auto& p) { p.signed_stamp = "2026-03-09-08"; }); }},
        bad_package{"CutShort", "signature", "signature does not match",
                    [] {
                        support::bytes file = changed([](auto&) {});
                        file.pop_back();
                        return file;
                    }},
        bad_package{"Encryption", "encryption_type", "encryption type is unknown",
                    [] { return changed([](auto& p) { p.encryption_type = 2048; }); }},
        bad_package{"NoArchive", "archive", "no zip archive",
                    [] { return changed([](auto& p) { p.payload = to_bytes("text"); }); }},
        bad_package{"NoPayload", "archive", "no zip archive",
                    [] { return changed([](auto& p) { p.payload.clear(); }); }},
        bad_package{"NameNotUtf8", "archive", "says that it is UTF-8 and is not",
                    [] {
                        const zip_builder archive{
                            .members = {{.name = "\xE9.sc", .content = "", .flags = utf8_name}}};
                        return package_with(archive.build().content).build();
                    }}),
    support::row_name);

struct bad_member {
    const char* name;
    const char* reason;
    zip_member member{.name = "bad.sc", .content = std::string(3000, 'x')};
    std::function<void(support::zip_archive&)> damage = [](support::zip_archive&) {};
};

class BadMember : public Read, public testing::WithParamInterface<bad_member> {};

/// Among them is what would keep the engine waiting for ever: the tests end, so it was not asked.
TEST_P(BadMember, IsFoundBeforeTheEngineIsAsked) {
    support::zip_archive archive =
        zip_builder{.members = {GetParam().member, {.name = "good.sc", .content = "good"}}}.build();
    GetParam().damage(archive);
    write(package_with(archive.content));

    const run_result text = with_key({"verify", path});
    EXPECT_EQ(text.status, 1);
    EXPECT_NE(text.err.find("  bad.sc: " + std::string(GetParam().reason)), std::string::npos)
        << text.err;
    const json report = json::parse(with_key({"verify", path, "--json"}).out);
    EXPECT_EQ(report["failed_check"], "files");
    EXPECT_EQ(report["problems"].size(), 1u);

    const run_result cat = with_key({"cat", path, "bad.sc"});
    EXPECT_EQ(cat.status, 1);
    EXPECT_EQ(cat.out, "");
    EXPECT_EQ(with_key({"cat", path, "good.sc"}).out, "good");
    EXPECT_EQ(with_key({"list", path}).out, "bad.sc\ngood.sc\n");
}

auto put_central(std::size_t field, std::uint64_t value, std::size_t width) {
    return [=](support::zip_archive& archive) {
        archive.put(archive.central_records[0] + field, value, width);
    };
}

constexpr std::size_t central_crc = 16;
constexpr std::size_t central_size = 24;
constexpr std::size_t local_data = 30 + 6; // behind the header and the name

INSTANTIATE_TEST_SUITE_P(
    Defects, BadMember,
    testing::Values(
        bad_member{"Encrypted", "it is encrypted", {.name = "bad.sc", .content = "x", .flags = 1}},
        bad_member{"Method",
                   "its compression method 12 is not supported",
                   {.name = "bad.sc", .content = "x", .method = 12}},
        bad_member{.name = "BreaksOff",
                   .reason = "its compressed data break off",
                   .damage = put_central(support::central_compressed_size, 9, 4)},
        bad_member{.name = "NoData",
                   .reason = "its compressed data break off",
                   .damage = put_central(support::central_compressed_size, 0, 4)},
        bad_member{.name = "Damaged",
                   .reason = "its compressed data are damaged",
                   .damage = [](auto& a) { a.put(local_data, 0xFFFFFFFF, 4); }},
        bad_member{.name = "BeyondTheEnd",
                   .reason = "its data reach beyond the end",
                   .damage = put_central(support::central_compressed_size, 1 << 20, 4)},
        bad_member{.name = "OffsetBeyondTheEnd",
                   .reason = "it lies beyond the end",
                   .damage = put_central(support::central_offset, 1 << 20, 4)},
        bad_member{.name = "OffsetOfNoHeader",
                   .reason = "it is not where the directory",
                   .damage = put_central(support::central_offset, 1, 4)},
        bad_member{.name = "CheckValue",
                   .reason = "its content does not match its check value",
                   .damage = put_central(central_crc, 1, 4)},
        bad_member{.name = "Size",
                   .reason = "its content has another size",
                   .damage = put_central(central_size, 2999, 4)}),
    support::row_name);

TEST_F(Read, InfoGoesAsFarAsItCan) {
    package_builder package = package_with(sound_archive().build().content);
    package.signature = to_bytes("no signature");
    write(package);
    json info = json::parse(run({"info", path, "--json"}).out);
    EXPECT_EQ(info["verified"], false);
    EXPECT_EQ(info["members"]["script"], 2);
    EXPECT_EQ(info["members"]["unreached"], 1);
    EXPECT_EQ(info["fields"]["signature"]["value"], 12);
    EXPECT_NE(run({"info", path}).out.find("Nothing was verified"), std::string::npos);

    package.encryption_type = 512;
    write(package);
    info = json::parse(run({"info", path, "--json"}).out);
    EXPECT_EQ(info["members"], nullptr);
    EXPECT_EQ(info["archive_problem"], "The payload is not in clear.");
    EXPECT_NE(run({"info", path}).out.find("AES-128 (512)"), std::string::npos);

    package.kind = "morvantic";
    write(package);
    const run_result nothing = run({"info", path});
    EXPECT_EQ(nothing.status, 1);
    EXPECT_EQ(nothing.out, "");
}

TEST_F(Read, TextThatControlsATerminalIsShownOnOneOnly) {
    package_builder package = package_with(
        zip_builder{.members = {{.name = "\x1B[2J.sc", .content = ""}}}.build().content);
    package.trailer_text = "\x1B]0;title\a";
    write(package);
    EXPECT_EQ(with_key({"list", path}).out, "\x1B[2J.sc\n");
    EXPECT_EQ(run_on_terminal({"list", path, "--key", public_key()}), "\\x1b[2J.sc\r\n");
    EXPECT_EQ(run_on_terminal({"info", path}).find('\x1B'), std::string::npos);
}

TEST_F(Read, KeysThatAreNone) {
    write(sound_archive());
    const run_result result = run({"verify", path, "--key", private_key()});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("not an RSA public key in PEM form"), std::string::npos)
        << result.err;
    EXPECT_EQ(run({"list", path, "--key", "-"}, {.in = public_key()}).status, 0);
}

} // namespace
