#include "morvantic/scriptparser.h"

#include <algorithm>

// Bytes to tokens. The language knows no encoding, no escapes and no keywords but true and false:
//
//     const greeting = "as it stands";    // identifier, identifier, =, string, ;
//     f(-12, true, platform.Android);     /* the minus and the dot are tokens of their own */
//
// One byte is current. The bytes behind it are passed in runs of one class, by a table and within
// the block that was read last: the stop byte behind the block ends every run, so that only the
// byte after a run is asked where it comes from. A line counts once its line feed is current, and
// columns are told by the offset at which the line begins. The text of a token stays in the block
// and is copied only when the block gives way to the next.

namespace engine {

namespace {

// The classes of the classic locale, whatever locale the host has set: bytes from 0x80 on are
// neither letters nor spaces. 0xFF cannot be told from the end of input.
enum byte_class : std::uint8_t {
    class_blank = 1,
    class_line_feed = 2,
    class_letter = 4,
    class_digit = 8,
    class_quote = 16,
    class_slash = 32,
    class_other = 64,
    class_end = 128,
};

constexpr std::uint8_t all_bytes = 127;
constexpr std::uint8_t odd_bytes = class_line_feed | class_end; // which no run passes
constexpr std::uint8_t space_bytes = class_blank | class_line_feed;
constexpr std::uint8_t word_bytes = class_letter | class_digit;
constexpr std::uint8_t quoted_bytes = all_bytes & ~class_quote;
constexpr std::uint8_t line_bytes = all_bytes & ~class_line_feed;

constexpr byte_class class_of_byte(std::size_t c) {
    if (c == '\n') return class_line_feed;
    if ((c >= 9 && c <= 13) || c == ' ') return class_blank;
    if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_') return class_letter;
    if (c >= '0' && c <= '9') return class_digit;
    if (c == '"') return class_quote;
    if (c == '/') return class_slash;
    return c == 0xFF ? class_end : class_other;
}

constexpr std::array<std::uint8_t, 256> classes = [] {
    std::array<std::uint8_t, 256> table{};
    for (std::size_t c = 0; c != table.size(); ++c)
        table[c] = class_of_byte(c);
    return table;
}();

template <std::uint8_t bytes>
const std::uint8_t* end_of_run(const std::uint8_t* at) noexcept {
    const auto is_other = [](std::uint8_t c) { return (classes[c] & bytes & ~odd_bytes) == 0; };
    for (;; at += 4) { // no byte is looked at before the one in front of it
        if (is_other(at[0])) return at;
        if (is_other(at[1])) return at + 1;
        if (is_other(at[2])) return at + 2;
        if (is_other(at[3])) return at + 3;
    }
}

std::string_view text_between(const std::uint8_t* first, const std::uint8_t* last) noexcept {
    const void* text = first;
    return {static_cast<const char*>(text), static_cast<std::size_t>(last - first)};
}

} // namespace

CTextPosition CScriptParser::position() const noexcept {
    const std::uint64_t offset = block_offset + static_cast<std::uint64_t>(cursor - block);
    return {offset, line_number, offset - column_origin};
}

/// Reads the next block. The current byte stays current; if the stream fails, all does.
void CScriptParser::refill() {
    keep_text();
    const std::uint64_t offset = position().offset;
    text_block& next = block == blocks.front().data() ? blocks.back() : blocks.front();
    const std::uint64_t left = stream->size() - std::min(stream->size(), offset);
    const std::uint64_t got = stream->read_impl(&next[1], next.size() - 2);

    next.front() = *cursor;
    block = next.data();
    cursor = block;
    block_end = block + 1 + std::min(got, left); // some streams deliver past their own end
    next[static_cast<std::size_t>(block_end - block)] = stop_byte;
    block_offset = offset;
}

std::int32_t CScriptParser::next_char() {
    // The block that comes is empty if the source failed: then its end is the end of input.
    if (cursor + 1 >= block_end && position().offset + 1 <= stream->size()) refill();
    if (cursor != block_end) {
        ++cursor;
    } else {
        ++block_offset; // past the end of input too
    }
    if (*cursor == '\n') {
        ++line_number;
        column_origin = position().offset - 1;
    }
    return current_char();
}

/// Makes the byte behind a run current. Gives its class.
inline std::uint8_t CScriptParser::step_to(const std::uint8_t* at) {
    const std::uint8_t kind = classes[*at];
    cursor = at;
    if ((kind & odd_bytes) == 0) return kind;
    --cursor;
    next_char();
    return classes[*cursor];
}

/// Reads bytes of these classes, the current one among them or the quote before them, as the
/// token's text.
template <std::uint8_t bytes>
void CScriptParser::read_text(const std::uint8_t* first) {
    const std::uint8_t* const last = end_of_run<bytes>(cursor + 1);
    token_text = text_between(first, last);
    if ((step_to(last) & bytes) != 0) read_more_text<bytes>();
}

/// What stands behind a line feed or in the next block. Rare, so kept out of the way.
template <std::uint8_t bytes>
[[gnu::noinline]] void CScriptParser::read_more_text() {
    keep_text();
    const std::uint8_t* last = nullptr;
    do {
        last = end_of_run<bytes>(cursor + 1);
        kept_text += text_between(cursor, last);
        token_text = kept_text;
    } while ((step_to(last) & bytes) != 0);
}

/// Moves the text out of the block.
void CScriptParser::keep_text() {
    if (token_text.data() == kept_text.data()) return;
    kept_text = token_text;
    token_text = kept_text;
}

std::int32_t CScriptParser::next_token() {
    for (;;) {
        // Taken before white space is skipped: a diagnostic points to where the last token ended.
        token_start = position();
        std::uint8_t kind = classes[*cursor];
        while ((kind & space_bytes) != 0)
            kind = step_to(end_of_run<class_blank>(cursor + 1));

        switch (kind) {
        case class_letter:
            return read_word();
        case class_quote:
            return read_quoted();
        case class_digit:
            return read_number();
        case class_end:
            return token = token_eof;
        case class_slash:
            next_char();
            // The byte behind a lone slash stays current; `token` keeps the kind before the slash.
            if (!skip_comment()) return '/';
            break;
        default:
            token = current_char();
            step_to(cursor + 1);
            return token;
        }
    }
}

std::int32_t CScriptParser::read_word() {
    read_text<word_bytes>(cursor);
    return token = token_text == "false" || token_text == "true" ? token_bool : token_identifier;
}

std::int32_t CScriptParser::read_quoted() {
    read_text<quoted_bytes>(cursor + 1);
    if (*cursor != '"') fail("Early end of file while reading string");
    step_to(cursor + 1);
    return token = token_string;
}

std::int32_t CScriptParser::read_number() {
    read_text<class_digit>(cursor);
    return token = token_number;
}

/// Skips a comment whose slash has been read; false if there is none.
bool CScriptParser::skip_comment() {
    if (*cursor == '/') {
        while ((step_to(end_of_run<line_bytes>(cursor + 1)) & line_bytes) != 0) {}
        next_char();
        return true;
    }
    if (*cursor != '*') return false;
    skip_block_comment();
    return true;
}

/// A block comment without an end has none: this loop does not look for the end of input.
void CScriptParser::skip_block_comment() {
    next_char();
    std::uint8_t before = 0;
    do {
        // What is no slash and no line feed cannot end it.
        if (*cursor != stop_byte) cursor = end_of_run<all_bytes & ~class_slash>(cursor + 1) - 1;
        before = *cursor;
    } while (next_char() != '/' || before != '*');
    next_char();
}

} // namespace engine
