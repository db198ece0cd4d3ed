#include "core/fsdirectory.h"

#include "support/log_capture.h"
#include "support/temp_folder.h"

#include "core/debug.h"
#include "core/text.h"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace core;
using namespace std::string_literals;
using names = std::vector<std::wstring>;

class FsDirectory : public testing::Test {
protected:
    names listed(bool recursive) const {
        names found;
        for (const_iterator entry = directory.search(recursive); entry; ++entry)
            found.push_back((*entry)->path());
        std::sort(found.begin(), found.end());
        return found;
    }

    support::temp_folder folder;
    CFsDirectory directory{folder.wide_path()};
};

TEST_F(FsDirectory, ListsWhateverTheFolderHolds) {
    EXPECT_EQ(listed(true), names{});
    folder.write("a.sc", "a");
    folder.write("sub/deep/b.sc", "b");
    folder.write("sub/caf\xE9", "a name that is no UTF-8");
    folder.write("\xF0\x9F\x98\x80", "beyond 16 bits");
    ASSERT_EQ(symlink(".", folder.file("sub/round").c_str()), 0);
    ASSERT_EQ(symlink("nowhere", folder.file("dangling").c_str()), 0);
    EXPECT_EQ(listed(false), (names{L"a.sc", L"dangling", L"sub", L"\x1F600"}));
    EXPECT_EQ(listed(true), (names{L"a.sc", L"dangling", L"sub", L"sub/caf\xDCE9", L"sub/deep",
                                   L"sub/deep/b.sc", L"sub/round", L"\x1F600"}));
    for (const std::wstring& name : listed(true)) {
        EXPECT_EQ(directory.exists(name), name != L"dangling");
        EXPECT_EQ(directory.get_info(name) != nullptr, name != L"dangling");
    }
    EXPECT_EQ(directory.open(L"sub/caf\xDCE9")->read_string(6), "a name");
}

TEST_F(FsDirectory, NothingEndsAListingEarly) {
    std::string deep = "5";
    for (int level = 0; level != 300; ++level)
        deep += "/d";
    for (const std::string& name : {"1"s, "2"s, "3"s, "4"s, deep})
        folder.write(name + "/x", "");
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit few = {64, before.rlim_max}; // far fewer than there are levels
    setrlimit(RLIMIT_NOFILE, &few);
    std::size_t seen = 0;
    for (const_iterator entry = directory.search(true); entry; ++entry) {
        if (seen++ != 0) continue;
        const bool is_third = (*entry)->path().starts_with(L"3"); // the first need not be 1
        std::filesystem::remove_all(folder.file(is_third ? "4" : "3"));
    }
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(seen, 5U + 3 + 301) << "of the removed folder its name alone";
}

TEST_F(FsDirectory, WhatIsNotThereIsSaidWithoutALine) {
    const support::log_capture log;
    for (const std::wstring& name : {L"none"s, L"a\xD800"s, L"a\0b"s, std::wstring(300, L'n')}) {
        EXPECT_FALSE(directory.exists(name));
        EXPECT_EQ(directory.open(name), nullptr);
        EXPECT_EQ(directory.get_info(name), nullptr);
    }
    EXPECT_EQ(directory.subdirectory(L""), nullptr);
    const directory_ptr missing = directory.subdirectory(L"none");
    EXPECT_FALSE(missing->exists(L"a"));
    EXPECT_FALSE(missing->search(true));
    EXPECT_TRUE(log.lines().empty());
    folder.write("sub/a", "");
    EXPECT_TRUE(directory.subdirectory(L"sub")->exists(L"/a")) << "absolute paths stay inside";
    EXPECT_EQ(directory.open(L"sub")->size(), 0U);
    EXPECT_EQ(log.lines().front().level, "ERROR");
}

TEST_F(FsDirectory, GoesForwardAloneAndComparesByTheFolder) {
    const support::log_capture log;
    folder.write("a", "");
    for (const bool recursive : {false, true}) {
        const_iterator entry = directory.search(recursive);
        EXPECT_THROW(--entry, core::exception);
        ++entry;
        EXPECT_EQ(*entry, nullptr);
        EXPECT_FALSE(++entry);
    }
    EXPECT_EQ(log.count("[ASSERT] !\"Fs iterator cannot be decremented!!!\""), 2);
    const directory_ptr same = directory.clone();
    EXPECT_TRUE(*same == directory && !(*same != directory));
    const directory_ptr first = std::make_unique<CFsDirectory>(L"\x1F600");
    const directory_ptr second = std::make_unique<CFsDirectory>(L"\xFF5E");
    EXPECT_TRUE(*first < *second && !(*second < *first)) << "by 16-bit units";
    EXPECT_TRUE(*first != *second && *second != *first);
    EXPECT_FALSE(directory.exists(static_cast<const file_info*>(nullptr)));
}

TEST_F(FsDirectory, SizesAndTimes) {
    folder.write("a", "four");
    const auto at = [&](std::int64_t seconds) {
        const timespec times[] = {{seconds, 1}, {seconds + 1, 999'999'999}};
        utimensat(AT_FDCWD, folder.file("a").c_str(), times, 0);
        return directory.get_info(L"a");
    };
    EXPECT_EQ(at(1'700'000'000)->size(), 4U);
    EXPECT_EQ(at(1'700'000'000)->access_time(), 1'700'000'000U);
    EXPECT_EQ(at(1'700'000'000)->modification_time(), 1'700'000'001U);
    const std::uint64_t created = at(0)->creation_time();
    EXPECT_TRUE(created > 1'700'000'000 || created == 0) << "not every file system keeps it";

    const support::log_capture log;
    EXPECT_EQ(at(-2)->modification_time(), ~std::uint64_t{0}) << "before 1970 it wraps round";
    for (const std::uint64_t seconds : {0xFFFFFFFFULL, 0x100000000ULL}) {
        const int before = log.count("[ASSERT] timestamp <= _UI32_MAX");
        if (at(static_cast<std::int64_t>(seconds) - 1)->modification_time() != seconds) continue;
        EXPECT_EQ(log.count("[ASSERT] timestamp <= _UI32_MAX") - before, seconds > 0xFFFFFFFF);
    }
    const file_info_ptr gone = at(0);
    std::filesystem::remove(folder.file("a"));
    EXPECT_EQ(gone->creation_time(), 0U);
    EXPECT_EQ(log.summary().back(), "Warning fsdirectory: Failed to get file timestamp: 0");
    for (const wchar_t* name : {L"a", L""}) { // gone, and a folder
        try {
            CFsFileInfo(&directory, name, folder.wide_path() + L"/" + name).size();
            ADD_FAILURE();
        } catch (const std::filesystem::filesystem_error& failure) {
            EXPECT_STREQ(failure.what(), "file_size(p): invalid argument");
        }
    }
}

} // namespace
