#include "core_compress/zipstreamdirectory.h"

#include "support/fuel_stream.h"
#include "support/log_capture.h"
#include "support/zip_builder.h"

#include "core/bufferedinputstream.h"

#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <optional>

namespace support {

namespace {

using core::CZipStreamDirectory;
using names = std::vector<std::wstring>;
using strings = std::vector<std::string>;

/// Lets a test see how the listing ended.
class listed_archive : public CZipStreamDirectory {
public:
    using CZipStreamDirectory::CZipStreamDirectory;

    int how_it_ended() const { return status; }
};

using tank_ptr = std::shared_ptr<fuel_tank>;

/// The archive in memory, on a stream that seeks to its very end as a file does.
core::input_stream_ptr stream_of(const bytes& content,
                                 tank_ptr tank = std::make_shared<fuel_tank>()) {
    return std::make_unique<fuel_stream>(content, std::move(tank));
}

listed_archive archive_of(const zip_builder& builder) {
    return listed_archive(stream_of(builder.build().content));
}

names names_in(const core::directory& archive) {
    names result;
    for (auto entry = archive.search(true); entry; ++entry)
        result.push_back((*entry)->path());
    return result;
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

/// Stored members with UTF-8 names, each with its own number for content.
zip_builder members_named(const std::vector<std::string>& all) {
    zip_builder builder;
    for (const std::string& name : all)
        builder.members.push_back({name, std::to_string(builder.members.size()), 0, 0x800});
    return builder;
}

TEST(ZipStreamDirectory, EveryMemberIsReadInFullWhateverTheLayout) {
    const std::string extra("\x55\x54\x03\0abc", 7);

    const struct {
        std::size_t prefix = 0;
        std::size_t comment = 0;
        std::string extra{};
        unsigned zip64 = 0;
    } layouts[] = {{},
                   {.prefix = 800},
                   {.comment = 60000},
                   {.extra = extra},
                   {.zip64 = 4},
                   {.zip64 = 1 | 2},
                   {.prefix = 77, .extra = extra, .zip64 = 2 | 4}};

    for (const auto& layout : layouts) {
        SCOPED_TRACE(&layout - layouts);
        zip_builder builder{{stored("a.sc"),
                             {"b/c.sc", some_text},
                             stored("b/empty", ""),
                             {"b/empty too", ""},
                             {"z", std::string(70000, 'z')}},
                            bytes(layout.prefix, 'P'),
                            std::string(layout.comment, 'c')};
        for (zip_member& member : builder.members) {
            member.extra = layout.extra;
            member.zip64 = layout.zip64;
        }
        const listed_archive archive = archive_of(builder);
        EXPECT_EQ(archive.how_it_ended(), 0);
        ASSERT_EQ(names_in(archive).size(), builder.members.size());
        for (const zip_member& member : builder.members) {
            const std::wstring name(member.name.begin(), member.name.end());
            EXPECT_EQ(archive.get_info(name)->size(), member.content.size());
            EXPECT_EQ(content_at(archive, name), member.content) << member.name;
        }
    }
}

TEST(ZipStreamDirectory, LocalLengthsAcrossABufferEnd) {
    const CZipStreamDirectory archive(std::make_unique<core::buffered_input_stream>(
        stream_of(zip_builder{{stored("name")}}.build().content), 1));
    EXPECT_EQ(archive.open(L"name")->read_string(some_text.size()), some_text);
}

TEST(ZipStreamDirectory, ListsFilesInOrderOfTheirNames) {
    const log_capture log;
    const auto archive = archive_of(members_named(
        {"b/", "b/y", "b", "b", "B", "\xF0\x9F\x98\x80", "b/yearly", "b/year", "\xEF\xBD\x9E"}));
    EXPECT_EQ(names_in(archive),
              (names{L"B", L"b", L"b/y", L"b/year", L"b/yearly", L"\U0001F600", L"\uFF5E"}))
        << "by 16-bit units";
    EXPECT_FALSE(archive.exists(L"b/"));
    EXPECT_FALSE(archive.exists(L"B/Y"));
    EXPECT_TRUE(archive.exists(L"\xD83D\xDE00")) << "a pair is the one code point";
    EXPECT_EQ(content_at(archive, L"b"), "2") << "the first of two with one name stays";
    EXPECT_EQ(log.summary(), strings{"Debug debug: [ASSERT] false"});
    EXPECT_THROW(archive_of(members_named({"b", "a", "a", "\xE9"})), std::range_error);
    EXPECT_EQ(log.summary().size(), 2u) << "told also where the listing breaks off";
}

TEST(ZipStreamDirectory, ListsMoreFilesThanTheEndRecordCounts) {
    zip_builder builder;
    for (int number = 100'000; number != 166'000; ++number)
        builder.members.push_back(stored(std::to_string(number), ""));
    EXPECT_EQ(names_in(archive_of(builder)).size(), 66'000u);
}

TEST(ZipStreamDirectory, NamesAreDecodedByTheirFlag) {
    const auto listed = [](std::string name, std::uint16_t flags) {
        return names_in(archive_of({{{std::move(name), "x", 0, flags}}}));
    };
    EXPECT_EQ(listed("\xC3\xA9\xE4\xBD\xA0", 0x800), names{L"\u00E9\u4F60"});
    EXPECT_EQ(listed("a\xC3\xA9\x7F\x80", 0), names{L"a\xFFC3\xFFA9\x7F\xFF80"});
    EXPECT_EQ(listed({"a\0b", 3}, 0), names{L"a"});
    EXPECT_EQ(listed(std::string(5000, 'n'), 0), names{std::wstring(4096, L'n')});
    for (const std::string& bad : {std::string("a\xE9"), std::string(4095, 'n') + "\xC3\xA9"})
        EXPECT_THROW(listed(bad, 0x800), std::range_error);
}

bytes three_members_but(std::size_t damaged, std::size_t field, std::uint64_t value) {
    zip_archive archive = members_named({"a", "b", "c"}).build();
    archive.put(archive.central_records[damaged] + field, value, 2);
    return archive.content;
}

TEST(ZipStreamDirectory, BrokenArchiveListsWhatItCan) {
    const struct {
        const char* name;
        bytes content;
        int status;
        names listed;
    } rows[] = {
        {"empty", {}, 2, {}},
        {"no archive", counted_bytes(5000), 2, {}},
        {"without members", zip_builder{}.build().content, 2, {}},
        {"without members behind a byte", zip_builder{{}, bytes(1)}.build().content, 0, {}},
        {"second record without signature", three_members_but(1, 0, 0), 0, {L"a"}},
        {"last name over the end", three_members_but(2, central_name_length, 300), 3, {L"a", L"b"}},
    };

    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const listed_archive archive(stream_of(row.content));
        EXPECT_EQ(archive.how_it_ended(), row.status);
        EXPECT_EQ(names_in(archive), row.listed);
        EXPECT_EQ(archive.open(L"c"), nullptr);
        EXPECT_EQ(archive.get_info(L"c"), nullptr);
    }
    const bytes sound = members_named({"a"}).build().content;
    EXPECT_EQ(listed_archive(deep_stream(sound)).how_it_ended(), 2) << "never seeks to its end";
    EXPECT_EQ(listed_archive(nullptr).how_it_ended(), 2);
}

TEST(ZipStreamDirectory, ListingAsksTheStreamForLargeBlocksUntilItFails) {
    zip_builder builder;
    for (int i = 0; i != 5000; ++i)
        builder.members.push_back(stored("member " + std::to_string(i), "x"));
    const bytes content = builder.build().content;
    const auto full = std::make_shared<fuel_tank>();
    EXPECT_EQ(names_in(CZipStreamDirectory(stream_of(content, full))).size(), 5000u);
    EXPECT_LE(full->reads, 30u);
    for (const std::uint64_t fuel : {0u, 1u, 3u, 6u, 9u}) {
        const log_capture log;
        const auto tank = std::make_shared<fuel_tank>(fuel_tank{fuel});
        EXPECT_LT(names_in(CZipStreamDirectory(stream_of(content, tank))).size(), 5000u) << fuel;
        ASSERT_FALSE(log.lines().empty());
        EXPECT_TRUE(log.lines().front().text.ends_with("out of fuel"));
    }
}

TEST(ZipStreamDirectory, MemberThatIsListedButNotOpened) {
    const strings encrypted = {"Info zipstreamdirectory: file encrypted: m"};
    const strings method_12 = {"Info zipstreamdirectory: Unsupported compression method: 12",
                               "Debug debug: [ASSERT] false"};
    const strings internal = {"ERROR zipstreamdirectory: Internal error.",
                              "Debug debug: [ASSERT] false"};

    const struct {
        zip_field field;
        std::size_t width;
        std::uint64_t value;
        const strings& lines;
    } rows[] = {{central_flags, 2, 1, encrypted},
                {central_method, 2, 12, method_12},
                {central_offset, 4, 1000000, internal},
                {central_offset, 4, 0xFFFFFFFF, internal},
                {local_name_length, 2, 60000, internal}};

    for (const auto& row : rows) {
        SCOPED_TRACE(row.value);
        zip_archive damaged = zip_builder{{{"m", some_text}}}.build();
        const auto& headers =
            row.field == local_name_length ? damaged.local_headers : damaged.central_records;
        damaged.put(headers[0] + row.field, row.value, row.width);
        const CZipStreamDirectory archive(stream_of(damaged.content));
        const log_capture log;
        EXPECT_EQ(archive.get_info(L"m")->size(), some_text.size());
        EXPECT_EQ(archive.open(L"m"), nullptr);
        EXPECT_EQ(log.summary(), row.lines);
    }
    zip_archive cut = zip_builder{{stored("m")}}.build();
    cut.put(cut.central_records[0] + central_offset, cut.content.size() - 29, 4);
    EXPECT_THROW(CZipStreamDirectory(stream_of(cut.content)).open(L"m"), core::exception)
        << "a length that breaks off fails as a typed read does";
    const auto tank = std::make_shared<fuel_tank>();
    const CZipStreamDirectory archive(stream_of(zip_builder{{{"m", "x"}}}.build().content, tank));
    tank->left = 0;
    const log_capture log;
    EXPECT_EQ(archive.open(L"m"), nullptr);
    EXPECT_EQ(log.count("Unsupported compression method: 8"), 1) << "so a failed clone is told of";
}

TEST(ZipStreamDirectory, SizeBeyondTheArchiveRunsToItsEnd) {
    zip_archive damaged = zip_builder{{stored("m", "data")}}.build();
    damaged.put(damaged.central_records[0] + central_compressed_size, 1000000, 4);
    const CZipStreamDirectory archive(stream_of(damaged.content));
    const log_capture log;
    const auto member = archive.open(L"m");
    EXPECT_EQ(log.summary(), strings{"Debug debug: [ASSERT] rc"});
    EXPECT_EQ(member->size(), damaged.content.size() - damaged.central_records[0] + 4);
    EXPECT_EQ(member->read_string(6), "dataPK");
}

constexpr std::uint32_t dos(unsigned year, unsigned month, unsigned day, unsigned hour,
                            unsigned minute, unsigned second) {
    return (year - 1980) << 25 | month << 21 | day << 16 | hour << 11 | minute << 5 | second / 2;
}

TEST(ZipStreamDirectory, DatesAreLocalTime) {
    constexpr auto utc = "UTC0";
    constexpr auto central_europe = "CET-1CEST,M3.5.0,M10.5.0/3";

    const struct {
        std::uint32_t dos_date;
        const char* zone;
        std::uint64_t seconds; // 0: not a date
    } rows[] = {{dos(2026, 11, 12, 8, 15, 30), central_europe, 1794471330 - 3600},
                {dos(2026, 7, 12, 8, 15, 30), central_europe, 1783844130 - 7200},
                {dos(2107, 12, 31, 23, 59, 58), utc, 4354819198},
                {dos(2026, 0, 1, 0, 0, 0), utc, 0},
                {dos(2026, 13, 1, 0, 0, 0), utc, 0},
                {dos(2026, 1, 0, 0, 0, 0), utc, 0},
                {dos(2026, 1, 1, 24, 0, 0), utc, 0},
                {dos(2026, 1, 1, 0, 60, 0), utc, 0},
                {dos(2026, 1, 1, 0, 0, 60), utc, 0}};

    for (const auto& [dos_date, zone, seconds] : rows) {
        const auto info =
            archive_of({{{.name = "m", .content = "", .dos_date = dos_date}}}).get_info(L"m");
        setenv("TZ", zone, 1);
        tzset();
        const log_capture log;
        for (const auto time :
             {info->creation_time(), info->modification_time(), info->access_time()})
            EXPECT_EQ(time, seconds) << dos_date;
        const std::string warning = "Warning zipstreamdirectory: Invalid dos date: ";
        EXPECT_EQ(log.summary(), strings(seconds == 0 ? 3 : 0, warning + std::to_string(dos_date)));
    }
}

TEST(ZipStreamDirectory, EntriesAreWalkedBothWaysAndOpenThemselves) {
    const auto archive = archive_of({{stored("a", "first"), {"b/c", "second"}}});
    const log_capture log;
    auto place = archive.search(false);
    EXPECT_EQ(log.count("[ASSERT] !\"Only recursive search is currently implemented!\""), 1);
    --place;
    EXPECT_FALSE(place);
    --place;
    EXPECT_EQ(*place, nullptr);
    ++place;
    EXPECT_EQ((*place)->path(), L"a");
    ++place;
    const auto entry = *place;
    EXPECT_EQ(entry->path(), L"b/c");
    EXPECT_EQ(entry->open()->read_string(10), "second");
    EXPECT_TRUE(archive.exists(entry.get()));
    EXPECT_EQ(core::zip::ZipFilePointer(nullptr).open(), nullptr);
    const core::file_info* nothing = nullptr;
    EXPECT_FALSE(archive.exists(nothing));
    EXPECT_EQ(archive.open(nothing), nullptr);
    EXPECT_EQ(*++core::const_iterator(), nullptr);
    ++place;
    ++place;
    EXPECT_EQ(*place, nullptr);
    --place;
    EXPECT_EQ((*place)->path(), L"b/c");
    EXPECT_EQ(archive.subdirectory(L"b"), nullptr);
    EXPECT_FALSE(archive.directory::search(true));
    EXPECT_EQ(log.count("[ASSERT] !\"Not implemented\""), 2);
}

TEST(ZipStreamDirectory, BaseAndSubPathNarrowTheViewOfAClone) {
    const bytes content =
        members_named({"a", "x/y/1", "x/y/2", "x/y", "x/yy/3", "z"}).build().content;
    for (const auto& [base, sub] :
         {std::pair(L"x", L"y"), {L"x/", L"y/"}, {L"x/y", L""}, {L"", L"x/y"}}) {
        auto source = std::make_unique<CZipStreamDirectory>(stream_of(content), base, sub);
        const core::directory_ptr folder = source->clone();
        EXPECT_TRUE(*folder == *source);
        source.reset();
        EXPECT_EQ(names_in(*folder), (names{L"1", L"2"}));
        EXPECT_EQ(content_at(*folder, L"2"), "2");
        EXPECT_EQ(folder->get_info(L"2")->path(), L"2");
        EXPECT_FALSE(folder->exists(L"x/y/2"));
    }
    EXPECT_FALSE(CZipStreamDirectory(stream_of(content), L"none", L"").search(true));
}

TEST(ZipStreamDirectory, ComparesListings) {
    const listed_archive archives[] = {archive_of({}), archive_of({{stored("a"), stored("b")}}),
                                       archive_of({{stored("a"), stored("b", some_text + "!")}}),
                                       archive_of({{stored("a"), stored("c")}})};
    for (const core::directory& left : archives) {
        for (const core::directory& right : archives) {
            EXPECT_EQ(left == right, &left == &right);
            EXPECT_EQ(left != right, &left != &right);
        }
        EXPECT_EQ(left < archives[1], &left == &archives[0]) << "by names, then by content";
    }
    const CZipStreamDirectory other(nullptr);
    EXPECT_TRUE(archives[0].directory::operator==(archives[1])) << "a directory as such: by type";
    EXPECT_FALSE(archives[0].directory::operator==(other));
    EXPECT_TRUE(archives[0].directory::operator!=(other));
    EXPECT_NE(archives[0].directory::operator<(other), other.directory::operator<(archives[0]));
}

} // namespace

} // namespace support
