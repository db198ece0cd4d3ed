#include "morvantic/scriptargument.h"

#include "morvantic/scriptargumentcallbackbase.h"
#include "support/log_capture.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <vector>

using namespace engine;
using strings = std::vector<std::string>;

namespace {

/// What a host does to a value, one word each: "clone a", "free a".
strings events;

/// Not the first base, so that a release function that forgets to cast would free nonsense.
struct padding {
    virtual ~padding() = default;
    long long content = 0;
};

struct value : padding, CScriptArgumentCallbackOf<value> {
    explicit value(std::string text) : name(std::move(text)) { ++alive; }

    value(const value& other) : padding(other), CScriptArgumentCallbackOf(other), name(other.name) {
        ++alive;
    }

    ~value() override { --alive; }

    CScriptArgumentCallback* clone() override {
        events.push_back("clone " + name);
        if (name == "barren") return nullptr;
        if (name == "bad") throw std::runtime_error("no copy");
        if (name == "odd") throw 1;
        return CScriptArgumentCallbackOf::clone();
    }

    std::string name;
    inline static int alive = 0;
};

void release_value(void* callback) {
    auto* owned = static_cast<value*>(static_cast<CScriptArgumentCallback*>(callback));
    events.push_back("free " + owned->name);
    delete owned;
}

CScriptArgument argument(const char* name) { return {&release_value, new value(name)}; }

std::string name_of(CScriptArgument* slot) {
    return slot == nullptr ? "-" : dynamic_cast<value&>(*slot->argument()).name;
}

class Arguments : public testing::Test {
protected:
    Arguments() { events.clear(); }

    ~Arguments() override { EXPECT_EQ(value::alive, expected_leaks); }

    int expected_leaks = 0;
};

using Argument = Arguments;

void fill(CScriptArguments& list, const strings& names) {
    for (const std::string& name : names) {
        CScriptArgument made = argument(name.c_str());
        list.insert(made);
    }
}

} // namespace

TEST_F(Argument, CopyClonesAndEachIsReleasedOnce) {
    {
        CScriptArgument first = argument("a");
        CScriptArgument second(first);
        EXPECT_NE(first.argument(), second.argument());
    }
    EXPECT_EQ(events, (strings{"clone a", "free a", "free a"}));
}

TEST_F(Argument, MoveTakesTheCallbackAlong) {
    CScriptArgument first = argument("a");
    CScriptArgument second(std::move(first));
    EXPECT_EQ(name_of(&second), "a");
    CScriptArgument third(first); // NOLINT: what is left of a moved-from argument
    EXPECT_EQ(third.argument(), nullptr);
    EXPECT_TRUE(events.empty());
}

TEST_F(Argument, AssignmentReleasesBeforeItClones) {
    CScriptArgument first = argument("a");
    CScriptArgument second = argument("b");
    first = *&first;
    EXPECT_TRUE(events.empty());
    first = second;
    EXPECT_EQ(events, (strings{"free a", "clone b"}));
    EXPECT_EQ(name_of(&first), "b");
}

TEST_F(Argument, WithoutACloneTheSourceStays) {
    const support::log_capture log;
    CScriptArgument barren = argument("barren");
    EXPECT_THROW(CScriptArgument{barren}, std::exception);
    EXPECT_EQ(name_of(&barren), "barren");
    // Once around the clone and once around the whole copy.
    EXPECT_EQ(log.summary(),
              strings(2, "ERROR scriptargumentimpl: [EXC] Failed to allocate memory."));
}

TEST_F(Argument, AssignmentThatFailsLeavesNoCallback) {
    const support::log_capture log;
    CScriptArgument target = argument("a");
    CScriptArgument odd = argument("odd");
    EXPECT_THROW(target = odd, int);
    EXPECT_EQ(target.argument(), nullptr);
    EXPECT_EQ(log.count("[EXC] Unknown Exception."), 3);
    EXPECT_EQ(log.lines().back().module, "mvx\\morvantic\\scriptargument");
}

TEST_F(Argument, CallbacksKeepTheirType) {
    struct typed : CScriptArgumentCallbackOf<typed> {
        using CScriptArgumentCallbackOf::CScriptArgumentCallbackOf;
    };

    EXPECT_EQ(typed().type(), 0);
    CScriptArgument source(&CScriptArgument::delete_callback, new typed(EType(-7)));
    CScriptArgument copy(source);
    EXPECT_EQ(copy.argument()->type(), -7);
    EXPECT_NE(dynamic_cast<typed*>(copy.argument()), nullptr);
}

TEST_F(Arguments, WalkForthAndBack) {
    CScriptArguments list(2);
    EXPECT_EQ(list.next(), nullptr);
    EXPECT_EQ(list.prev(), nullptr);
    EXPECT_EQ(list.at(1), nullptr);
    fill(list, {"a", "b", "c"});
    EXPECT_EQ(list.size(), 3u);
    EXPECT_EQ(list.at(), nullptr);
    EXPECT_EQ(list.next(), nullptr);
    for (const char* name : {"c", "b", "a", "a"})
        EXPECT_EQ(name_of(list.prev()), name);
    list.reset_index();
    EXPECT_EQ(name_of(list.at()), "a");
    for (const char* name : {"a", "b", "c", "-", "-"})
        EXPECT_EQ(name_of(list.next()), name);
    EXPECT_EQ(list.at(3), nullptr);
}

// Growing copies every argument that is there, so the clones of each insert show the capacity.
TEST_F(Arguments, GrowInStepsOfFive) {
    const std::pair<std::size_t, std::vector<std::ptrdiff_t>> rows[] = {
        {0, {1, 1, 1, 1, 1, 6, 1, 1, 1, 1, 11, 1}}, {2, {1, 1, 3, 1, 1, 1, 1, 8, 1}}};

    for (const auto& [room, clones_of_each] : rows) {
        CScriptArguments list(room);
        CScriptArgument made = argument("a");
        for (const std::ptrdiff_t clones : clones_of_each) {
            events.clear();
            list.insert(made);
            EXPECT_EQ(std::count(events.begin(), events.end(), "clone a"), clones);
        }
    }
}

TEST_F(Arguments, FailureWhileGrowingLosesNothing) {
    CScriptArguments list(2);
    fill(list, {"a", "b"});
    std::string& last = dynamic_cast<value&>(*list.at(1)->argument()).name;
    last = "bad";
    EXPECT_THROW(fill(list, {"c"}), std::runtime_error);
    EXPECT_EQ(list.size(), 2u);
    EXPECT_EQ(name_of(list.at(0)), "a");
    last = "b";
    fill(list, {"c"});
    EXPECT_EQ(name_of(list.at(2)), "c");
}

TEST_F(Arguments, InsertAfterResetOverwritesWithoutRelease) {
    expected_leaks = 1;
    CScriptArguments list(2);
    fill(list, {"a", "b"});
    list.reset_index();
    events.clear();
    fill(list, {"c"});
    EXPECT_EQ(events, (strings{"clone c", "free c"}));
    EXPECT_EQ(list.size(), 2u);
    EXPECT_EQ(name_of(list.at(0)), "c");
}
