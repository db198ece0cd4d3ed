#include "run_tool.h"

#include "support/package_builder.h"
#include "support/zip_builder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <tuple>

// info, verify, list and cat on packages whose bytes are laid down here.

namespace {

using namespace tools_test;
using nlohmann::json;
using support::package_builder;
using support::zip_member;

constexpr std::uint16_t utf8_name = 0x800;
const std::string odd_bytes("\0\xFF\n", 3);

support::bytes archive_of(std::vector<zip_member> members) {
    return support::zip_builder{std::move(members)}.build().content;
}

class Read : public testing::Test {
protected:
    Read() {
        package.payload = archive_of({{"b.sc", "::App::Script::{}"},
                                      {"a.sc", "", 0},
                                      {"x/q.xq", "collection()"},
                                      {"p.py", "pass\n", 0},
                                      {"c.xml", "<c/>"},
                                      {"Resources/r.sc", odd_bytes},
                                      {"caf\xE9.py", "raw name"},
                                      {"caf\xC3\xA9.py", "UTF-8 name", 8, utf8_name},
                                      {"folder/", "", 0},
                                      {"notes.txt", "nobody asks"}});
    }

    run_result read(const std::string& command, const std::string& arguments = "") {
        folder.write("test.pkg", package.build());
        return run(command + " " + path + " " + arguments);
    }

    run_result with_key(const std::string& command, const std::string& arguments = "") {
        return read(command, arguments + " --key " + public_key());
    }

    void expect_refused(const std::string& command, const std::string& arguments = "") {
        const run_result result = with_key(command, arguments);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err.find(path), std::string::npos) << result.err;
    }

    /// Verifies what is not sound, and gives the report.
    json verify_in_vain(const std::string& check, const std::string& message) {
        const run_result text = with_key("verify");
        EXPECT_EQ(text.status, 1);
        EXPECT_EQ(text.out, "");
        EXPECT_NE(text.err.find(message), std::string::npos) << text.err;
        const run_result report = with_key("verify", "--json");
        EXPECT_EQ(report.status, 1);
        EXPECT_EQ(json::parse(report.out)["failed_check"], check);
        return json::parse(report.out);
    }

    package_builder package;
    support::temp_folder folder;
    std::string path = folder.file("test.pkg");
};

TEST_F(Read, ListShowsWhatTheEngineServesInItsOrder) {
    // The raw byte is listed as the sign-extended character that the engine makes of it.
    EXPECT_EQ(with_key("list").out, "Resources/r.sc\na.sc\nb.sc\nc.xml\ncaf\xC3\xA9.py\n"
                                    "caf\xEF\xBF\xA9.py\np.py\nx/q.xq\n");
    EXPECT_EQ(json::parse(with_key("list", "--json --kind xml").out),
              json::parse(R"([{"name": "c.xml", "kind": "xml", "size": 4,
                               "packed_size": 6, "method": "deflated"}])"));
    EXPECT_EQ(with_key("list", "--long --kind python").out.find("python "), 0u);
    EXPECT_EQ(read("list", "--key - <" + public_key()).status, 0);
    EXPECT_NE(read("list", "--key " + private_key()).err.find("not an RSA public key in PEM"),
              std::string::npos);
}

TEST_F(Read, CatGivesExactBytesUnderEachName) {
    for (const auto& [name, content] : {std::pair("a.sc", std::string()),
                                        {"Resources/r.sc", odd_bytes},
                                        {"caf\xEF\xBF\xA9.py", "raw name"},
                                        {"caf\xC3\xA9.py", "UTF-8 name"}}) {
        const run_result result = with_key("cat", name);
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.out, content);
    }
    for (const char* name : {"B.sc", "folder/", "notes.txt", "caf\xE9.py"})
        expect_refused("cat", name);
}

TEST_F(Read, VerifyTellsWhatTheSignatureCovers) {
    const json report = json::parse(with_key("verify", "--json").out);
    EXPECT_EQ(report["sound"], true);
    EXPECT_EQ(report["served"]["script"], 2);
    EXPECT_EQ(report["served"]["python"], 3);
    for (const auto& [name, field] : report["fields"].items())
        EXPECT_EQ(field["covered_by_signature"], name == "stamp" || name == "payload") << name;
    EXPECT_EQ(report["fields"]["version_parts"]["value"], "258.3.4.84281096");
    const run_result text = with_key("verify");
    EXPECT_EQ(text.status, 0);
    EXPECT_NE(text.out.find("The package is sound."), std::string::npos);
    const std::string fingerprint = report["key_fingerprint_sha256"];
    EXPECT_NE(text.out.find(fingerprint), std::string::npos);

    package.stamp = "2026-13-09-07";
    package.signed_stamp = "";
    const run_result invalid = with_key("verify");
    EXPECT_EQ(invalid.status, 0);
    EXPECT_NE(invalid.err.find("The stamp is not valid"), std::string::npos) << invalid.err;
    EXPECT_EQ(json::parse(read("info", "--json").out)["fields"]["stamp"],
              json::parse(R"({"value": "2026-13-09-07", "covered_by_signature": false})"));
}

TEST_F(Read, VerifyNamesTheFailedCheckAndTheOthersRefuse) {
    const auto expect_failure = [&](const char* check, const char* message) {
        SCOPED_TRACE(message);
        verify_in_vain(check, message);
        expect_refused("list");
        expect_refused("cat", "b.sc");
    };
    package.header_version = 2;
    expect_failure("header_version", "version is unknown");
    package.header_version = 1;
    package.encryption_type = 2048;
    expect_failure("encryption_type", "type is unknown");
    package.keys = &support::test_keys::stranger();
    expect_failure("signature", "signature does not match");
    package = {};
    expect_failure("archive", "no zip archive");
    package.payload = archive_of({{"\xE9.sc", "", 8, utf8_name}});
    expect_failure("archive", "says that it is UTF-8 and is not");
}

/// Among them is what would keep the engine waiting for ever: the test ends, so it was not asked.
TEST_F(Read, BadMembersAreFoundBeforeTheEngineIsAsked) {
    constexpr std::size_t local_data = 30 + 6; // behind the header and the name
    // The field of the central record, its width and value, and what is said of it.
    const std::tuple<std::size_t, std::size_t, std::uint64_t, const char*> rows[] = {
        {support::central_flags, 2, 1, "it is encrypted"},
        {support::central_method, 2, 12, "its compression method 12 is not supported"},
        {support::central_compressed_size, 4, 9, "its compressed data break off"},
        {support::central_compressed_size, 4, 0, "its compressed data break off"},
        {local_data, 4, 0xFFFFFFFF, "its compressed data are damaged"},
        {support::central_compressed_size, 4, 1 << 20, "its data reach beyond the end"},
        {support::central_offset, 4, 1 << 20, "it lies beyond the end"},
        {support::central_offset, 4, 1, "it is not where the directory"},
        {support::central_crc, 4, 1, "its content does not match its check value"},
        {support::central_size, 4, 2999, "its content has another size"},
    };

    for (const auto& [field, width, value, reason] : rows) {
        SCOPED_TRACE(reason);
        auto archive =
            support::zip_builder{{{"bad.sc", std::string(3000, 'x')}, {"good.sc", "good"}}}.build();
        const auto& headers = field == local_data ? archive.local_headers : archive.central_records;
        archive.put(headers[0] + field, value, width);
        package.payload = archive.content;
        const json report = verify_in_vain("files", std::string("  bad.sc: ") + reason);
        EXPECT_EQ(report["problems"].size(), 1u);
        expect_refused("cat", "bad.sc");
        EXPECT_EQ(with_key("cat", "good.sc").out, "good");
    }
}

TEST_F(Read, InfoGoesAsFarAsItCan) {
    const auto info = [&] { return json::parse(read("info", "--json").out); };
    package.signature = support::to_bytes("no signature");
    EXPECT_EQ(info()["verified"], false);
    EXPECT_EQ(info()["members"]["script"], 2);
    EXPECT_EQ(info()["members"]["unreached"], 1);
    EXPECT_EQ(info()["fields"]["signature"]["value"], 12);
    EXPECT_NE(read("info").out.find("Nothing was verified"), std::string::npos);
    package.encryption_type = 512;
    EXPECT_EQ(info()["archive_problem"], "The payload is no zip archive, or an empty one.");
    EXPECT_NE(read("info").out.find("AES-128 (512)"), std::string::npos);
    package.encryption_type = 2048;
    EXPECT_EQ(info()["members"], nullptr);
    EXPECT_EQ(info()["archive_problem"], "The encryption type is unknown.");
    package.kind = "morvantic";
    EXPECT_EQ(read("info").status, 1);
    EXPECT_EQ(read("info").out, "");
}

TEST_F(Read, TextThatControlsATerminalIsShownOnOneOnly) {
    package.payload = archive_of({{"\x1B[2J.sc", ""}});
    package.trailer_text = "\x1B]0;title\a";
    EXPECT_EQ(with_key("list").out, "\x1B[2J.sc\n");
    EXPECT_EQ(run_on_terminal("list " + path + " --key " + public_key()), "\\x1b[2J.sc\r\n");
    EXPECT_EQ(run_on_terminal("info " + path).find('\x1B'), std::string::npos);
}

} // namespace
