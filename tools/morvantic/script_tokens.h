#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// A script's text in the engine's tokens, its odd ones included, and the comments between them.

namespace tool {

// A mark is the value of its byte. As in the engine a byte from 0x80 on is negative, so that 0xFF
// is the end of the text, and the four below it are kinds of words.
constexpr std::int32_t token_end = -1;
constexpr std::int32_t token_word = -2;
constexpr std::int32_t token_string = -3;
constexpr std::int32_t token_number = -4;
constexpr std::int32_t token_bool = -5;
constexpr std::int32_t token_line_comment = 0x100;
constexpr std::int32_t token_block_comment = 0x101;

struct script_token {
    std::int32_t kind = token_end;
    std::size_t begin = 0;
    std::size_t end = 0;  // behind the quote of a string, and behind the line end of a comment
    bool is_open = false; // a comment without an end; a string without one is the end

    bool is_comment() const noexcept { return kind >= token_line_comment; }

    bool operator==(const script_token&) const = default;
};

/// Takes a text apart from its beginning. The text must stay.
class token_reader {
public:
    explicit token_reader(std::string_view text, std::size_t begin = 0)
        : m_text(text), m_pos(begin) {}

    /// Comments are tokens, and so is a slash alone. The last token is the end, time and again; it
    /// stands at the byte or the string that ends the text for the engine.
    script_token next();

private:
    script_token comment_or_slash(std::size_t begin);
    std::size_t end_of_run(std::string_view characters) const;

    std::string_view m_text;
    std::size_t m_pos;
};

/// What a token is spelled with; a string without its quotes.
std::string_view spelling(std::string_view text, const script_token& token);

} // namespace tool
