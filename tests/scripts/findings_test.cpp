#include "support/memory_store.h"
#include "support/script_cases.h"
#include "tools/morvantic/engine_findings.h"
#include "tools/morvantic/script_look.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <regex>
#include <span>

namespace {

using tool::finding;
using tool::finding_kind;

std::vector<finding> findings_in(const std::string& text) {
    support::installed_scripts scripts({{L"demo.sc", text}});
    std::vector<finding> findings = tool::look_at(text, [](const std::string& name, const char*) {
        return name.ends_with("no.xq") ? tool::answer_missing : tool::answer_other_kind;
    });
    if (!tool::is_endless(findings)) {
        const std::vector<finding> logged = tool::ask_engine(L"demo.sc", text);
        findings.insert(findings.end(), logged.begin(), logged.end());
    }
    return findings;
}

template <class Work>
void for_each_kind(Work&& work) {
    for (const std::span<const finding_kind> kinds : {tool::engine_kinds(), tool::text_kinds()})
        std::for_each(kinds.begin(), kinds.end(), work);
}

/// "code: from the marked token" for each finding, where the text has "@" in front of it.
void expect_at_marks(std::string text, const std::vector<std::string>& codes) {
    std::vector<std::pair<std::size_t, std::string>> expected;
    for (const std::string& code : codes) {
        const std::size_t mark = text.find('@');
        ASSERT_NE(mark, std::string::npos) << code;
        text.erase(mark, 1);
        expected.emplace_back(mark, code);
    }
    std::vector<std::pair<std::size_t, std::string>> found;
    for (const finding& each : findings_in(text))
        found.emplace_back(each.begin, each.kind->code);
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, expected) << text;
}

} // namespace

TEST(Findings, EveryCodeHasAnExampleThatRaisesIt) {
    std::set<std::string> codes;
    for_each_kind([&](const finding_kind& kind) {
        EXPECT_TRUE(codes.insert(kind.code).second) << kind.code << " is there twice";
        if (*kind.example == '\0') return; // only a fault of the engine would raise it
        const std::vector<finding> findings = findings_in(tool::example_script(kind));
        EXPECT_TRUE(std::any_of(findings.begin(), findings.end(), [&](const finding& found) {
            return found.kind == &kind;
        })) << kind.code;
    });
}

TEST(Findings, EveryMessageOfTheEngineHasACode) {
    const std::regex said("log (\\w+): Parser \\w+\\([-0-9, ]*\\): (.*)");
    for (const support::script_case& row : support::script_cases(SCRIPTS)) {
        const std::string& lines = row.transcript;
        for (std::sregex_iterator at(lines.begin(), lines.end(), said), end; at != end; ++at) {
            const bool is_error = (*at)[1] == "ERROR";
            EXPECT_NE(kind_of_message(is_error ? tool::severity_error : tool::severity_warning,
                                      (*at)[2].str()),
                      nullptr)
                << (*at)[2];
        }
    }
}

/// Texts in the parser's sources that are told to authors, whole or in pieces. Not among them are
/// guards that no text reaches, what call stacks name, and what is told to hosts.
TEST(Findings, NoMessageOfTheParserIsForgotten) {
    static const std::set<std::string> others = {"This error is currently not skippable",
                                                 "Argument and variant types do not match",
                                                 "Unknown argument type",
                                                 "Function name missing",
                                                 "Last argument must be function name as String",
                                                 "Unknown constant recieved",
                                                 "Script not found.",
                                                 "Internal error.",
                                                 "Constant definition",
                                                 "Global function"};
    const std::regex literal(R"re(//[^\n]*|"((?:\\.|[^"\\\n])*)"|'[^\n]')re");
    std::size_t seen = 0;
    for (const auto& entry : std::filesystem::directory_iterator(PARSER)) {
        const std::string name = entry.path().filename();
        if (!name.starts_with("scriptparser") && name != "scriptgrammar.h") continue;
        const std::string source = support::read_file(entry.path());
        for (std::sregex_iterator at(source.begin(), source.end(), literal), end; at != end; ++at) {
            std::string text = std::regex_replace((*at)[1].str(), std::regex("\\\\(.)"), "$1");
            if (!std::regex_search(text, std::regex("^[A-Z':].* "))) continue; // no sentence
            if (text.starts_with("Parser ") || others.contains(text)) continue;
            ++seen;
            const auto kinds = tool::engine_kinds();
            EXPECT_TRUE(kind_of_message(tool::severity_warning, text) ||
                        std::any_of(kinds.begin(), kinds.end(),
                                    [&](const finding_kind& kind) {
                                        return std::string_view(kind.message).find(text) !=
                                               std::string_view::npos;
                                    }))
                << text;
        }
    }
    EXPECT_GT(seen, 60U);
}

TEST(Findings, TheLanguageReferenceListsAllOfThem) {
    std::string reference = support::read_file(LANGUAGE_REFERENCE);
    reference = reference.substr(reference.find("## Messages"));
    reference = reference.substr(0, reference.find("## Traps"));
    std::size_t listed = 0;
    for_each_kind([&](const finding_kind& kind) {
        const std::string message =
            std::regex_replace(std::string(kind.message), std::regex("%"), "N");
        const std::string row = std::string("| `") + kind.code + "` | `" + message + "` | " +
                                kind.cause + " | " + kind.remedy + " |\n";
        EXPECT_NE(reference.find(row), std::string::npos) << row;
        ++listed;
    });
    const std::regex row("\n\\| `[-a-z]+` \\| `");
    EXPECT_EQ(std::distance(std::sregex_iterator(reference.begin(), reference.end(), row), {}),
              static_cast<std::ptrdiff_t>(listed));
}

TEST(Findings, PointAtTheNameThatTheyComplainOf) {
    std::size_t seen = 0;
    for (const finding_kind& kind : tool::engine_kinds()) {
        const std::string text = tool::example_script(kind);
        for (const finding& found : findings_in(text)) {
            std::smatch name;
            const bool has_name = std::regex_search(found.message, name, std::regex("\"(\\w+)\""));
            if (found.kind != &kind || !has_name || found.message.starts_with("Expected")) continue;
            const std::string marked = text.substr(found.begin, found.end - found.begin);
            const bool is_block = marked == "Package" || marked == "Python" || marked == "XQuery";
            EXPECT_TRUE(marked == name[1] || is_block) << kind.code << " marks " << marked;
            ++seen;
        }
    }
    EXPECT_GT(seen, 20U);
}

TEST(Findings, StandAtTheirTruePlaces) {
    // The engine counts the byte behind a section's brace twice, and names the place behind the
    // token before.
    expect_at_marks("@::A::Script::{ // one\n  func\n  @setNothing(); }",
                    {"header-missing", "unknown-function-type"});
    expect_at_marks("@::A::Script::{\n/* two */ func setSpecific(1, @nobody); }",
                    {"header-missing", "unknown-name"});
    expect_at_marks("@::A::Script::{\r\n  func setSpecific(plist.@No);\n}\n",
                    {"header-missing", "unknown-enum"});
    expect_at_marks("::A::Script::{ func setSpecific();\n\n} @5", {"text-outside-section"});
    expect_at_marks("::App::Header::{ Package { names = \"a\"; platforms = platform.iOS;\n"
                    "namespaces = \"B\", \"A\"; } }\n"
                    "::A::Script::{ const c = \"\"; func setSpecific(c); }\n"
                    "::B::Script::{ func setSpecific(@@c); }",
                    {"section-order", "unknown-name"});
    expect_at_marks("@::A::Script::{ func setSpecific(@@none::g()); }",
                    {"header-missing", "include-missing", "unknown-module"});
    expect_at_marks("::App::Header::@{ Package { names = \"a\"; platforms = platform.iOS; }",
                    {"unclosed-braces"});
}
