#include "core_compress/zipstreamdirectory.h"

#include "support/fuel_stream.h"
#include "support/log_capture.h"
#include "support/rows.h"
#include "support/temp_folder.h"
#include "support/zip_builder.h"

#include "core/bufferedinputstream.h"
#include "core/winapifileinputstream.h"

#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <optional>

namespace support {

namespace {

using core::CZipStreamDirectory;

/// Lets a test see how the listing ended.
class listed_archive : public CZipStreamDirectory {
public:
    using CZipStreamDirectory::CZipStreamDirectory;

    int how_it_ended() const { return status; }
};

/// The archive in memory, on a stream that seeks to its very end as a file does.
core::input_stream_ptr stream_of(const bytes& content, std::shared_ptr<fuel_tank> tank = nullptr) {
    if (!tank) tank = std::make_shared<fuel_tank>();
    return std::make_unique<fuel_stream>(content, std::move(tank));
}

listed_archive archive_of(const zip_builder& builder) {
    return listed_archive(stream_of(builder.build().content));
}

std::vector<std::wstring> names_in(const core::directory& archive) {
    std::vector<std::wstring> names;
    for (auto entry = archive.search(true); entry; ++entry)
        names.push_back((*entry)->path());
    return names;
}

std::optional<std::string> content_at(const core::directory& archive, const std::wstring& path) {
    const core::input_stream_ptr stream = archive.open(path);
    if (!stream) return std::nullopt;
    return stream->read_string(stream->size() + 1);
}

const std::string some_text = std::string(3000, 'x') + "the end";

zip_member stored(std::string name, std::string content = some_text) {
    return {std::move(name), std::move(content), 0};
}

zip_member deflated_member(std::string name, std::string content = some_text) {
    return {std::move(name), std::move(content)};
}

// ---------------------------------------------------------------------------------- reading

struct layout {
    const char* name;
    std::size_t prefix = 0;
    std::size_t comment = 0;
    std::string local_extra{};
    std::string central_extra{};
    unsigned zip64 = zip64_none;
    bool zip64_end = false;
};

class ZipLayout : public testing::TestWithParam<layout> {};

const std::string extra_field("\x55\x54\x03\0abc", 7);

} // namespace

TEST_P(ZipLayout, EveryMemberIsReadInFull) {
    zip_builder builder;
    builder.members = {stored("a.sc"), deflated_member("b/c.sc"), stored("b/empty", ""),
                       deflated_member("b/empty too", ""),
                       deflated_member("z", std::string(70000, 'z'))};
    builder.prefix = bytes(GetParam().prefix, 'P');
    builder.comment.assign(GetParam().comment, 'c');
    builder.zip64_end = GetParam().zip64_end;
    for (zip_member& member : builder.members) {
        member.local_extra = GetParam().local_extra;
        member.central_extra = GetParam().central_extra;
        member.comment = GetParam().central_extra;
        member.zip64 = GetParam().zip64;
    }
    const temp_folder folder;
    folder.write("archive", builder.build().content);
    const std::wstring path = folder.wide_file("archive");
    const auto check = [&](core::input_stream_ptr source) {
        const listed_archive archive(std::move(source));
        EXPECT_EQ(archive.how_it_ended(), 0);
        ASSERT_EQ(names_in(archive).size(), builder.members.size());
        for (const zip_member& member : builder.members) {
            const std::wstring name(member.name.begin(), member.name.end());
            ASSERT_TRUE(archive.exists(name));
            EXPECT_EQ(archive.get_info(name)->size(), member.content.size());
            EXPECT_EQ(content_at(archive, name), member.content) << member.name;
        }
    };
    check(std::make_unique<core::CWApiFileInputStream>(path));
    check(stream_of(builder.build().content));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ZipLayout,
    testing::Values(layout{"Plain"}, layout{"OneByteInFront", 1}, layout{"ManyBytesInFront", 800},
                    layout{"LongComment", 0, 60000}, layout{"LocalExtra", 0, 0, extra_field},
                    layout{"CentralExtra", 0, 0, "", extra_field},
                    layout{"Zip64Values", 0, 0, "", "", zip64_all},
                    layout{"Zip64Offset", 0, 0, "", "", zip64_offset},
                    layout{"Zip64CompressedSize", 0, 0, "", "", zip64_compressed},
                    layout{"Zip64BehindOtherExtraAndPrefix", 77, 0, "", extra_field,
                           zip64_uncompressed | zip64_offset},
                    layout{"Zip64EndRecord", 0, 0, "", "", zip64_none, true}),
    row_name);

TEST(ZipStreamDirectory, LocalLengthsAcrossABufferEnd) {
    // The name length stands at 26: the buffer's end falls between its two bytes.
    const temp_folder folder;
    folder.write("archive", zip_builder{{stored("name")}}.build().content);
    const CZipStreamDirectory archive(std::make_unique<core::buffered_input_stream>(
        std::make_unique<core::CWApiFileInputStream>(folder.wide_file("archive")), 27));
    const auto member = archive.open(L"name");
    ASSERT_NE(member, nullptr);
    EXPECT_EQ(member->read_string(some_text.size()), some_text);
}

TEST(ZipStreamDirectory, StoredMemberIsAViewOfItsOwn) {
    const auto archive = archive_of({{stored("a", "first"), stored("b", "second")}});
    const auto member = archive.open(L"a");
    EXPECT_EQ(member->size(), 5u);
    EXPECT_EQ(member->pos(), 0u);
    EXPECT_EQ(member->read_string(100), "first") << "what follows in the archive is out of reach";
    const auto beside = archive.open(L"b");
    EXPECT_TRUE(member->set_pos(1));
    EXPECT_EQ(beside->read_string(3), "sec");
    EXPECT_EQ(member->clone()->read_string(3), "irs");
}

// ---------------------------------------------------------------------------------- listing

TEST(ZipStreamDirectory, ListsFilesInOrderOfTheirNames) {
    const auto archive = archive_of({{stored("b/"),
                                      stored("b/y"),
                                      stored("B"),
                                      stored("b"),
                                      deflated_member("a/"),
                                      {"\xF0\x9F\x98\x80", "", 0, 0x800},
                                      {"\xEF\xBD\x9E", "", 0, 0x800}}});
    EXPECT_EQ(names_in(archive),
              (std::vector<std::wstring>{L"B", L"b", L"b/y", L"\U0001F600", L"\uFF5E"}))
        << "by 16-bit units";
    EXPECT_FALSE(archive.exists(L"b/"));
    EXPECT_FALSE(archive.exists(L"B/Y"));
    EXPECT_TRUE(archive.exists(L"\xD83D\xDE00")) << "a pair is the one code point";
}

TEST(ZipStreamDirectory, FirstOfTwoMembersWithOneNameStays) {
    const log_capture log;
    const auto archive = archive_of({{stored("a", "first"), stored("b"), stored("a", "second")}});
    EXPECT_EQ(log.count("[ASSERT] false"), 1);
    EXPECT_EQ(names_in(archive).size(), 2u);
    EXPECT_EQ(content_at(archive, L"a"), "first");
}

namespace {

struct name_case {
    const char* name;
    std::string stored_name;
    std::uint16_t flags;
    std::optional<std::wstring> listed; // empty: "bad conversion"
};

class ZipNames : public testing::TestWithParam<name_case> {};

} // namespace

TEST_P(ZipNames, AreDecodedByTheirFlag) {
    const auto& [name, stored_name, flags, listed] = GetParam();
    const zip_builder builder{{{stored_name, "x", 0, flags}}};
    if (listed) {
        EXPECT_EQ(names_in(archive_of(builder)), std::vector<std::wstring>{*listed});
        return;
    }
    try {
        archive_of(builder);
        FAIL() << "no exception";
    } catch (const std::range_error& failure) {
        EXPECT_STREQ(failure.what(), "bad conversion");
    }
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ZipNames,
    testing::Values(
        name_case{"Utf8", "\xC3\xA9\xE4\xBD\xA0", 0x800, L"\u00E9\u4F60"},
        name_case{"BytesAreSignExtended", "a\xE9\x7F\x80", 0, L"a\xFFE9\x7F\xFF80"},
        name_case{"CutAtAZero", std::string("a\0b", 3), 0, L"a"},
        name_case{"LongestWithRoomForAZero", std::string(4095, 'n'), 0, std::wstring(4095, L'n')},
        name_case{"FillsTheBuffer", std::string(4096, 'n'), 0, std::wstring(4096, L'n')},
        name_case{"LongerThanTheBuffer", std::string(5000, 'n'), 0, std::wstring(4096, L'n')},
        name_case{"CutInsideACharacter", std::string(4095, 'n') + "\xC3\xA9", 0x800, {}},
        name_case{"StrayByte", "a\xE9", 0x800, {}}, name_case{"Truncated", "ab\xF0\x9F", 0x800, {}},
        name_case{"Overlong", "\xC0\xAF", 0x800, {}},
        name_case{"Surrogate", "\xED\xA0\x80", 0x800, {}},
        name_case{"BeyondUnicode", "\xF4\x90\x80\x80", 0x800, {}}),
    row_name);

namespace {

struct broken_archive {
    const char* name;
    bytes content;
    int status;
    std::vector<std::wstring> listed;
};

class ZipBroken : public testing::TestWithParam<broken_archive> {};

bytes three_members_but(std::size_t damaged, std::size_t field, std::uint64_t value) {
    zip_archive archive = zip_builder{{stored("a"), stored("b"), stored("c")}}.build();
    archive.put(archive.central_records[damaged] + field, value, 2);
    return archive.content;
}

} // namespace

TEST_P(ZipBroken, ListsWhatItCan) {
    const log_capture log;
    const listed_archive archive(stream_of(GetParam().content));
    EXPECT_EQ(archive.how_it_ended(), GetParam().status);
    EXPECT_EQ(names_in(archive), GetParam().listed);
    EXPECT_FALSE(archive.exists(L"c"));
    EXPECT_EQ(archive.open(L"c"), nullptr);
    EXPECT_EQ(archive.get_info(L"c"), nullptr);
    EXPECT_TRUE(log.lines().empty());
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ZipBroken,
    testing::Values(
        broken_archive{"Empty", {}, 2, {}},
        broken_archive{"NotAnArchive", counted_bytes(5000), 2, {}},
        broken_archive{"EmptyArchive", zip_builder{}.build().content, 2, {}},
        broken_archive{"EmptyArchiveBehindAByte", zip_builder{{}, bytes(1)}.build().content, 0, {}},
        broken_archive{"SecondRecordWithoutSignature", three_members_but(1, 0, 0), 0, {L"a"}},
        broken_archive{"LastNameReachesOverTheEnd",
                       three_members_but(2, central_name_length, 300),
                       3,
                       {L"a", L"b"}}),
    row_name);

TEST(ZipStreamDirectory, SourceThatNeverSeeksToItsEndIsNoArchive) {
    const bytes content = zip_builder{{stored("a")}}.build().content;
    EXPECT_EQ(listed_archive(deep_stream(content)).how_it_ended(), 2);
    const listed_archive nothing(nullptr);
    EXPECT_EQ(nothing.how_it_ended(), 2);
    EXPECT_EQ(nothing.open(L"a"), nullptr);
    EXPECT_FALSE(nothing.search(true));
}

namespace {

zip_builder many_members(std::size_t count) {
    zip_builder builder;
    for (std::size_t i = 0; i != count; ++i)
        builder.members.push_back(stored("scripts/member " + std::to_string(i) + ".sc", "x"));
    return builder;
}

} // namespace

TEST(ZipStreamDirectory, ListingAsksTheStreamForLargeBlocks) {
    const auto tank = std::make_shared<fuel_tank>();
    const CZipStreamDirectory archive(stream_of(many_members(5000).build().content, tank));
    EXPECT_EQ(names_in(archive).size(), 5000u);
    EXPECT_LE(tank->reads, 30u);
}

TEST(ZipStreamDirectory, StreamThatFailsInTheListing) {
    const bytes content = many_members(2000).build().content;
    const auto whole = std::make_shared<fuel_tank>();
    const CZipStreamDirectory complete(stream_of(content, whole));
    const std::uint64_t needed = std::numeric_limits<std::uint64_t>::max() - whole->left;
    for (std::uint64_t budget = 0; budget < needed; budget += needed / 12 + 1) {
        const auto tank = std::make_shared<fuel_tank>(fuel_tank{budget});
        const log_capture log;
        const CZipStreamDirectory archive(stream_of(content, tank));
        EXPECT_LT(names_in(archive).size(), 2000u) << budget;
        EXPECT_FALSE(log.lines().empty());
        EXPECT_TRUE(log.lines().front().text.ends_with("out of fuel"));
    }
}

// ---------------------------------------------------------------------------------- opening

namespace {

struct unopenable {
    const char* name;
    bool in_local_header;
    zip_field field;
    std::int64_t value; // below 0: counted from the archive's end
    std::vector<std::string> lines;
};

class ZipUnopenable : public testing::TestWithParam<unopenable> {};

const std::vector<std::string> internal_error = {"ERROR zipstreamdirectory: Internal error.",
                                                 "Debug debug: [ASSERT] false"};

} // namespace

TEST_P(ZipUnopenable, IsListedButNotOpened) {
    zip_archive damaged = zip_builder{{deflated_member("m")}}.build();
    const auto& [name, in_local_header, field, value, lines] = GetParam();
    const std::size_t header =
        in_local_header ? damaged.local_headers[0] : damaged.central_records[0];
    damaged.put(header + field,
                static_cast<std::uint64_t>(value) + (value < 0 ? damaged.content.size() : 0),
                field == central_offset ? 4 : 2);
    const CZipStreamDirectory archive(stream_of(damaged.content));
    const log_capture log;
    EXPECT_TRUE(archive.exists(L"m"));
    EXPECT_EQ(archive.get_info(L"m")->size(), some_text.size());
    EXPECT_EQ(archive.open(L"m"), nullptr);
    EXPECT_EQ(log.summary(), lines);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ZipUnopenable,
    testing::Values(
        unopenable{
            "Encrypted", false, central_flags, 1, {"Info zipstreamdirectory: file encrypted: m"}},
        unopenable{"Method",
                   false,
                   central_method,
                   12,
                   {"Info zipstreamdirectory: Unsupported compression method: 12",
                    "Debug debug: [ASSERT] false"}},
        unopenable{"OffsetBehindTheArchive", false, central_offset, 1000000, internal_error},
        unopenable{"OffsetMissingInZip64", false, central_offset, 0xFFFFFFFF, internal_error},
        unopenable{"LocalNameOverTheEnd", true, local_name_length, 60000, internal_error}),
    row_name);

TEST(ZipStreamDirectory, LocalHeaderCutAtItsLengthsThrowsAsATypedRead) {
    for (const std::uint64_t bytes_left : {26u, 29u}) {
        zip_archive cut = zip_builder{{deflated_member("m")}}.build();
        cut.put(cut.central_records[0] + central_offset, cut.content.size() - bytes_left, 4);
        const CZipStreamDirectory archive(stream_of(cut.content));
        EXPECT_THROW(archive.open(L"m"), core::exception) << bytes_left;
    }
}

TEST(ZipStreamDirectory, FailedCloneNamesTheMethod) {
    const auto tank = std::make_shared<fuel_tank>();
    const CZipStreamDirectory archive(
        stream_of(zip_builder{{deflated_member("m")}}.build().content, tank));
    tank->left = 0;
    const log_capture log;
    EXPECT_EQ(archive.open(L"m"), nullptr);
    EXPECT_EQ(log.summary(), (std::vector<std::string>{
                                 "Info zipstreamdirectory: Unsupported compression method: 8",
                                 "Debug debug: [ASSERT] false"}));
}

TEST(ZipStreamDirectory, SizeBeyondTheArchiveRunsToItsEnd) {
    zip_archive damaged = zip_builder{{stored("m", "data")}}.build();
    damaged.put(damaged.central_records[0] + central_compressed_size, 1000000, 4);
    const CZipStreamDirectory archive(stream_of(damaged.content));
    const log_capture log;
    const auto member = archive.open(L"m");
    ASSERT_NE(member, nullptr);
    EXPECT_EQ(log.summary(), std::vector<std::string>{"Debug debug: [ASSERT] rc"});
    EXPECT_EQ(member->size(), damaged.content.size() - damaged.central_records[0] + 4);
    EXPECT_EQ(member->read_string(6), "dataPK");
}

// ---------------------------------------------------------------------------------- entries

namespace {

/// Puts the process into a time zone for a while.
class time_zone {
public:
    explicit time_zone(const char* zone) { set(zone); }

    ~time_zone() { set("UTC0"); }

private:
    static void set(const char* zone) {
        setenv("TZ", zone, 1);
        tzset();
    }
};

constexpr const char* central_europe = "CET-1CEST,M3.5.0,M10.5.0/3";

constexpr std::uint32_t dos(unsigned year, unsigned month, unsigned day, unsigned hour,
                            unsigned minute, unsigned second) {
    return (year - 1980) << 25 | month << 21 | day << 16 | hour << 11 | minute << 5 | second / 2;
}

struct date_case {
    const char* name;
    std::uint32_t dos_date;
    const char* zone;
    std::uint64_t seconds; // 0: not a date
};

class ZipDates : public testing::TestWithParam<date_case> {};

} // namespace

TEST_P(ZipDates, AreLocalTime) {
    zip_member member = stored("m");
    member.dos_date = GetParam().dos_date;
    const auto archive = archive_of({{member}});
    const auto info = archive.get_info(L"m");
    const time_zone zone(GetParam().zone);
    const log_capture log;
    EXPECT_EQ(info->creation_time(), GetParam().seconds);
    EXPECT_EQ(info->modification_time(), GetParam().seconds);
    EXPECT_EQ(info->access_time(), GetParam().seconds);
    const std::string warning =
        "Warning zipstreamdirectory: Invalid dos date: " + std::to_string(member.dos_date);
    EXPECT_EQ(log.summary(), GetParam().seconds == 0 ? std::vector<std::string>(3, warning)
                                                     : std::vector<std::string>());
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ZipDates,
    testing::Values(
        date_case{"Utc", dos(2026, 11, 12, 8, 15, 30), "UTC0", 1794471330},
        date_case{"WinterTime", dos(2026, 11, 12, 8, 15, 30), central_europe, 1794471330 - 3600},
        date_case{"SummerTime", dos(2026, 7, 12, 8, 15, 30), central_europe, 1783844130 - 7200},
        date_case{"Earliest", dos(1980, 1, 1, 0, 0, 0), "UTC0", 315532800},
        date_case{"Latest", dos(2107, 12, 31, 23, 59, 58), "UTC0", 4354819198},
        date_case{"MonthZero", 0, "UTC0", 0},
        date_case{"MonthThirteen", dos(2026, 13, 1, 0, 0, 0), "UTC0", 0},
        date_case{"DayZero", dos(2026, 1, 0, 0, 0, 0), "UTC0", 0},
        date_case{"HourTwentyFour", dos(2026, 1, 1, 24, 0, 0), "UTC0", 0},
        date_case{"MinuteSixty", dos(2026, 1, 1, 0, 60, 0), "UTC0", 0},
        date_case{"SecondSixty", dos(2026, 1, 1, 0, 0, 60), "UTC0", 0}),
    row_name);

TEST(ZipStreamDirectory, EntryOpensItself) {
    const auto archive = archive_of({{stored("a", "first"), deflated_member("b/c", "second")}});
    auto place = archive.search(true);
    ++place;
    const auto entry = *place;
    EXPECT_EQ(entry->path(), L"b/c");
    EXPECT_EQ(entry->open()->read_string(10), "second");
    EXPECT_TRUE(archive.exists(entry.get()));
    EXPECT_EQ(archive.get_info(L"b/c")->path(), L"b/c");
}

TEST(ZipStreamDirectory, IteratorGoesBothWaysAndEndsAtBothEnds) {
    const auto archive = archive_of({{stored("a"), stored("b")}});
    auto place = archive.search(true);
    --place;
    EXPECT_FALSE(place);
    --place;
    EXPECT_EQ(*place, nullptr);
    ++place;
    EXPECT_EQ((*place)->path(), L"a");
    ++place;
    EXPECT_EQ((*place)->path(), L"b");
    ++place;
    ++place;
    EXPECT_FALSE(place);
    EXPECT_EQ(*place, nullptr);
    --place;
    EXPECT_EQ((*place)->path(), L"b");
}

TEST(ZipStreamDirectory, SearchIsAlwaysRecursive) {
    const auto archive = archive_of({{stored("a"), stored("b/c")}});
    const log_capture log;
    auto place = archive.search(false);
    ++place;
    EXPECT_EQ((*place)->path(), L"b/c");
    EXPECT_EQ(log.summary(),
              std::vector<std::string>{
                  "Debug debug: [ASSERT] !\"Only recursive search is currently implemented!\""});
}

TEST(ZipStreamDirectory, BaseAndSubPathNarrowTheView) {
    const bytes content = zip_builder{{stored("a"), stored("x/y/1"), stored("x/y/2", "two"),
                                       stored("x/y"), stored("x/yy/3"), stored("z")}}
                              .build()
                              .content;
    for (const auto& [base, sub] :
         {std::pair(L"x", L"y"), {L"x/", L"y/"}, {L"x/y", L""}, {L"", L"x/y"}}) {
        const CZipStreamDirectory folder(stream_of(content), base, sub);
        EXPECT_EQ(names_in(folder), (std::vector<std::wstring>{L"1", L"2"}));
        EXPECT_EQ(content_at(folder, L"2"), "two");
        EXPECT_EQ(folder.get_info(L"2")->path(), L"2");
        EXPECT_FALSE(folder.exists(L"x/y/2"));
    }
    EXPECT_FALSE(CZipStreamDirectory(stream_of(content), L"none", L"").search(true));
}

// ---------------------------------------------------------------------------------- copies

TEST(ZipStreamDirectory, CloneOutlivesItsSource) {
    auto source = std::make_unique<CZipStreamDirectory>(
        stream_of(zip_builder{{deflated_member("a"), stored("b")}}.build().content));
    const core::directory_ptr copy = source->clone();
    EXPECT_TRUE(*copy == *source);
    source.reset();
    EXPECT_EQ(names_in(*copy), (std::vector<std::wstring>{L"a", L"b"}));
    EXPECT_EQ(content_at(*copy, L"a"), some_text);
    EXPECT_EQ(content_at(*copy->clone(), L"b"), some_text);
}

namespace {

class other_directory : public core::directory {
public:
    core::directory_ptr clone() const override { return nullptr; }

    bool exists(const std::wstring&) const override { return false; }

    core::input_stream_ptr open(const std::wstring&) const override { return nullptr; }

    core::file_info_ptr get_info(const std::wstring&) const override { return nullptr; }
};

} // namespace

TEST(ZipStreamDirectory, ComparesListings) {
    const listed_archive archives[] = {archive_of({}), archive_of({{stored("a"), stored("b")}}),
                                       archive_of({{stored("a"), stored("b", some_text + "!")}}),
                                       archive_of({{stored("a"), stored("c")}})};
    const other_directory other;
    for (const core::directory& left : archives) {
        for (const core::directory& right : archives) {
            EXPECT_EQ(left == right, &left == &right);
            EXPECT_EQ(left != right, &left != &right);
        }
        EXPECT_FALSE(left == other);
        EXPECT_TRUE(left != other);
        EXPECT_NE(left < other, other < left);
        const core::directory& again = archives[1];
        EXPECT_EQ(left < again, &left == &archives[0]) << "by names, then by content";
    }
    const core::directory& same = archive_of({{stored("a"), stored("b")}});
    EXPECT_TRUE(same == archives[1]);
}

} // namespace support
