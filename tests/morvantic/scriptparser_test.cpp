#include "morvantic/scriptparser.h"

#include "support/log_capture.h"
#include "support/memory_store.h"

#include <gtest/gtest.h>

// What no script's text can show.

using namespace engine;

TEST(ScriptParser, DiagnosticsThatNoTextRaises) {
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

    support::installed_scripts scripts({{L"demo.sc", "\"x\" = 1;"}});
    CScriptParser parser(nullptr, L"demo.sc");
    parser.next_token();
    EXPECT_THROW(parser.skip_unknown(), core::exception);
    EXPECT_EQ(log.lines().back().text, "[EXC] Parser error(1, 0): This error is currently not "
                                       "skippable\n    Callstack: demo.sc -> Error\n");
}

TEST(ScriptParser, StreamThatDeliversPastItsEndIsCutAtItsSize) {
    struct generous_stream : support::trickle_stream {
        using trickle_stream::trickle_stream;

        std::uint64_t read_impl(std::uint8_t* target, std::uint64_t) override {
            return std::copy_n("one two three", 13, target), 13;
        }
    };

    support::installed_scripts scripts({{L"demo.sc", "12345"}});
    scripts.store.open = [](const std::string& text) {
        return std::make_unique<generous_stream>(support::to_bytes(text), 13);
    };
    CScriptParser parser(nullptr, L"demo.sc");
    parser.next_token();
    parser.next_token();
    EXPECT_EQ(parser.current_text(), "t");
    EXPECT_EQ(parser.next_token(), token_eof);
}
