#include "support/memory_store.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <recorder.h>

namespace {

using recorder::value;
using recorder::value_list;

#if defined(SANITIZED)
constexpr std::size_t depth = 100'000; // a checker takes minutes for more
#else
constexpr std::size_t depth = 1'000'000;
#endif
constexpr std::size_t objects = depth / 5;

value_list call(std::vector<value> values) {
    return value_list({{recorder::value_call, 0, "default::f", {}, value_list(std::move(values))}});
}

/// Reads, copies, compares, prints and takes down: a deep call, and many objects behind it.
void* use_large_script(void* result) {
    std::string text = "::a::Script::{ func setSpecific(";
    value_list nested(std::vector<value>{});
    for (std::size_t i = 0; i != depth; ++i) {
        text += "default::f(";
        nested = call(nested.values());
    }
    text.append(depth, ')') += ");";
    for (std::size_t i = 0; i != objects; ++i)
        text += "ZipAnalyzer<>(){}";
    support::installed_scripts scripts({{L"demo.sc", text + "}"}});
    std::vector<recorder::call> calls;
    {
        recorder::recording_script script(L"demo.sc");
        script.init();
        auto* body = dynamic_cast<recorder::recording_body*>(script.section("a", "Script"));
        if (body != nullptr) calls = body->calls();
    }
    if (calls.size() == 1 + 2 * objects && calls[0].arguments == nested) {
        *static_cast<std::string*>(result) = spelled(calls[0]);
    }
    return nullptr;
}

} // namespace

/// From the script's text to the printed call on a thread whose stack would not hold a tenth of it
/// in frames.
TEST(Recorder, HoldsCallsNestedAMillionDeep) {
    std::string text;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 256 * 1024);
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, &attributes, use_large_script, &text), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    EXPECT_EQ(text.size(), sizeof "func setSpecific(" + 12 * depth);
}

TEST(Recorder, ListsAreSharedAndDifferByAnyValue) {
    const value_list one = call({{recorder::value_int, 1}});
    EXPECT_TRUE(value_list(one).shares_with(one));
    EXPECT_EQ(one, call({{recorder::value_int, 1}}));
    for (const auto& values : {std::vector<value>{},
                               {{recorder::value_int, 2}},
                               {{recorder::value_bool, 1}},
                               {{recorder::value_int, 1, "text"}}})
        EXPECT_NE(one, call(values));
    EXPECT_NE(value_list(), value_list(std::vector<value>{}));
    EXPECT_EQ(recorder::quoted("a\n\"\\\x7F\xC3\xA4"), "\"a\\x0a\\x22\\x5c\\x7f\xC3\xA4\"");
}
