#include "morvantic/scriptargument.h"

#include "morvantic/scriptargumentcallbackbase.h"
#include "support/log_capture.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>

using namespace engine;
using strings = std::vector<std::string>;

namespace {

strings events;             // "clone a", "free a"
std::shared_ptr<int> alive; // shared by all values

struct value : CScriptArgumentCallbackOf<value> {
    explicit value(std::string text)
        : CScriptArgumentCallbackOf(EType(-7)), name(std::move(text)) {}

    ~value() override { events.push_back("free " + name); }

    CScriptArgumentCallback* clone() override {
        events.push_back("clone " + name);
        if (name == "barren") return nullptr;
        if (name == "bad") throw std::runtime_error("no copy");
        if (name == "odd") throw 1;
        return CScriptArgumentCallbackOf::clone();
    }

    std::string name;
    std::shared_ptr<int> life = alive;
};

CScriptArgument argument(const char* name) {
    return {&CScriptArgument::delete_callback, new value(name)};
}

std::string name_of(CScriptArgument* slot) {
    return slot == nullptr ? "-" : dynamic_cast<value&>(*slot->argument()).name;
}

class Arguments : public testing::Test {
protected:
    Arguments() {
        events.clear();
        alive = std::make_shared<int>();
    }

    void fill(const strings& names) {
        for (const std::string& name : names) {
            CScriptArgument made = argument(name.c_str());
            list.insert(made);
        }
    }

    struct leak_check {
        ~leak_check() { EXPECT_EQ(alive.use_count(), 1 + expected); }

        int expected = 0;
    } leaks;

    CScriptArguments list{2};
};

} // namespace

TEST_F(Arguments, AreClonedWhenCopiedAndReleasedOnce) {
    CScriptArgument first = argument("a");
    CScriptArgument copy(first);
    EXPECT_NE(first.argument(), copy.argument());
    EXPECT_EQ(copy.argument()->type(), -7);
    CScriptArgument moved(std::move(first));
    CScriptArgument empty(first); // NOLINT: what is left of a moved-from argument
    EXPECT_EQ(empty.argument(), nullptr);
    copy = *&copy;
    EXPECT_EQ(events, strings{"clone a"});
    CScriptArgument other = argument("b");
    copy = other;
    EXPECT_EQ(events, (strings{"clone a", "free a", "clone b"})) << "released before it clones";
    EXPECT_EQ(name_of(&copy) + name_of(&moved), "ba");
}

TEST_F(Arguments, CloneThatFailsIsLoggedByAllThatItPasses) {
    const support::log_capture log;
    CScriptArgument barren = argument("barren");
    EXPECT_THROW(CScriptArgument{barren}, std::exception);
    EXPECT_EQ(name_of(&barren), "barren");
    EXPECT_EQ(log.summary(),
              strings(2, "ERROR scriptargumentimpl: [EXC] Failed to allocate memory."));
    CScriptArgument odd = argument("odd");
    EXPECT_THROW(barren = odd, int);
    EXPECT_EQ(barren.argument(), nullptr);
    EXPECT_EQ(log.count("[EXC] Unknown Exception."), 3);
    EXPECT_EQ(log.lines().back().module, "mvx\\morvantic\\scriptargument");
}

TEST_F(Arguments, WalkForthAndBack) {
    EXPECT_EQ(list.next(), nullptr);
    EXPECT_EQ(list.prev(), nullptr);
    EXPECT_EQ(list.at(1), nullptr);
    fill({"a", "b", "c"});
    EXPECT_EQ(list.next(), nullptr);
    for (const char* name : {"c", "b", "a", "a"})
        EXPECT_EQ(name_of(list.prev()), name);
    for (const char* name : {"a", "b", "c", "-", "-"})
        EXPECT_EQ(name_of(list.next()), name);
    EXPECT_EQ(list.at(3), nullptr);
}

// Growing copies every argument that is there, so the clones of each insert show the capacity.
TEST_F(Arguments, GrowInStepsOfFive) {
    CScriptArgument made = argument("a");
    for (const std::ptrdiff_t clones : {1, 1, 3, 1, 1, 1, 1, 8, 1, 1, 1, 1, 13}) {
        events.clear();
        list.insert(made);
        EXPECT_EQ(std::count(events.begin(), events.end(), "clone a"), clones);
    }
}

TEST_F(Arguments, FailureWhileGrowingLosesNothing) {
    fill({"a", "b"});
    std::string& last = dynamic_cast<value&>(*list.at(1)->argument()).name;
    last = "bad";
    EXPECT_THROW(fill({"c"}), std::runtime_error);
    EXPECT_EQ(list.size(), 2u);
    last = "b";
    fill({"c"});
    EXPECT_EQ(name_of(list.at(0)) + name_of(list.at(2)), "ac");
}

TEST_F(Arguments, InsertAfterResetOverwritesWithoutRelease) {
    leaks.expected = 1;
    fill({"a", "b"});
    list.reset_index();
    events.clear();
    fill({"c"});
    EXPECT_EQ(events, (strings{"clone c", "free c"}));
    EXPECT_EQ(list.size(), 2u);
    EXPECT_EQ(name_of(list.at(0)), "c");
}
