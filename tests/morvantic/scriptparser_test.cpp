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
    const std::string text(parser.current_text());
    switch (kind) {
    case token_eof:
        return "eof";
    case token_identifier:
        return "word:" + text;
    case token_string:
        return "text:" + text;
    case token_number:
        return "number:" + text;
    case token_bool:
        return "bool:" + text;
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

/// What no script text can show: a range of columns, warnings at level Debug, and a guard.
TEST(ScriptParser, DiagnosticsHaveTheirExactShape) {
    support::log_capture log;
    const std::vector<CTextContext> callstack{{"demo"}, {"::App::Header::", 3, 10}};
    CScriptParser::parser_warning("Odd", callstack, 12, 4, 7);
    CScriptParser::parser_warning("Odd", callstack, 12, 0, 7);
    const std::string stack = "): Odd\n    Callstack: demo -> ::App::Header::(3, 10) -> Warning\n";
    EXPECT_EQ(log.summary(),
              (std::vector<std::string>{"Debug scriptparser: Parser warning(12, 7-4" + stack,
                                        "Info scriptparser: Parser warning(12, 7-4" + stack,
                                        "Debug scriptparser: Parser warning(12, 0" + stack,
                                        "Info scriptparser: Parser warning(12, 0" + stack}));
    text_parser scanned("\"x\" = 1;");
    scanned.parser.next_token();
    EXPECT_EQ(failure_of([&] { scanned.parser.skip_unknown(); }),
              "Parser error(1, 0): This error is currently not skippable\n"
              "    Callstack: demo.sc -> Error\n");
}

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
