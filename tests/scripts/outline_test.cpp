#include "support/log_capture.h"
#include "support/memory_store.h"
#include "tools/morvantic/outline.h"

#include "morvantic/script.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

namespace {

const tool::section_head heads[] = {{"a", "b"}, {"App", "Include"}, {"b", "a"}, {"a", "a"}};

/// Sections, with pieces between them that heads, braces and tokens can go wrong with.
std::string random_text(std::mt19937& random) {
    static const std::string whole[] = {"::a::b::{ } ", "::b::a::{{}}", "::App::Include::{ }\n",
                                        "::a::b::{ ", "} "};
    static const std::string odd[] = {"{",      "}",      "{ / ",  "/",    ":",   "::",   "a",
                                      "=",      "1x",     "\"}\"", "\"",   "\n",  "true", "/* } */",
                                      "/*/ */", "// }\n", "\xFF",  "\xFE", "\xE9"};
    std::string text;
    for (std::size_t i = 1 + random() % 6; i != 0; --i) {
        text += whole[random() % std::size(whole)];
        if (random() % 4 == 0) text += odd[random() % std::size(odd)];
    }
    return text;
}

/// The sections among `heads` that a host gets without a word about their absence.
std::vector<tool::section_head> known_to_the_engine(const std::string& text) {
    support::installed_scripts scripts({{L"demo.sc", text}});
    engine::CScript script(L"demo.sc");
    script.init();
    std::vector<tool::section_head> known;
    for (const tool::section_head& head : heads) {
        support::log_capture log(4);
        script.section(head.where.c_str(), head.name.c_str());
        const std::vector<support::log_line> lines = log.lines();
        if (std::none_of(lines.begin(), lines.end(), [](const support::log_line& line) {
                return line.text.find("could not find section") != std::string::npos;
            })) {
            known.push_back(head);
        }
    }
    return known;
}

} // namespace

TEST(Outline, FindsTheSectionsThatTheEngineFinds) {
    std::mt19937 random(1);
    std::size_t found = 0;
    for (int i = 0; i != 1000; ++i) {
        const std::string text = random_text(random);
        const tool::script_outline outline = tool::read_outline(text);
        if (outline.endless_comment_line != 0) continue; // the engine does not come back
        const std::vector<tool::section_head> known = known_to_the_engine(text);
        EXPECT_TRUE(std::is_permutation(known.begin(), known.end(), outline.sections.begin(),
                                        outline.sections.end()))
            << text;
        found += known.size();
    }
    EXPECT_GT(found, 200U);
}

TEST(Outline, ListsWhatMayBeAModule) {
    const tool::script_outline outline =
        tool::read_outline("::App::Include::{ a = Python {} /* b = Python */ \"c = Python\" \n"
                           "XQuery { d = Python; } a = /**/ Python {} = Python \"e\" = Python }\n"
                           "::a::Script::{ f = Python } /* open");
    EXPECT_EQ(outline.modules, (std::vector<std::string>{"a", "d", "f"}));
    EXPECT_EQ(outline.endless_comment_line, 3U);
}
