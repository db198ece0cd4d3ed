#include "core/variant.h"

#include "support/log_capture.h"

#include <gtest/gtest.h>

using namespace core;

namespace {

template <class T>
basic_variant variant_of(T value) {
    return {variant_unknown, std::move(value)};
}

} // namespace

TEST(Variant, KindsFollowTheType) {
    EXPECT_EQ(variant_of(true).kind(), variant_bool);
    EXPECT_EQ(variant_of(5L).kind(), variant_integer);
    EXPECT_EQ(variant_of(0.5f).kind(), variant_floating);
    EXPECT_EQ(variant_of(std::wstring()).kind(), variant_text);
    EXPECT_EQ(variant_of(std::list<std::string>()).kind(), variant_text_list);
    EXPECT_EQ(variant_of(std::vector<char>()).kind(), variant_bytes);
    EXPECT_EQ(basic_variant(variant_nested_list, 1).kind(), variant_nested_list);
    support::log_capture log;
    EXPECT_EQ(variant_of('x' + 0.0L).kind(), variant_unknown);
    EXPECT_EQ(log.count("[ASSERT] false"), 1);
}

TEST(Variant, CastsByExactTypeThenByKind) {
    EXPECT_EQ(variant_of(-5LL).cast<long long>(), -5);
    EXPECT_TRUE(variant_of(true).cast<bool>());
    EXPECT_TRUE(variant_of(1LL).cast<bool>());
    EXPECT_EQ(variant_of(1.0).cast<long long>(), 0x3FF0000000000000) << "the bits of it";
    EXPECT_EQ(variant_of(std::wstring(L"a\x20AC")).cast<std::string>(), "a\xAC");
    EXPECT_EQ(variant_of(std::list<std::wstring>{L"a", L"b"}).cast<std::vector<std::string>>(),
              (std::vector<std::string>{"a", "b"}));
    support::log_capture log;
    EXPECT_THROW(variant_of(std::string("5")).cast<long long>(), core::exception);
    EXPECT_THROW(variant_of(std::string()).cast<bool>(), core::exception);
    EXPECT_THROW(variant_of(1LL).cast<std::vector<std::string>>(), core::exception);
    EXPECT_TRUE(log.summary().back().starts_with("ERROR variant: [EXC] Failed to cast to type: "));
}

TEST(Variant, ListsNestDeeperThanAnyStack) {
    using nested = std::vector<std::pair<int, basic_variant>>;
    auto source = std::make_unique<basic_variant>(variant_text_list, nested());
    for (int i = 0; i != 300000; ++i) {
        nested list;
        list.emplace_back(1, variant_of(7LL));
        list.emplace_back(2, std::move(*source));
        list.emplace_back(3, variant_of(std::string("x")));
        *source = basic_variant(variant_text_list, std::move(list));
    }
    const basic_variant copy(*source);
    source.reset();
    int depth = 0;
    for (const nested* list = copy.held<nested>(); list != nullptr && !list->empty(); ++depth) {
        ASSERT_EQ((*list)[0].second.cast<long long>(), 7);
        ASSERT_EQ((*list)[1].second.kind(), variant_text_list) << "the kind that was given";
        ASSERT_EQ((*list)[2].second.cast<std::string>(), "x");
        list = (*list)[1].second.held<nested>();
    }
    EXPECT_EQ(depth, 300000);
}
