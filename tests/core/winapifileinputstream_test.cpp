#include "core/winapifileinputstream.h"

#include "support/log_capture.h"
#include "support/test_streams.h"

#include "core/text.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace core;

TEST(FileInputStream, WhatCannotBeOpenedIsEmptyAndLogged) {
    support::log_capture log;
    const support::temp_folder folder;
    for (const auto& [name, error] :
         {std::pair(L"missing", "2"), {L".", "21"}, {L"\x110000", "84"}}) {
        log.clear();
        const std::wstring path = folder.wide_file("") + name;
        CWApiFileInputStream stream(path);
        EXPECT_EQ(stream.size(), 0u);
        EXPECT_EQ(stream.remaining(), 0u);
        EXPECT_THROW(stream.read_uint8(), core::exception);
        EXPECT_FALSE(stream.set_pos(0));
        ASSERT_EQ(log.lines().size(), 2u);
        EXPECT_EQ(log.summary()[0], "ERROR winapifileinputstream: File (" + encode_lossy(path) +
                                        ") open failed:" + error);
    }
    mkfifo(folder.file("pipe").c_str(), 0600);
    EXPECT_EQ(CWApiFileInputStream(folder.wide_file("pipe")).size(), 0u) << "must not wait";
}

TEST(FileInputStream, SizeIsThatOfTheOpening) {
    const support::temp_folder folder;
    const std::string path = folder.write("gr\xF6\xDF", "12345");
    CWApiFileInputStream stream(folder.wide_file("gr\xF6\xDF"));
    folder.write("gr\xF6\xDF", "1234567890");
    EXPECT_EQ(stream.clone()->read_string(100), "12345");
    EXPECT_EQ(stream.read_string(100), "12345");
    std::filesystem::resize_file(path, 2);
    stream.reset();
    EXPECT_EQ(stream.read_string(100), "12") << "a short read is no error";
}

TEST(FileInputStream, PositionWithALowHalfOfAllOnesCountsAsFailed) {
    support::log_capture log;
    const support::temp_folder folder;
    std::filesystem::resize_file(folder.write("sparse", "x"), 0x1'0000'0005);
    CWApiFileInputStream stream(folder.wide_file("sparse"));
    EXPECT_FALSE(stream.set_pos(0xFFFFFFFF));
    EXPECT_EQ(log.count("File input stream set pos failed: 0"), 2);
    EXPECT_EQ(stream.pos(), stream.size());
    EXPECT_TRUE(stream.set_pos(0x1'0000'0000));
    EXPECT_EQ(stream.skip(100), 5u);
}
