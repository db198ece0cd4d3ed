#include "morvanticshared/packageheader.h"

#include "support/log_capture.h"
#include "support/package_builder.h"

#include <array>
#include <gtest/gtest.h>
#include <tuple>

namespace {

using namespace package;
using namespace std::string_literals;
using support::bytes;
using support::deep_stream;
using support::package_builder;
using support::to_bytes;

/// Most headers here need no true signature.
package_builder unsigned_package() {
    package_builder package;
    package.signature = bytes(256, 0xAB);
    return package;
}

std::unique_ptr<CHeader> header_of(const bytes& file) { return read_header(*deep_stream(file)); }

TEST(PackageHeader, EveryFieldIsReadFromItsPlace) {
    const auto header = header_of(unsigned_package().build());
    ASSERT_NE(header, nullptr);
    EXPECT_EQ(header->kind(), "MORVANTIC");
    EXPECT_EQ(header->stamp_text(), "2026-03-09-07");
    const auto [part_4, part_3, part_2, part_1] = header->version_parts();
    EXPECT_EQ(std::tuple(part_1, part_2, part_3, part_4),
              std::tuple(0x0102, 0x03, 0x04, 0x05060708u));
    EXPECT_EQ(header->aux_value(), 0x090A0B0Cu);
    EXPECT_EQ(header->encryption_type(), 1024u);
    EXPECT_EQ(header->signature(), bytes(256, 0xAB));
    EXPECT_EQ(header->trailer_text(), "made for a test");
}

TEST(PackageHeader, BytesThatAShortReadLeavesOutAreZero) {
    const support::log_capture log;
    support::trickle_stream trickle(unsigned_package().build(), 100);
    const auto header = read_header(trickle);
    EXPECT_EQ(log.count("[ASSERT] read == header_buffer.size()"), 1);
    ASSERT_NE(header, nullptr);
    bytes expected(256, 0);
    std::fill_n(expected.begin(), 52, std::uint8_t{0xAB});
    EXPECT_EQ(header->signature(), expected);
    EXPECT_EQ(header->trailer_text(), "");
}

TEST(PackageHeader, SignatureTakesWhatThereIs) {
    // Beyond 984 the limit of the text behind the signature wraps.
    for (const std::uint32_t length : {0u, 976u, 977u, 984u, 985u, 0xFFFFFFFFu}) {
        const bytes there(std::min<std::size_t>(length, 976), 0xAB);
        package_builder package;
        package.signature = there;
        package.signature_length = length;
        package.trailer_text = "tail";
        const auto header = header_of(package.build());
        ASSERT_NE(header, nullptr);
        EXPECT_EQ(header->signature(), there) << length;
        EXPECT_EQ(header->trailer_text(), length == 0 ? "tail" : "") << length;
    }
}

TEST(PackageHeader, TextWithoutItsEndComesBackEmpty) {
    package_builder package = unsigned_package();
    package.trailer_text = std::string(720, 't'); // fills the block but for the zero byte
    EXPECT_EQ(header_of(package.build())->trailer_text(), "") << "no zero byte before the end";
    package.trailer_text.pop_back();
    EXPECT_EQ(header_of(package.build())->trailer_text(), package.trailer_text);

    package.stamp = "2026-03-09-0777"; // 14 bytes are passed over, the rest is read as fields
    const auto header = header_of(package.build());
    ASSERT_NE(header, nullptr);
    EXPECT_FALSE(header->stamp().valid);
    EXPECT_EQ(header->stamp().year, 0xFFFF);
    EXPECT_EQ(header->version_parts().version_part_1, '7');
}

TEST(PackageStamp, ShapeAndRange) {
    const auto values_of = [](const package_stamp& stamp) {
        return std::array<int, 4>{stamp.year, stamp.month, stamp.day, stamp.sequence};
    };
    for (const char* valid : {"2017-01-01-00", "2017-00-00-00", "9999-12-31-99"}) {
        EXPECT_TRUE(parse_stamp(valid).valid) << valid;
        EXPECT_EQ(stamp_text(parse_stamp(valid)), valid);
    }
    for (const char* out_of_range : {"2016-12-31-00", "2017-13-01-00", "2017-12-32-00"}) {
        EXPECT_TRUE(is_valid_stamp_text(out_of_range)) << out_of_range;
        EXPECT_FALSE(parse_stamp(out_of_range).valid) << out_of_range;
        EXPECT_EQ(stamp_text(parse_stamp(out_of_range)), "") << out_of_range;
    }
    EXPECT_EQ(values_of(parse_stamp("2016-12-31-45")), (std::array{2016, 12, 31, 45}));
    for (const char* misshapen : {"2017-1-01-00", "2017-01-01-000", "2017/01/01/00",
                                  "2017-01-01-0a", "+017-01-01-00", "2017-01-01 00", ""}) {
        EXPECT_FALSE(is_valid_stamp_text(misshapen)) << misshapen;
        EXPECT_FALSE(parse_stamp(misshapen).valid) << misshapen;
        EXPECT_EQ(values_of(parse_stamp(misshapen)), (std::array{0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF}));
    }
}

TEST(PackageHeader, CloneLeavesKindAndVersionPartsBehind) {
    const auto source = header_of(unsigned_package().build());
    const auto copy = source->clone();
    EXPECT_EQ(copy->kind(), "");
    EXPECT_EQ(copy->version_parts().version_part_1, 0);
    EXPECT_EQ(copy->version_parts().version_part_4, 0u);
    EXPECT_EQ(copy->stamp_text(), source->stamp_text());
    EXPECT_EQ(copy->aux_value(), source->aux_value());
    EXPECT_EQ(copy->signature(), source->signature());
    EXPECT_EQ(copy->trailer_text(), source->trailer_text());
}

TEST(PackageHeader, WithoutAVersionThereIsNothing) {
    CHeader header;
    EXPECT_EQ(header.stamp_text(), "");
    EXPECT_EQ(header.version_parts().version_part_4, 0xFFFFFFFF);
    EXPECT_EQ(header.encryption_type(), 0u);
    EXPECT_FALSE(header.set_signature(bytes(256)));
    EXPECT_FALSE(header.set_trailer_text("text"));
    EXPECT_EQ(header.clone()->encryption_type(), 0u);
    EXPECT_EQ(header.to_bytes(), bytes(1024));
}

TEST(PackageHeader, SignatureHasOneOfFiveLengths) {
    const auto header = header_of(unsigned_package().build());
    std::vector<std::size_t> accepted;
    for (std::size_t length = 0; length != 600; ++length) {
        if (header->set_signature(bytes(length, 1))) accepted.push_back(length);
        EXPECT_EQ(header->signature().size(), accepted.empty() ? 256 : accepted.back()) << length;
    }
    EXPECT_EQ(accepted, (std::vector<std::size_t>{160, 224, 256, 384, 512}));
}

TEST(WrittenHeader, LeavesTheVersionPartsOut) {
    bytes expected = unsigned_package().header();
    expected.erase(expected.begin() + 28, expected.begin() + 36);
    expected.resize(1024);
    const auto header = header_of(unsigned_package().build());
    EXPECT_EQ(header->to_bytes(), expected);
    const support::temp_folder folder;
    EXPECT_TRUE(header->save_to_file(folder.wide_file("header")));
    EXPECT_EQ(to_bytes(support::read_file(folder.file("header"))), expected);
    for (const std::wstring& path : {folder.wide_file("no/folder"), L"\xD800"s, L"/dev/full"s})
        EXPECT_FALSE(header->save_to_file(path));
}

TEST(WrittenHeader, DoesNotLeaveItsRoom) {
    const auto header = header_of(unsigned_package().build());
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
}

TEST(WrittenHeader, StopsAtAnInvalidStamp) {
    bytes block(1024, 0xEE);
    const CHeader invalid("LANGUAGES", parse_stamp("2016-01-01-00"), encryption_none);
    EXPECT_EQ(invalid.write_to(block.data(), block.size()), 0u);
    EXPECT_EQ(block[14], 0xEE);
}

TEST(HeaderBlock, IsTheLayoutThatIsRead) {
    const bytes expected = unsigned_package().header();
    const auto made = header_of(expected);
    EXPECT_EQ(header_block(*made), expected);

    made->set_signature(bytes(512));
    made->set_trailer_text(std::string(1024 - 48 - 512 - 1, 't'));
    EXPECT_EQ(header_of(header_block(*made))->trailer_text(), made->trailer_text());
    made->set_trailer_text(made->trailer_text() + "t");
    EXPECT_THROW(header_block(*made), core::exception);
    made->set_trailer_text("a\0b"s);
    EXPECT_THROW(header_block(*made), core::exception);
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
    EXPECT_THROW(header_block(CHeader()), core::exception);
}

} // namespace
