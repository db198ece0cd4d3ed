#include "core/winapifileinputstream.h"

#include "support/log_capture.h"
#include "support/test_streams.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace core;

TEST(FileInputStream, WhatCannotBeOpenedIsEmptyAndLogged) {
    support::log_capture log;
    const support::temp_folder folder;
    mkfifo(folder.file("pipe").c_str(), 0600);

    struct {
        std::wstring path;
        std::string error;
    } const cases[] = {
        {folder.wide_file("missing"), "2"},
        {folder.wide_path(), "21"},
        {folder.wide_path() + L"/\x110000", "84"},
        {folder.wide_path() + L"/a" + std::wstring(1, L'\0'), "84"},
    };

    for (const auto& row : cases) {
        log.clear();
        CWApiFileInputStream stream(row.path);
        EXPECT_EQ(stream.size(), 0u);
        EXPECT_EQ(stream.remaining(), 0u);
        EXPECT_TRUE(stream.is_seekable());
        EXPECT_THROW(stream.read_uint8(), core::exception);
        EXPECT_FALSE(stream.set_pos(0));
        ASSERT_EQ(log.lines().size(), 2u);
        EXPECT_EQ(log.lines()[0].module, "mvx\\core\\winapifileinputstream");
        EXPECT_TRUE(log.lines()[0].text.starts_with("File (")) << log.lines()[0].text;
        EXPECT_TRUE(log.lines()[0].text.ends_with(") open failed:" + row.error));
    }
    log.clear();
    EXPECT_EQ(CWApiFileInputStream(folder.wide_file("pipe")).size(), 0u) << "must not wait";
    EXPECT_TRUE(log.lines().empty());
}

TEST(FileInputStream, NameThatIsNotUtf8) {
    const support::temp_folder folder;
    folder.write("caf\xE9", "abc");
    CWApiFileInputStream stream(folder.wide_file("caf\xE9"));
    EXPECT_EQ(stream.read_string(10), "abc");
}

TEST(FileInputStream, SizeIsThatOfTheOpening) {
    const support::temp_folder folder;
    const std::string path = folder.write("grows", "12345");
    CWApiFileInputStream stream(folder.wide_file("grows"));
    folder.write("grows", "1234567890");
    EXPECT_EQ(stream.read_string(100), "12345");
    std::filesystem::resize_file(path, 2);
    stream.reset();
    EXPECT_EQ(stream.read_string(100), "12") << "a short read is no error";
}

TEST(FileInputStream, CloneReadsTheFileThatItsSourceOpened) {
    const support::temp_folder folder;
    const std::string path = folder.write("package", "verified");
    CWApiFileInputStream stream(folder.wide_file("package"));
    stream.skip(2);
    std::filesystem::rename(folder.write("other", "NOT THAT"), path);
    const auto replaced = stream.clone();
    EXPECT_EQ(replaced->pos(), 2u);
    EXPECT_EQ(replaced->read_string(100), "rified");
    std::filesystem::remove(path);
    EXPECT_EQ(replaced->clone()->pos(), 8u);
    EXPECT_EQ(stream.read_string(100), "rified");
}

TEST(FileInputStream, PositionWithALowHalfOfAllOnesCountsAsFailed) {
    support::log_capture log;
    const support::temp_folder folder;
    const std::string path = folder.write("sparse", "x");
    std::filesystem::resize_file(path, 0x1'0000'0005);
    CWApiFileInputStream stream(folder.wide_file("sparse"));
    EXPECT_FALSE(stream.set_pos(0xFFFFFFFF));
    EXPECT_EQ(log.count("File input stream set pos failed: 0"), 2);
    EXPECT_EQ(stream.pos(), stream.size());
    EXPECT_TRUE(stream.set_pos(0x1'0000'0000));
    EXPECT_EQ(stream.skip(100), 5u);
}
