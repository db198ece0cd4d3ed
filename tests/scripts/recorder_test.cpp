#include "support/memory_store.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <recorder.h>

namespace {

#if defined(SANITIZED)
constexpr std::size_t depth = 100'000; // a checker takes minutes for more
#else
constexpr std::size_t depth = 1'000'000;
#endif

std::string nested_text() {
    std::string text = "::a::Script::{ func setSpecific(";
    for (std::size_t i = 0; i != depth; ++i)
        text += "default::f(";
    return text.append(depth, ')') + "); }";
}

recorder::value_list nested_values() {
    recorder::value_list list(std::vector<recorder::value>{});
    for (std::size_t i = 0; i != depth; ++i)
        list = recorder::value_list({{recorder::value_call, 0, "default::f", {}, list}});
    return list;
}

/// Reads, copies, compares, prints and takes down.
void* use_nested_calls(void* result) {
    support::installed_scripts scripts({{L"demo.sc", nested_text()}});
    std::vector<recorder::call> calls;
    {
        recorder::recording_script script(L"demo.sc");
        script.init();
        auto* body = dynamic_cast<recorder::recording_body*>(script.section("a", "Script"));
        if (body != nullptr) calls = body->calls();
    }
    if (calls.size() == 1 && calls[0].arguments == nested_values()) {
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
    ASSERT_EQ(pthread_create(&thread, &attributes, use_nested_calls, &text), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    EXPECT_EQ(text.size(), sizeof "func setSpecific(" + 12 * depth);
}

TEST(Recorder, ListsAreSharedAndDifferByAnyValue) {
    using recorder::value;
    using recorder::value_list;
    const auto call = [](std::vector<value> values) {
        return value_list({{recorder::value_call, 0, "f", {}, value_list(std::move(values))}});
    };
    const value_list one = call({{recorder::value_int, 1}});
    const value_list copy = one;
    EXPECT_TRUE(copy.shares_with(one));
    EXPECT_EQ(one, call({{recorder::value_int, 1}}));
    for (const value_list& other : {call({{recorder::value_int, 2}}), call({}),
                                    call({{recorder::value_bool, 1}}), value_list()}) {
        EXPECT_NE(one, other);
        EXPECT_NE(other, one);
    }
    EXPECT_NE(value_list(), value_list(std::vector<value>{}));
    EXPECT_EQ(spelled(one), "(f(1))");
    EXPECT_EQ(recorder::quoted("a\n\"\\\x7F\xC3\xA4"), "\"a\\x0a\\x22\\x5c\\x7f\xC3\xA4\"");
}
