#include "morvantic/scriptparser.h"

#include <algorithm>

// Bytes to tokens. The language knows no encoding, no escapes and no keywords but true and false:
//
//     const greeting = "as it stands";    // identifier, identifier, =, string, ;
//     f(-12, true, platform.Android);     /* the minus and the dot are tokens of their own */

namespace engine {

namespace {

// The classes of the classic locale, whatever locale the host has set. Bytes from 0x80 on are
// negative and belong to none.

constexpr bool is_space(std::int32_t c) { return (c >= 9 && c <= 13) || c == ' '; }

constexpr bool is_digit(std::int32_t c) { return c >= '0' && c <= '9'; }

constexpr bool is_word_start(std::int32_t c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

constexpr bool is_word_part(std::int32_t c) { return is_word_start(c) || is_digit(c); }

constexpr std::int32_t end_of_input = -1;

} // namespace

void CScriptParser::refill() {
    const std::uint64_t left = stream->size() - std::min(stream->size(), position.offset);
    const std::uint64_t got = stream->read_impl(buffer.data(), buffer.size());
    buffer_fill = std::min(got, left); // some streams deliver past their own end
    buffer_index = 0;
}

std::int32_t CScriptParser::read_byte() {
    if (buffer_index >= buffer_fill) {
        if (position.offset + 1 > stream->size()) return end_of_input;
        refill();
        if (buffer_fill == 0) return end_of_input; // the source failed
    }
    return static_cast<std::int8_t>(buffer[buffer_index]);
}

std::int32_t CScriptParser::next_char() {
    previous_char = current_char;
    current_char = read_byte();
    ++buffer_index; // past the end of input too
    ++position.offset;
    ++position.column;
    if (current_char == '\n') {
        ++position.line;
        position.column = 1;
    }
    return current_char;
}

std::int32_t CScriptParser::next_token() {
    for (;;) {
        // Taken before white space is skipped: a diagnostic points to where the last token ended.
        token_start = position;
        while (is_space(current_char))
            next_char();

        if (is_word_start(current_char)) return read_word();
        if (current_char == '"') return read_quoted();
        if (is_digit(current_char)) return read_number();
        if (current_char != '/') {
            token = current_char;
            if (token != token_eof) next_char();
            return token;
        }
        next_char();
        // The byte behind a lone slash stays current; `token` keeps the kind before the slash.
        if (!skip_comment()) return '/';
    }
}

std::int32_t CScriptParser::read_word() {
    token_text.clear();
    do {
        token_text.push_back(static_cast<char>(current_char));
    } while (is_word_part(next_char()));
    token = token_text == "false" || token_text == "true" ? token_bool : token_identifier;
    return token;
}

std::int32_t CScriptParser::read_quoted() {
    token_text.clear();
    while (next_char() != '"') {
        if (current_char == end_of_input) fail("Early end of file while reading string");
        token_text.push_back(static_cast<char>(current_char));
    }
    next_char();
    token = token_string;
    return token;
}

std::int32_t CScriptParser::read_number() {
    token_text.clear();
    do {
        token_text.push_back(static_cast<char>(current_char));
    } while (is_digit(next_char()));
    token = token_number;
    return token;
}

/// Skips a comment whose slash has been read; false if there is none.
bool CScriptParser::skip_comment() {
    if (current_char == '/') {
        while (current_char != '\n' && current_char != end_of_input)
            next_char();
        next_char();
        return true;
    }
    if (current_char != '*') return false;
    next_char();
    // A block comment without an end has none: this loop does not look for the end of input.
    do {
        next_char();
    } while (previous_char != '*' || current_char != '/');
    next_char();
    return true;
}

void CScriptParser::expect_next(std::int32_t kind, std::string_view message) {
    if (next_token() != kind) fail(std::string(message));
}

void CScriptParser::expect_current(std::int32_t kind, std::string_view message) {
    if (token != kind) fail(std::string(message));
}

} // namespace engine
