#include "core_compress/zipstreamdirectory.h"

#include "support/fuel_stream.h"
#include "support/log_capture.h"
#include "support/zip_builder.h"

#include "core/fsdirectory.h"

#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>

namespace support {

namespace {

using core::CZipStreamDirectory;
using names = std::vector<std::wstring>;
using strings = std::vector<std::string>;

using tank_ptr = std::shared_ptr<fuel_tank>;

/// The archive in memory, on a stream that seeks to its very end as a file does.
core::input_stream_ptr stream_of(const bytes& content,
                                 tank_ptr tank = std::make_shared<fuel_tank>()) {
    return std::make_unique<fuel_stream>(content, std::move(tank));
}

CZipStreamDirectory archive_of(const zip_builder& builder) {
    return CZipStreamDirectory(stream_of(builder.build().content));
}

names names_in(const core::directory& archive) {
    names result;
    for (auto entry = archive.search(true); entry; ++entry)
        result.push_back((*entry)->path());
    return result;
}

const std::string some_text = std::string(3000, 'x') + "the end";

zip_member stored(std::string name, std::string content = some_text) {
    return {std::move(name), std::move(content), 0};
}

/// Stored members with UTF-8 names, each with its own number for content.
zip_builder members_named(const strings& all) {
    zip_builder builder;
    for (const std::string& name : all)
        builder.members.push_back({name, std::to_string(builder.members.size()), 0, 0x800});
    return builder;
}

TEST(ZipStreamDirectory, EveryMemberIsReadInFullWhateverTheLayout) {
    const std::string extra("\x55\x54\x03\0abc", 7);

    for (const auto& [prefix, comment, field, zip64] : {std::tuple(800u, 0u, std::string(), 0u),
                                                        {0u, 60000u, extra, 0u},
                                                        {0u, 0u, "", 4u},
                                                        {0u, 0u, "", 1u | 2u},
                                                        {77u, 0u, extra, 2u | 4u}}) {
        SCOPED_TRACE(prefix + comment + zip64);
        zip_builder builder{{stored("a.sc"),
                             {"b/c.sc", some_text},
                             stored("b/empty", ""),
                             {"b/empty too", ""},
                             {"z", std::string(70000, 'z')}},
                            bytes(prefix, 'P'),
                            std::string(comment, 'c')};
        for (zip_member& member : builder.members) {
            member.extra = field;
            member.zip64 = zip64;
        }
        const bytes content = builder.build().content;
        const CZipStreamDirectory archive(stream_of(content));
        auto trickle = std::make_unique<fuel_stream>(content, std::make_shared<fuel_tank>());
        trickle->most = 7;
        const CZipStreamDirectory slow(std::move(trickle));
        ASSERT_EQ(names_in(archive).size(), builder.members.size());
        for (const zip_member& member : builder.members) {
            const std::wstring name(member.name.begin(), member.name.end());
            const std::size_t size = member.content.size();
            EXPECT_EQ(archive.get_info(name)->size(), size);
            EXPECT_EQ(archive.open(name)->read_string(size + 1), member.content) << member.name;
            EXPECT_EQ(slow.open(name)->size(), size);
        }
    }
}

TEST(ZipStreamDirectory, ListsFilesInOrderOfTheirNames) {
    const log_capture log;
    const auto archive = archive_of(members_named(
        {"b/", "b/y", "b", "b", "B", "\xF0\x9F\x98\x80", "b/yearly", "b/year", "\xEF\xBD\x9E"}));
    EXPECT_EQ(names_in(archive),
              (names{L"B", L"b", L"b/y", L"b/year", L"b/yearly", L"\U0001F600", L"\uFF5E"}))
        << "by 16-bit units";
    EXPECT_FALSE(archive.exists(L"b/"));
    EXPECT_TRUE(archive.exists(L"\xD83D\xDE00")) << "a pair is the one code point";
    EXPECT_EQ(archive.open(L"b")->read_string(9), "2") << "the first of two with one name stays";
    EXPECT_EQ(log.summary(), strings{"Debug debug: [ASSERT] false"});
    EXPECT_THROW(archive_of(members_named({"b", "a", "a", "\xE9"})), std::range_error);
    EXPECT_EQ(log.summary().size(), 2u) << "told also where the listing breaks off";
}

TEST(ZipStreamDirectory, NamesAreDecodedByTheirFlag) {
    const auto listed = [](std::string name, std::uint16_t flags) {
        return names_in(archive_of({{{std::move(name), "x", 0, flags}}}));
    };
    EXPECT_EQ(listed("\xC3\xA9\xE4\xBD\xA0", 0x800), names{L"\u00E9\u4F60"});
    EXPECT_EQ(listed("a\xC3\xA9\x7F\x80", 0), names{L"a\xFFC3\xFFA9\x7F\xFF80"});
    EXPECT_EQ(listed({"a\0b", 3}, 0), names{L"a"});
    EXPECT_EQ(listed(std::string(5000, 'n'), 0), names{std::wstring(4096, L'n')});
    EXPECT_THROW(listed(std::string(4095, 'n') + "\xC3\xA9", 0x800), std::range_error);
}

bytes three_members_but(std::size_t damaged, std::size_t field, std::uint64_t value) {
    zip_archive archive = members_named({"a", "b", "c"}).build();
    archive.put(archive.central_records[damaged] + field, value, 2);
    return archive.content;
}

TEST(ZipStreamDirectory, BrokenArchiveListsWhatItCan) {
    const std::pair<bytes, names> rows[] = {
        {counted_bytes(5000), {}},
        {zip_builder{}.build().content, {}},
        {zip_builder{{}, bytes(1)}.build().content, {}},
        {three_members_but(1, 0, 0), {L"a"}}, // a record without signature
        {three_members_but(2, central_name_length, 300), {L"a", L"b"}}};

    for (const auto& [content, listed] : rows) {
        SCOPED_TRACE(content.size());
        const CZipStreamDirectory archive(stream_of(content));
        EXPECT_EQ(names_in(archive), listed);
        EXPECT_EQ(archive.open(L"c"), nullptr);
        EXPECT_EQ(archive.get_info(L"c"), nullptr);
    }
    EXPECT_FALSE(CZipStreamDirectory(nullptr).search(true));
    const CZipStreamDirectory short_of_the_end(deep_stream(members_named({"a"}).build().content));
    EXPECT_FALSE(short_of_the_end.search(true)) << "such a stream never seeks to its end";
}

/// More members than the end record counts.
TEST(ZipStreamDirectory, ListingAsksTheStreamForLargeBlocksUntilItFails) {
    zip_builder builder;
    for (int number = 100'000; number != 166'000; ++number)
        builder.members.push_back(stored(std::to_string(number), ""));
    const bytes content = builder.build().content;
    const auto full = std::make_shared<fuel_tank>();
    EXPECT_EQ(names_in(CZipStreamDirectory(stream_of(content, full))).size(), 66'000u);
    EXPECT_LE(full->reads, 300u);
    for (const std::uint64_t fuel : {0u, 1u, 3u, 6u, 9u}) {
        const log_capture log;
        const auto tank = std::make_shared<fuel_tank>(fuel_tank{fuel});
        EXPECT_LT(names_in(CZipStreamDirectory(stream_of(content, tank))).size(), 66'000u) << fuel;
        ASSERT_FALSE(log.lines().empty());
        EXPECT_TRUE(log.lines().front().text.ends_with("out of fuel"));
    }
}

TEST(ZipStreamDirectory, MemberThatIsListedButNotOpened) {
    const strings internal = {"ERROR zipstreamdirectory: Internal error.",
                              "Debug debug: [ASSERT] false"};

    zip_archive archive = zip_builder{{{"m", some_text}}}.build();
    const auto refusal = [&](zip_field field, std::size_t width, std::uint64_t value) {
        zip_archive damaged = archive;
        const auto& headers =
            field == local_name_length ? archive.local_headers : archive.central_records;
        damaged.put(headers[0] + field, value, width);
        const CZipStreamDirectory listed(stream_of(damaged.content));
        const log_capture log;
        EXPECT_EQ(listed.get_info(L"m")->size(), some_text.size());
        EXPECT_EQ(listed.open(L"m"), nullptr);
        return log.summary();
    };
    EXPECT_EQ(refusal(central_flags, 2, 1), strings{"Info zipstreamdirectory: file encrypted: m"});
    EXPECT_EQ(refusal(central_method, 2, 12),
              (strings{"Info zipstreamdirectory: Unsupported compression method: 12",
                       "Debug debug: [ASSERT] false"}));
    for (const std::uint32_t offset : {1000000U, 0xFFFFFFFFU})
        EXPECT_EQ(refusal(central_offset, 4, offset), internal);
    EXPECT_EQ(refusal(local_name_length, 2, 60000), internal);
    const log_capture log;
    const auto tank = std::make_shared<fuel_tank>();
    const CZipStreamDirectory cannot_be_cloned(stream_of(archive.content, tank));
    tank->left = 0;
    EXPECT_EQ(cannot_be_cloned.open(L"m"), nullptr);
    EXPECT_EQ(log.count("Unsupported compression method: 8"), 1) << "so a failed clone is told of";
    const std::size_t record = archive.central_records[0];
    archive.put(record + central_offset, archive.content.size() - 29, 4);
    EXPECT_THROW(CZipStreamDirectory(stream_of(archive.content)).open(L"m"), core::exception)
        << "a length that breaks off fails as a typed read does";

    zip_archive larger = zip_builder{{stored("m", "data")}}.build();
    larger.put(larger.central_records[0] + central_compressed_size, 1000000, 4);
    const auto member = CZipStreamDirectory(stream_of(larger.content)).open(L"m");
    EXPECT_EQ(log.summary().back(), "Debug debug: [ASSERT] rc");
    EXPECT_EQ(member->size(), larger.content.size() - larger.central_records[0] + 4);
    EXPECT_EQ(member->read_string(6), "dataPK") << "it runs to the archive's end";
}

constexpr std::uint32_t dos(unsigned year, unsigned month, unsigned day, unsigned hour,
                            unsigned minute, unsigned second) {
    return (year - 1980) << 25 | month << 21 | day << 16 | hour << 11 | minute << 5 | second / 2;
}

TEST(ZipStreamDirectory, DatesAreLocalTime) {
    const auto check = [](std::uint32_t dos_date, std::uint64_t seconds, std::size_t lines = 0) {
        const auto info =
            archive_of({{{.name = "m", .content = "", .dos_date = dos_date}}}).get_info(L"m");
        const log_capture log;
        for (const auto time :
             {info->creation_time(), info->modification_time(), info->access_time()})
            EXPECT_EQ(time, seconds) << dos_date;
        const std::string warning = "Warning zipstreamdirectory: Invalid dos date: ";
        EXPECT_EQ(log.summary(), strings(lines, warning + std::to_string(dos_date)));
    };
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
    check(dos(2026, 11, 12, 8, 15, 30), 1794471330 - 3600);
    check(dos(2026, 7, 12, 8, 15, 30), 1783844130 - 7200);
    check(dos(2107, 12, 31, 23, 59, 58), 4354819198 - 3600);
    for (const std::uint32_t none :
         {dos(2026, 0, 1, 0, 0, 0), dos(2026, 13, 1, 0, 0, 0), dos(2026, 1, 0, 0, 0, 0),
          dos(2026, 1, 1, 24, 0, 0), dos(2026, 1, 1, 0, 60, 0), dos(2026, 1, 1, 0, 0, 60)})
        check(none, 0, 3);
    unsetenv("TZ");
    tzset();
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
    ++place;
    ++place;
    EXPECT_EQ(*place, nullptr);
    --place;
    EXPECT_EQ((*place)->path(), L"b/c");
    EXPECT_EQ(*++core::const_iterator(), nullptr);
    EXPECT_EQ(core::zip::ZipFilePointer(nullptr).open(), nullptr);
    const core::file_info* nothing = nullptr;
    EXPECT_FALSE(archive.exists(nothing) || archive.open(nothing) || archive.subdirectory(L"b"));
    EXPECT_FALSE(archive.directory::search(true));
    EXPECT_EQ(log.count("[ASSERT] !\"Not implemented\""), 2);
}

TEST(ZipStreamDirectory, BaseAndSubPathNarrowTheViewOfAClone) {
    const bytes content =
        members_named({"a", "x/y/1", "x/y/2", "x/y", "x/yy/3", "z"}).build().content;
    for (const auto& [base, sub] : {std::pair(L"x", L"y"), {L"x/y/", L""}, {L"", L"x/y"}}) {
        auto source = std::make_unique<CZipStreamDirectory>(stream_of(content), base, sub);
        const core::directory_ptr folder = source->clone();
        EXPECT_TRUE(*folder == *source);
        source.reset();
        EXPECT_EQ(names_in(*folder), (names{L"1", L"2"}));
        EXPECT_EQ(folder->open(L"2")->read_string(9), "2");
        EXPECT_EQ(folder->get_info(L"2")->path(), L"2");
        EXPECT_FALSE(folder->exists(L"x/y/2"));
    }
    EXPECT_FALSE(CZipStreamDirectory(stream_of(content), L"none", L"").search(true));
}

TEST(ZipStreamDirectory, ComparesListings) {
    const CZipStreamDirectory archives[] = {
        archive_of({}), archive_of({{stored("a"), stored("b")}}),
        archive_of({{stored("a"), stored("b", some_text + "!")}}),
        archive_of({{stored("a"), stored("c")}})};
    for (const core::directory& left : archives) {
        for (const core::directory& right : archives) {
            EXPECT_EQ(left == right, &left == &right);
            EXPECT_EQ(left != right, &left != &right);
        }
        EXPECT_EQ(left < archives[1], &left == &archives[0]) << "by names, then by content";
    }
    const core::CFsDirectory other(L"");
    const core::directory& first = archives[0];
    EXPECT_TRUE(first != other && !(first == other) && (first < other) != (other < first));
}

} // namespace

} // namespace support
