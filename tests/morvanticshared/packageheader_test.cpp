#include "morvanticshared/packageheader.h"

#include "support/package_builder.h"

#include <array>
#include <gtest/gtest.h>

namespace {

using namespace package;
using namespace std::string_literals;
using support::bytes;
using support::deep_stream;
using support::package_builder;

/// Most headers here need no true signature.
package_builder unsigned_package() {
    package_builder package;
    package.signature = bytes(256, 0xAB);
    return package;
}

std::unique_ptr<CHeader> header_of(const bytes& file) { return read_header(*deep_stream(file)); }

// The fields are laid down by the test, read by the class and written by it: all agree.
TEST(HeaderBlock, IsTheLayoutThatIsRead) {
    const bytes expected = unsigned_package().header();
    const auto header = header_of(expected);
    const auto [part_4, part_3, part_2, part_1] = header->version_parts();
    EXPECT_EQ(std::tuple(part_1, part_2, part_3, part_4),
              std::tuple(0x0102, 0x03, 0x04, 0x05060708u));
    EXPECT_EQ(header->aux_value(), 0x090A0B0Cu);
    EXPECT_EQ(header_block(*header), expected);

    header->set_signature(bytes(512));
    header->set_trailer_text(std::string(1024 - 48 - 512 - 1, 't'));
    EXPECT_EQ(header_of(header_block(*header))->trailer_text(), header->trailer_text());
    for (const std::string& text : {header->trailer_text() + "t", "a\0b"s}) {
        header->set_trailer_text(text);
        EXPECT_THROW(header_block(*header), core::exception);
    }
}

TEST(HeaderBlock, RefusesWhatAReaderWouldRefuse) {
    const package_stamp stamp = parse_stamp("2026-03-09-07");
    CHeader kind("MORVANTIX", stamp, encryption_none);
    CHeader date("MORVANTIC", parse_stamp("2016-03-09-07"), encryption_none);
    CHeader encryption("MORVANTIC", stamp, 2048);
    for (CHeader* header : {&kind, &date, &encryption}) {
        header->set_signature(bytes(256));
        EXPECT_THROW(header_block(*header), core::exception);
    }
    EXPECT_THROW(header_block(CHeader("MORVANTIC", stamp, encryption_none)), core::exception);
}

TEST(PackageHeader, SignatureAndTextsTakeWhatThereIs) {
    support::trickle_stream trickle(unsigned_package().build(), 100);
    bytes cut(256); // what a short read leaves out is zero
    std::fill_n(cut.begin(), 52, std::uint8_t{0xAB});
    EXPECT_EQ(read_header(trickle)->signature(), cut);
    // Beyond 984 the limit of the text behind the signature wraps.
    for (const std::uint32_t length : {0u, 976u, 977u, 985u, 0xFFFFFFFFu}) {
        package_builder package;
        package.signature = bytes(std::min<std::size_t>(length, 976), 0xAB);
        package.signature_length = length;
        package.trailer_text = "tail";
        const auto header = header_of(package.build());
        EXPECT_EQ(header->signature(), package.signature) << length;
        EXPECT_EQ(header->trailer_text(), length == 0 ? "tail" : "") << length;
    }
    package_builder package = unsigned_package();
    package.trailer_text = std::string(720, 't'); // fills the block but for the zero byte
    EXPECT_EQ(header_of(package.build())->trailer_text(), "");
    package.stamp = "2026-03-09-0777"; // 14 bytes are passed over, the rest is read as fields
    const auto header = header_of(package.build());
    EXPECT_FALSE(header->stamp().valid);
    EXPECT_EQ(header->version_parts().version_part_1, '7');
}

TEST(PackageStamp, ShapeAndRange) {
    const auto values_of = [](const char* text) {
        const package_stamp stamp = parse_stamp(text);
        return std::array<int, 4>{stamp.year, stamp.month, stamp.day, stamp.sequence};
    };
    for (const char* valid : {"2017-00-00-00", "9999-12-31-99"})
        EXPECT_EQ(stamp_text(parse_stamp(valid)), valid);
    for (const char* out_of_range : {"2016-12-31-00", "2017-13-01-00", "2017-12-32-00"}) {
        EXPECT_TRUE(is_valid_stamp_text(out_of_range)) << out_of_range;
        EXPECT_EQ(stamp_text(parse_stamp(out_of_range)), "") << out_of_range;
    }
    EXPECT_EQ(values_of("2016-12-31-45"), (std::array{2016, 12, 31, 45}));
    for (const char* misshapen : {"2017-1-01-00", "2017-01-01-000", "2017/01/01/00",
                                  "2017-01-01-0a", "+017-01-01-00", ""}) {
        EXPECT_FALSE(parse_stamp(misshapen).valid) << misshapen;
        EXPECT_EQ(values_of(misshapen), (std::array{0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF}));
    }
}

/// Made by "openssl kdf", for packages that others have made must stay readable.
TEST(PackageHeader, KeysAreThoseOfKindAndStamp) {
    bytes key =
        support::from_hex("fddabc2851f5dc58b764ea427a2681400ff1190f598e1797c7c2ff006dab7fe4");
    const bytes iv = support::from_hex("0fb958359783009c3ffed5682e218d55");
    const package_stamp stamp = parse_stamp("2026-11-12-01");
    for (const auto& [type, length] : {std::pair(16192u, 32u), {8096u, 24u}, {512u, 16u}}) {
        key.resize(length);
        const CHeader header("MORVANTIC", stamp, type);
        EXPECT_EQ(std::pair(header.package_key(), header.package_iv()), std::pair(key, iv));
        const CHeader undated("MORVANTIC", parse_stamp("2016-11-12-01"), type);
        EXPECT_EQ(undated.package_key(), bytes(length));
        EXPECT_EQ(undated.package_iv(), bytes(16));
    }
    EXPECT_EQ(CHeader("MORVANTIC", stamp, 1024).package_iv(), bytes());
}

TEST(PackageHeader, WithoutAVersionOrAsACloneLacksFields) {
    CHeader none;
    EXPECT_EQ(none.version_parts().version_part_4, 0xFFFFFFFF);
    EXPECT_EQ(none.encryption_type(), 0u);
    EXPECT_FALSE(none.set_signature(bytes(256)) || none.set_trailer_text("text"));
    EXPECT_EQ(none.clone()->to_bytes(), bytes(1024));
    const auto copy = header_of(unsigned_package().build())->clone();
    EXPECT_EQ(copy->kind(), "");
    EXPECT_EQ(copy->version_parts().version_part_1, 0);
}

TEST(PackageHeader, SignatureHasOneOfFiveLengths) {
    const auto header = header_of(unsigned_package().build());
    std::vector<std::size_t> accepted;
    for (std::size_t length = 0; length != 600; ++length) {
        if (header->set_signature(bytes(length, 1))) accepted.push_back(length);
    }
    EXPECT_EQ(accepted, (std::vector<std::size_t>{160, 224, 256, 384, 512}));
    EXPECT_EQ(header->signature(), bytes(512, 1)) << "a refused one changes nothing";
}

TEST(WrittenHeader, LeavesTheVersionPartsOutAndKeepsToItsRoom) {
    bytes expected = unsigned_package().header();
    expected.erase(expected.begin() + 28, expected.begin() + 36);
    expected.resize(1024);
    const auto header = header_of(unsigned_package().build());
    const support::temp_folder folder;
    EXPECT_TRUE(header->save_to_file(folder.wide_file("header")));
    EXPECT_EQ(support::to_bytes(support::read_file(folder.file("header"))), expected);
    for (const std::wstring& path : {folder.wide_file("no/folder"), L"\xD800"s, L"/dev/full"s})
        EXPECT_FALSE(header->save_to_file(path));

    bytes block(1100, 0xEE);
    EXPECT_EQ(header->write_to(block.data(), 1023), 0u);
    EXPECT_EQ(block, bytes(1100, 0xEE));
    EXPECT_EQ(header->write_to(block.data(), 1024), 312u);
    EXPECT_EQ(block[312], 0xEE) << "the rest of the buffer is left alone";
    header->set_trailer_text(std::string(1024 - 40 - 256 - 1, 't'));
    EXPECT_EQ(header->write_to(block.data(), 1024), 1024u);
    header->set_trailer_text(header->trailer_text() + "t");
    EXPECT_EQ(header->write_to(block.data(), 1024), 0u);
    EXPECT_EQ(block[1024], 0xEE);
    const CHeader invalid("LANGUAGES", parse_stamp("2016-01-01-00"), encryption_none);
    block.assign(1100, 0xEE);
    EXPECT_EQ(invalid.write_to(block.data(), block.size()), 0u);
    EXPECT_EQ(block[14], 0xEE) << "it stops at an invalid stamp";
}

} // namespace
