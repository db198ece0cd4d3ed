#include "core/variant.h"

#include "support/log_capture.h"

#include <gtest/gtest.h>

using namespace core;

namespace {

using nested = std::vector<std::pair<int, basic_variant>>;

/// A list in a list in a list, so many deep.
basic_variant nested_deep(int depth) {
    basic_variant inner(variant_nested_list, nested());
    for (int i = 0; i != depth; ++i) {
        nested list;
        list.emplace_back(1, basic_variant(variant_unknown, 7LL));
        list.emplace_back(2, std::move(inner));
        list.emplace_back(3, basic_variant(variant_unknown, std::string("x")));
        inner = basic_variant(variant_nested_list, std::move(list));
    }
    return inner;
}

} // namespace

TEST(Variant, KindsFollowTheType) {
    EXPECT_EQ(basic_variant(variant_unknown, true).kind(), variant_bool);
    EXPECT_EQ(basic_variant(variant_unknown, 5L).kind(), variant_integer);
    EXPECT_EQ(basic_variant(variant_unknown, 0.5f).kind(), variant_floating);
    EXPECT_EQ(basic_variant(variant_unknown, std::wstring()).kind(), variant_text);
    EXPECT_EQ(basic_variant(variant_unknown, std::list<std::string>()).kind(), variant_text_list);
    EXPECT_EQ(basic_variant(variant_unknown, std::vector<char>()).kind(), variant_bytes);
    EXPECT_EQ(basic_variant(variant_nested_list, 1).kind(), variant_nested_list);
    support::log_capture log;
    EXPECT_EQ(basic_variant(variant_unknown, 'x' + 0.0L).kind(), variant_unknown);
    EXPECT_EQ(log.count("[ASSERT] false"), 1);
}

TEST(Variant, CastsByExactTypeThenByKind) {
    EXPECT_EQ(basic_variant(variant_unknown, -5LL).cast<long long>(), -5);
    EXPECT_TRUE(basic_variant(variant_unknown, true).cast<bool>());
    EXPECT_EQ(basic_variant(variant_unknown, 1.0).cast<long long>(), 0x3FF0000000000000)
        << "the bits, not the number";
    EXPECT_EQ(basic_variant(variant_unknown, std::wstring(L"a\x20AC")).cast<std::string>(),
              "a\xAC");
    EXPECT_EQ(basic_variant(variant_unknown, std::list<std::wstring>{L"a", L"b"})
                  .cast<std::vector<std::string>>(),
              (std::vector<std::string>{"a", "b"}));
}

TEST(Variant, FailedCastIsLoggedAndThrown) {
    support::log_capture log;
    EXPECT_THROW(basic_variant(variant_unknown, std::string("5")).cast<long long>(),
                 core::exception);
    const auto lines = log.summary();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], "Debug debug: [ASSERT] false");
    EXPECT_TRUE(lines[1].starts_with("ERROR variant: [EXC] Failed to cast to type: "));
}

TEST(Variant, CopiesAreTheirOwnAndMovedFromIsEmpty) {
    auto source = std::make_unique<basic_variant>(variant_unknown, std::string("text"));
    const basic_variant copy(*source);
    basic_variant moved(std::move(*source));
    source.reset();
    EXPECT_EQ(copy.cast<std::string>(), "text");
    EXPECT_EQ(moved.cast<std::string>(), "text");
}

TEST(Variant, ListsNestDeeperThanAnyStack) {
    const basic_variant deep = nested_deep(300000);
    basic_variant copy(deep);
    int depth = 0;
    for (const nested* list = copy.held<nested>(); list != nullptr && !list->empty(); ++depth) {
        ASSERT_EQ((*list)[0].second.cast<long long>(), 7);
        ASSERT_EQ((*list)[2].second.cast<std::string>(), "x");
        list = (*list)[1].second.held<nested>();
    }
    EXPECT_EQ(depth, 300000);
}
