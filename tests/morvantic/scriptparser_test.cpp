#include "morvantic/scriptparser.h"

#include "support/fuel_stream.h"
#include "support/log_capture.h"
#include "support/memory_store.h"
#include "support/rows.h"

#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace engine;
using namespace std::string_literals;

namespace {

/// A parser over a text of its own, without a script behind it.
struct text_parser {
    explicit text_parser(const std::string& text)
        : scripts({{L"demo.sc", text}}), parser(nullptr, L"demo.sc") {}

    support::installed_scripts scripts;
    CScriptParser parser;
};

std::string spelled(const CScriptParser& parser, std::int32_t kind) {
    switch (kind) {
    case token_eof:
        return "eof";
    case token_identifier:
        return "word:" + parser.current_text();
    case token_string:
        return "text:" + parser.current_text();
    case token_number:
        return "number:" + parser.current_text();
    case token_bool:
        return "bool:" + parser.current_text();
    default:
        return kind > 0 ? std::string(1, static_cast<char>(kind)) : std::to_string(kind);
    }
}

std::string tokens_of(const std::string& text) {
    text_parser scanned(text);
    std::string all;
    for (;;) {
        const std::int32_t kind = scanned.parser.next_token();
        if (kind == token_eof) return all;
        all += spelled(scanned.parser, kind) + " ";
    }
}

/// The message of the failure, without what a diagnostic wraps round it.
std::string failure_of(const std::function<void()>& work) {
    try {
        work();
    } catch (const core::exception& failure) {
        return failure.what();
    }
    return "nothing";
}

} // namespace

struct token_case {
    const char* name;
    std::string text;
    std::string tokens;
};

class Tokens : public testing::TestWithParam<token_case> {};

TEST_P(Tokens, AreReadInOrder) { EXPECT_EQ(tokens_of(GetParam().text), GetParam().tokens); }

const token_case token_cases[] = {
    {"Nothing", "", ""},
    {"BlanksAndComments", " \t\r\n\v\f // one\n/* two **/ /**/ // at the end", ""},
    {"WordsAndNumbers", "_a1 1abc 2_b True true false",
     "word:_a1 number:1 word:abc number:2 "
     "word:_b word:True bool:true bool:false "},
    {"StringsAreRaw", "\"\" \"a\\n\" \"l1\nl2\" \"\xE9\xC3\"",
     "text: text:a\\n text:l1\nl2 text:\xE9\xC3 "},
    {"SinglesAreThemselves", "a.b-3::{;", "word:a . word:b - number:3 : : { ; "},
    {"CommentOpensTwice", "/*/ a */b", "word:b "},
    {"CommentInAString", "\"/*\" a // \"b\n\"c\"", "text:/* word:a text:c "},
    {"LoneSlash", "a / b", "word:a / word:b "},
    {"SlashesAndStars", "a/ /b", "word:a / / word:b "},
    {"HighBytesAreNegative", "a \x80 \xFA b", "word:a -128 -6 word:b "},
    {"ByteThatLooksLikeTheEnd", "a \xFF b", "word:a "},
    {"BytesThatLookLikeKinds", "a \xFE \xFB", "word:a word:a bool:a "},
    {"ByteThatEndsALineComment", "// x\xFF y\nz", "word:y word:z "},
    {"ByteOrderMark", "\xEF\xBB\xBF:", "-17 -69 -65 : "},
};

INSTANTIATE_TEST_SUITE_P(ScriptParser, Tokens, testing::ValuesIn(token_cases), support::row_name);

TEST(ScriptParser, TokensAcrossTheRefillsOfTheBuffer) {
    for (std::size_t before = 1018; before != 1027; ++before) {
        const std::string text = std::string(before, ' ') + "word \"te\nxt\" 1234 // x\n/**/true" +
                                 std::string(3000, 'b');
        EXPECT_EQ(tokens_of(text),
                  "word:word text:te\nxt number:1234 word:true" + std::string(3000, 'b') + " ");
    }
}

TEST(ScriptParser, LoneSlashLeavesTheTokenBeforeIt) {
    text_parser scanned("name { / x");
    scanned.parser.next_token();
    scanned.parser.next_token();
    EXPECT_EQ(scanned.parser.next_token(), '/');
    EXPECT_EQ(scanned.parser.current_token(), '{');
    EXPECT_EQ(scanned.parser.current_text(), "name");
}

TEST(ScriptParser, PositionIsWhereTheTokenOrCommentBeforeEnded) {
    struct {
        const char* text;
        std::uint64_t offset, line, column;
    } const cases[] = {
        {"b", 0, 1, 1},         // before the first byte
        {"a b", 2, 1, 3},       // behind the blank that ended the word
        {"a\n\n   b", 2, 2, 1}, // the first line feed has been read already
        {"a /* x\n */ b", 11, 2, 5},
        {"\"1\n2\" b", 6, 2, 4},
    };

    for (const auto& row : cases) {
        text_parser scanned(row.text);
        while (scanned.parser.next_token() != token_identifier ||
               scanned.parser.current_text() != "b") {}
        EXPECT_EQ(scanned.parser.current_start().offset, row.offset) << row.text;
        EXPECT_EQ(scanned.parser.current_start().line, row.line) << row.text;
        EXPECT_EQ(scanned.parser.current_start().column, row.column) << row.text;
    }
}

TEST(ScriptParser, StringWithoutAnEnd) {
    text_parser scanned("\n  \"abc");
    EXPECT_EQ(failure_of([&] { scanned.parser.next_token(); }),
              "Parser error(1, 0): Early end of file while reading string\n"
              "    Callstack: demo.sc -> Error\n");
    text_parser cut("\"a\xFFz\"");
    EXPECT_NE(failure_of([&] { cut.parser.next_token(); }), "nothing");
}

TEST(ScriptParser, DiagnosticsHaveTheirExactShape) {
    support::log_capture log;
    std::vector<std::string> callstack{"demo", "::App::Header::(3, 10)", "Package(8, 3)"};
    CScriptParser::parser_warning("Property \"names\" is missing", callstack, 12, 4, 7);
    CScriptParser::parser_warning("Odd", callstack, 12, 0, 7);
    EXPECT_EQ(failure_of([&] {
                  CScriptParser::parser_error("Expected identifier name", callstack, 12, 4, 0);
              }),
              "Parser error(12, 4): Expected identifier name\n    Callstack: demo -> "
              "::App::Header::(3, 10) -> Package(8, 3) -> Error\n");
    EXPECT_TRUE(callstack.empty());

    const std::string stack =
        "\n    Callstack: demo -> ::App::Header::(3, 10) -> Package(8, 3) -> ";
    const std::string warning =
        "Parser warning(12, 7-4): Property \"names\" is missing" + stack + "Warning\n";
    const std::string odd = "Parser warning(12, 0): Odd" + stack + "Warning\n";
    EXPECT_EQ(log.summary(),
              (std::vector<std::string>{
                  "Debug scriptparser: " + warning, "Info scriptparser: " + warning,
                  "Debug scriptparser: " + odd, "Info scriptparser: " + odd,
                  "ERROR scriptparser: [EXC] Parser error(12, 4): Expected identifier name" +
                      stack + "Error\n"}));
}

TEST(ScriptParser, ScriptThatIsNotThere) {
    support::log_capture log;
    EXPECT_EQ(failure_of([] { CScriptParser(nullptr, L"none.sc"); }), "Script not found.");
    EXPECT_EQ(log.summary(),
              std::vector<std::string>{"ERROR scriptparser: [EXC] Script not found."});
}

struct outline_case {
    const char* name;
    std::string text;
    std::string failure; // the line, the column and the message; empty for none
};

class Outline : public testing::TestWithParam<outline_case> {};

TEST_P(Outline, IsAcceptedOrRefused) {
    text_parser scanned(GetParam().text);
    const std::string expected =
        GetParam().failure.empty()
            ? "nothing"
            : "Parser error(" + GetParam().failure + "\n    Callstack: demo.sc -> Error\n";
    EXPECT_EQ(failure_of([&] { scanned.parser.scan_sections(); }), expected);
}

const outline_case outline_cases[] = {
    {"Empty", " // nothing\n", ""},
    {"HeadInPieces", ": : App /* x */ :: Header :\n: { \"}\" /* } */ {} } ::a::b::{}", ""},
    {"KeywordsAreNames", "::const::Package::{}", ""},
    {"FirstColon", "x::a::b::{}", "1, 0): ':' character expected to start section"},
    {"SecondColon", ":a::b::{}", "1, 2): Missing second ':' in section definition"},
    {"Namespace", "::\"a\"::b::{}", "1, 3): Section identifier expected"},
    {"NamespaceIsABool", "::true::b::{}", "1, 3): Section identifier expected"},
    {"ThirdColon", "::a b::{}", "1, 4): Missing third ':' in section definition"},
    {"FourthColon", "::a:b::{}", "1, 5): Missing fourth ':' in section definition"},
    {"Name", "::a::1::{}", "1, 6): Subsection identifier expected"},
    {"NameIsABool", "::a::false::{}", "1, 6): Subsection identifier expected"},
    {"FifthColon", "::a::b{}", "1, 7): Missing fifth ':' in section definition"},
    {"SixthColon", "::a::b:{}", "1, 8): Missing sixth ':' in section definition"},
    {"Brace", "::a::b::x", "1, 9): Opening brace expected after section definition"},
    {"EndsInTheHead", "::a::b::", "1, 9): Opening brace expected after section definition"},
    {"TextBehind", "::a::b::{}\n;", "2, 0): ':' character expected to start section"},
    {"OpenBraces", "::a::b::{ { {}\n",
     "2, 0): File not properly ended. 2 braces '{' needs to be "
     "closed"},
    {"SlashCountsABraceTwice", "::a::b::{ { / } }",
     "1, 18): File not properly ended. 1 braces '{' "
     "needs to be closed"},
    {"SlashAtTheStart", "/ ::a::b::{}", "1, 0): ':' character expected to start section"},
    {"SlashInAHead", "::a::b:/:{}", "1, 8): Missing sixth ':' in section definition"},
};

INSTANTIATE_TEST_SUITE_P(ScriptParser, Outline, testing::ValuesIn(outline_cases),
                         support::row_name);

struct skip_case {
    const char* name;
    std::string text;
    std::string rest; // the token behind what was skipped, or a message
};

class SkipUnknown : public testing::TestWithParam<skip_case> {};

TEST_P(SkipUnknown, ChoosesByTheFirstLetter) {
    text_parser scanned(GetParam().text);
    scanned.parser.next_token();
    const std::string failure = failure_of([&] { scanned.parser.skip_unknown(); });
    if (failure == "nothing") {
        EXPECT_EQ(spelled(scanned.parser, scanned.parser.next_token()), GetParam().rest);
    } else {
        EXPECT_NE(failure.find("): " + GetParam().rest + "\n"), std::string::npos) << failure;
    }
}

const skip_case skip_cases[] = {
    {"Property", "x = 1, \";\" } ; next", "word:next"},
    {"PropertyWithoutEquals", "x { }", "Expected '=' after unknown property"},
    {"PropertyAtASlash", "x / = 1;", "Expected '=' after unknown property"},
    {"Object", "X { { \"}\" } /* } */ } next", "word:next"},
    {"UnderscoreIsAnObject", "_x { } next", "word:next"},
    {"ObjectWithEquals", "X = 1;", "Expected '{' after unknown object"},
    {"ObjectLeftOpen", "X { {", "File not properly ended. 2 braces '{' needs to be closed"},
    {"NoWord", "\"x\" = 1;", "This error is currently not skippable"},
};

INSTANTIATE_TEST_SUITE_P(ScriptParser, SkipUnknown, testing::ValuesIn(skip_cases),
                         support::row_name);

TEST(ScriptParser, WhatHasNoEndIsNeverGivenUp) {
    for (const char* text : {"x /* no end", "x /*/"}) {
        support::installed_scripts scripts({{L"demo.sc", text}});
        const auto tank = std::make_shared<support::fuel_tank>();
        scripts.store.open = [&](const std::string& content) {
            return std::make_unique<support::fuel_stream>(support::to_bytes(content), tank);
        };
        CScriptParser parser(nullptr, L"demo.sc");
        tank->left = 100000;
        parser.next_token();
        EXPECT_THROW(parser.skip_unknown(), support::out_of_fuel) << text;
    }
}

TEST(ScriptParserDeathTest, SkippedPropertyWithoutItsSemicolonNeverEnds) {
    text_parser scanned("x = 1 } ::a::b::{}");
    scanned.parser.next_token();
    EXPECT_EXIT(
        {
            alarm(1); // it asks for nothing any more, so no stream can end it
            scanned.parser.skip_unknown();
        },
        testing::KilledBySignal(SIGALRM), "");
}

TEST(ScriptParser, StreamThatDeliversPastItsEndIsCutAtItsSize) {
    struct generous_stream : core::CDeepByteArrayInputStream {
        using CDeepByteArrayInputStream::CDeepByteArrayInputStream;

        std::uint64_t size_impl() const override { return 5; }

        std::uint64_t read_impl(std::uint8_t* target, std::uint64_t) override {
            std::copy_n("one two three", 13, target);
            return 13;
        }
    };

    support::installed_scripts scripts({{L"demo.sc", ""}});
    scripts.store.open = [](const std::string&) {
        return std::make_unique<generous_stream>(nullptr, 0);
    };
    CScriptParser parser(nullptr, L"demo.sc");
    parser.next_token();
    EXPECT_EQ(spelled(parser, parser.next_token()), "word:t");
    EXPECT_EQ(parser.next_token(), token_eof);
}
