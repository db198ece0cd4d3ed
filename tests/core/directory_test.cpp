#include "core/directory.h"

#include "support/log_capture.h"

#include <gtest/gtest.h>

using namespace core;

namespace {

struct empty_directory : directory {
    directory_ptr clone() const override { return nullptr; }

    bool exists(const std::wstring&) const override { return ++asked, true; }

    input_stream_ptr open(const std::wstring&) const override { return ++asked, nullptr; }

    file_info_ptr get_info(const std::wstring&) const override { return nullptr; }

    using directory::exists;
    using directory::open;
    mutable int asked = 0;
};

struct other_directory : empty_directory {};

struct orphan : file_info {
    orphan() : file_info(nullptr) {}

    std::wstring path() const override { return L"x"; }

    std::uint64_t size() const override { return 0; }

    std::uint64_t creation_time() const override { return 0; }

    std::uint64_t modification_time() const override { return 0; }

    std::uint64_t access_time() const override { return 0; }
};

} // namespace

TEST(Directory, NullEntryIsNotAskedFor) {
    empty_directory folder;
    EXPECT_FALSE(folder.exists(static_cast<const file_info*>(nullptr)));
    EXPECT_EQ(folder.open(static_cast<const file_info*>(nullptr)), nullptr);
    EXPECT_EQ(folder.asked, 0);
    EXPECT_EQ(orphan().open(), nullptr);
}

TEST(Directory, DefaultsAssertAndGiveNothing) {
    support::log_capture log;
    empty_directory folder;
    const_iterator entries = folder.search(true);
    EXPECT_FALSE(entries);
    EXPECT_EQ(*++entries, nullptr);
    EXPECT_EQ(folder.subdirectory(L"a"), nullptr);
    EXPECT_EQ(log.count("[ASSERT] !\"Not implemented\""), 2);
}

TEST(Directory, KindsCompareByTypeAlone) {
    const empty_directory first;
    const other_directory second;
    EXPECT_TRUE(first == empty_directory());
    EXPECT_TRUE(first != second);
    EXPECT_NE(first < second, second < first);
}
