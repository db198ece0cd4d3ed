#include "morvanticshared/packageheader.h"

#include "support/log_capture.h"
#include "support/package_builder.h"

#include <gtest/gtest.h>

namespace {

using namespace package;
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
    EXPECT_EQ(header->stamp().year, 2026);
    EXPECT_EQ(header->stamp().month, 3);
    EXPECT_EQ(header->stamp().day, 9);
    EXPECT_EQ(header->stamp().sequence, 7);
    EXPECT_TRUE(header->stamp().valid);
    EXPECT_EQ(header->stamp_text(), "2026-03-09-07");
    EXPECT_EQ(header->version_parts().version_part_1, 0x0102);
    EXPECT_EQ(header->version_parts().version_part_2, 0x03);
    EXPECT_EQ(header->version_parts().version_part_3, 0x04);
    EXPECT_EQ(header->version_parts().version_part_4, 0x05060708u);
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

/// Where a signature of a given length in the header leaves the text behind it.
struct length_row {
    const char* name;
    std::uint32_t length;
    std::size_t bytes_read;
    const char* trailer;
};

constexpr length_row lengths[] = {
    {"none", 0, 0, "tail"},        {"whole_room", 976, 976, ""},
    {"one_beyond", 977, 976, ""},  {"no_limit_left_for_the_text", 984, 976, ""},
    {"limit_wraps", 985, 976, ""}, {"all_ones", 0xFFFFFFFF, 976, ""},
};

TEST(PackageHeader, SignatureTakesWhatThereIs) {
    for (const length_row& row : lengths) {
        package_builder package;
        package.signature = bytes(std::min<std::size_t>(row.length, 976), 0xAB);
        package.signature_length = row.length;
        package.trailer_text = "tail";
        const auto header = header_of(package.build());
        ASSERT_NE(header, nullptr);
        EXPECT_EQ(header->signature(), bytes(row.bytes_read, 0xAB)) << row.name;
        EXPECT_EQ(header->trailer_text(), row.trailer) << row.name;
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

struct stamp_row {
    const char* text;
    bool has_shape;
    bool valid;
};

constexpr stamp_row stamps[] = {
    {"2017-01-01-00", true, true},    {"2017-00-00-00", true, true},
    {"9999-12-31-99", true, true},    {"2016-12-31-00", true, false},
    {"2017-13-01-00", true, false},   {"2017-12-32-00", true, false},
    {"0000-00-00-00", true, false},   {"2017-1-01-00", false, false},
    {"2017-01-01-000", false, false}, {"2017/01/01/00", false, false},
    {"2017-01-01-0a", false, false},  {"+017-01-01-00", false, false},
    {"2017-01-01 00", false, false},  {"", false, false},
};

TEST(PackageStamp, ShapeAndRange) {
    for (const stamp_row& row : stamps) {
        const package_stamp stamp = parse_stamp(row.text);
        EXPECT_EQ(is_valid_stamp_text(row.text), row.has_shape) << row.text;
        EXPECT_EQ(stamp.valid, row.valid) << row.text;
        EXPECT_EQ(stamp_text(stamp), row.valid ? row.text : "") << row.text;
        if (!row.has_shape) {
            for (const int part : {stamp.year, stamp.month, stamp.day, stamp.sequence})
                EXPECT_EQ(part, 0xFFFF) << row.text;
        }
    }
    EXPECT_EQ(parse_stamp("2016-12-31-45").sequence, 45) << "an invalid stamp keeps its numbers";
}

TEST(PackageHeader, CloneLeavesKindAndVersionPartsBehind) {
    const auto source = header_of(unsigned_package().build());
    const auto copy = source->clone();
    EXPECT_EQ(copy->kind(), "");
    EXPECT_EQ(copy->version_parts().version_part_1, 0);
    EXPECT_EQ(copy->version_parts().version_part_4, 0u);
    EXPECT_EQ(copy->stamp_text(), source->stamp_text());
    EXPECT_EQ(copy->aux_value(), source->aux_value());
    EXPECT_EQ(copy->encryption_type(), source->encryption_type());
    EXPECT_EQ(copy->signature(), source->signature());
    EXPECT_EQ(copy->trailer_text(), source->trailer_text());
}

TEST(PackageHeader, WithoutAVersionThereIsNothing) {
    CHeader header;
    EXPECT_EQ(header.stamp_text(), "");
    EXPECT_EQ(header.version_parts().version_part_1, 0xFFFF);
    EXPECT_EQ(header.version_parts().version_part_4, 0xFFFFFFFF);
    EXPECT_EQ(header.encryption_type(), 0u);
    EXPECT_TRUE(header.signature().empty());
    EXPECT_FALSE(header.set_signature(bytes(256)));
    EXPECT_FALSE(header.set_trailer_text("text"));
    EXPECT_EQ(header.clone()->encryption_type(), 0u);
    EXPECT_EQ(header.to_bytes(), bytes(1024));
}

TEST(PackageHeader, SignatureHasOneOfFiveLengths) {
    const auto header = header_of(unsigned_package().build());
    for (std::size_t length = 0; length != 600; ++length) {
        const bool fits =
            length == 160 || length == 224 || length == 256 || length == 384 || length == 512;
        const bytes before = header->signature();
        EXPECT_EQ(header->set_signature(bytes(length, 1)), fits) << length;
        EXPECT_EQ(header->signature(), fits ? bytes(length, 1) : before) << length;
    }
}

class WrittenHeader : public testing::Test {
protected:
    std::size_t written_in(std::size_t room) { return header->write_to(block.data(), room); }

    std::unique_ptr<CHeader> header = header_of(unsigned_package().build());
    bytes block = bytes(1100, 0xEE);
};

TEST_F(WrittenHeader, LeavesTheVersionPartsOut) {
    bytes expected = unsigned_package().header();
    expected.erase(expected.begin() + 28, expected.begin() + 36);
    expected.resize(40 + 256 + 16);
    EXPECT_EQ(written_in(1024), expected.size());
    EXPECT_EQ(block[expected.size()], 0xEE) << "the rest of the buffer is left alone";
    EXPECT_EQ(bytes(block.begin(), block.begin() + 312), expected);

    const support::temp_folder folder;
    expected.resize(1024);
    EXPECT_EQ(header->to_bytes(), expected);
    EXPECT_TRUE(header->save_to_file(folder.wide_file("header")));
    EXPECT_EQ(to_bytes(support::read_file(folder.file("header"))), expected);
    EXPECT_FALSE(header->save_to_file(folder.wide_file("no/folder")));
    EXPECT_FALSE(header->save_to_file(L"\xD800"));
    EXPECT_FALSE(header->save_to_file(L"/dev/full"));
}

TEST_F(WrittenHeader, DoesNotLeaveItsRoom) {
    EXPECT_EQ(written_in(1023), 0u);
    EXPECT_EQ(block, bytes(1100, 0xEE));

    header->set_trailer_text(std::string(1024 - 40 - 256 - 1, 't'));
    EXPECT_EQ(written_in(1024), 1024u);
    header->set_trailer_text(std::string(1024 - 40 - 256, 't'));
    EXPECT_EQ(written_in(1024), 0u);
    EXPECT_EQ(block[1024], 0xEE);
    EXPECT_EQ(written_in(1025), 1025u);
}

TEST_F(WrittenHeader, StopsAtAnInvalidStamp) {
    const CHeader invalid("LANGUAGES", parse_stamp("2016-01-01-00"), encryption_none);
    EXPECT_EQ(invalid.write_to(block.data(), block.size()), 0u);
    EXPECT_EQ(bytes(block.begin(), block.begin() + 15),
              to_bytes(std::string_view("LANGUAGES\0\1\0\0\0\xEE", 15)));
}

TEST(HeaderBlock, IsTheLayoutThatIsRead) {
    const bytes expected = unsigned_package().header();
    EXPECT_EQ(header_block(*header_of(expected)), expected);

    CHeader made("MORVANTIC", parse_stamp("2026-03-09-07"), encryption_none,
                 {0x05060708, 0x04, 0x03, 0x0102}, 0x090A0B0C);
    made.set_signature(bytes(256, 0xAB));
    made.set_trailer_text("made for a test");
    EXPECT_EQ(header_block(made), expected);

    made.set_signature(bytes(512));
    made.set_trailer_text(std::string(1024 - 48 - 512 - 1, 't'));
    EXPECT_EQ(header_of(header_block(made))->trailer_text(), made.trailer_text());
    made.set_trailer_text(made.trailer_text() + "t");
    EXPECT_THROW(header_block(made), core::exception);
    made.set_trailer_text(std::string("a\0b", 3));
    EXPECT_THROW(header_block(made), core::exception);
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
