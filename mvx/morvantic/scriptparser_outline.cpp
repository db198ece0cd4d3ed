#include "morvantic/scriptparser.h"

#include <array>
#include <cstddef>

// The first pass, and the two routines that skip text by its tokens alone:
//
//     ::App::Header::{ ... }          a section
//     someday = 1, "two" ;            an unknown property: begins with a lower-case letter
//     Someday { inner { } }           an unknown object: begins with anything else

namespace engine {

namespace {

struct head_token {
    std::int32_t kind;
    const char* message;
};

/// A section's head. The colons are tokens of their own, so blanks and comments may part them.
constexpr std::array section_head = {
    head_token{':', "':' character expected to start section"},
    head_token{':', "Missing second ':' in section definition"},
    head_token{token_identifier, "Section identifier expected"},
    head_token{':', "Missing third ':' in section definition"},
    head_token{':', "Missing fourth ':' in section definition"},
    head_token{token_identifier, "Subsection identifier expected"},
    head_token{':', "Missing fifth ':' in section definition"},
    head_token{':', "Missing sixth ':' in section definition"},
    head_token{'{', "Opening brace expected after section definition"},
};
constexpr std::size_t namespace_row = 2;
constexpr std::size_t name_row = 5;

constexpr bool is_lower_case(char c) { return c >= 'a' && c <= 'z'; }

} // namespace

void CScriptParser::scan_sections() {
    while (next_token() != token_eof) {
        section_key key = read_section_head();
        // The byte behind the brace has been read already and is read again by the second pass.
        CTextPosition body = position();
        --body.offset;
        skip_braces();
        section_heads.emplace(std::move(key), body); // the first section of a name wins
    }
}

CScriptParser::section_key CScriptParser::read_section_head() {
    section_key key;
    expect_current(section_head.front().kind, section_head.front().message);
    for (std::size_t row = 1; row != section_head.size(); ++row) {
        expect_next(section_head[row].kind, section_head[row].message);
        if (row == namespace_row) key.first = token_text;
        if (row == name_row) key.second = token_text;
    }
    return key;
}

void CScriptParser::skip_unknown() {
    expect_current(token_identifier, "This error is currently not skippable");
    const std::string_view word = token_text;
    const bool is_property = !word.empty() && is_lower_case(word.front());
    if (!is_property) {
        expect_next('{', "Expected '{' after unknown object");
        skip_braces();
        return;
    }
    expect_next('=', "Expected '=' after unknown property");
    // Without a semicolon this goes on for ever: no brace and no end of input stops it.
    do {
        next_token();
    } while (token != ';');
}

void CScriptParser::warn_and_skip_unknown() {
    warn("Unknown identifier \"" + std::string(token_text) + "\"");
    skip_unknown();
}

void CScriptParser::skip_braces() {
    for (std::uint64_t depth = 1; depth > 0;) {
        next_token();
        if (token == token_eof) {
            fail("File not properly ended. " + std::to_string(depth) +
                 " braces '{' needs to be closed");
        }
        // A lone slash leaves `token` at the brace before it, which so counts twice.
        if (token == '{') ++depth;
        if (token == '}') --depth;
    }
}

} // namespace engine
