#include "support/memory_store.h"
#include "support/script_cases.h"
#include "tools/morvantic/failure.h"
#include "tools/morvantic/script_format.h"
#include "tools/morvantic/script_look.h"
#include "tools/morvantic/script_report.h"

#include <gtest/gtest.h>
#include <regex>

namespace {

/// What the engine delivers; messages name places.
std::string calls_of(const std::string& text) {
    constexpr unsigned never = 1000; // seconds
    support::installed_scripts scripts({{L"demo.sc", text}});
    const auto report = tool::read_script(L"demo.sc", tool::read_outline(text), {}, never);
    return std::regex_replace(text_of(*report), std::regex(" *(log|Callstack:) .*\n"), "");
}

} // namespace

TEST(Format, LaysOutStatementsListsAndComments) {
    const std::string text = R"(// first
::App::Header::{Package{names="a",   "b"; // two
platforms=platform . iOS;}


engineVersion=1;}
/* of
   lines */
::A::Script::{x=ZipAnalyzer<"a",
"b"   c>(fs.App,{"d","e"}){func setSpecific(-  5,default::f(g()),   /* in */ "over
  lines");

const e=""; /* of f */ const f=""; /* done */
}
MediaAnalyzer<>(){}functionOnColumnWithLongName("the first of its values", "the second of its values", nested("one", "two"));}
)";
    EXPECT_EQ(tool::formatted(text, "text"), R"(// first
::App::Header::{
    Package {
        names = "a", "b";  // two
        platforms = platform.iOS;
    }

    engineVersion = 1;
}

/* of
   lines */
::A::Script::{
    x = ZipAnalyzer<"a", "b" c>(fs.App, {"d", "e"}) {
        func setSpecific(-5, default::f(g()), /* in */ "over
  lines");

        const e = "";
        /* of f */ const f = ""; /* done */
    }
    MediaAnalyzer<>() {}
    functionOnColumnWithLongName("the first of its values", "the second of its values",
        nested("one", "two"));
}
)");
}

TEST(Format, ChangesNothingForTheEngineNorASecondTime) {
    std::size_t formatted = 0;
    for (const support::script_case& row : support::script_cases(SCRIPTS)) {
        if (tool::is_endless(tool::look_at(row.text, {}))) continue;
        std::string once;
        try {
            once = tool::formatted(row.text, row.name);
        } catch (const tool::failure&) {
            continue;
        }
        ++formatted;
        EXPECT_EQ(tool::formatted(once, row.name), once);
        EXPECT_EQ(calls_of(once), calls_of(row.text)) << once;
    }
    EXPECT_GT(formatted, 100U);
}

TEST(Format, RefusesWhatCannotBeSeen) {
    for (const char* text :
         {"/* open", "\"open", "::A::Script::{ / }", "\xEF\xBB\xBF::A::B::{}",
          "::A::Script::{ \xE9 }", "::A::B::{} \xFF", "::A::Script::{ func setSpecific(1; }",
          "::A::B::{ ) }", "::A::B::{", "::A::B::{ const a = \"\"\nconst b }"}) {
        EXPECT_THROW(tool::formatted(text, "text"), tool::failure) << text;
    }
}
