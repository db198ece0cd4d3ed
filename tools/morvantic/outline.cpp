#include "outline.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <set>
#include <utility>

// Tokens are the engine's, its odd ones included: a byte from 0x80 on is negative, 0xFF is the end
// of the text, and the four below it are kinds of words. A lone slash is reported to whoever asks
// for the next token, but leaves the current one, which is what counts between braces.

namespace tool {

namespace {

constexpr std::int32_t token_end = -1;
constexpr std::int32_t token_word = -2;
constexpr std::int32_t token_string = -3;
constexpr std::int32_t token_number = -4;
constexpr std::int32_t token_bool = -5;

constexpr std::string_view spaces = "\t\n\v\f\r ";
constexpr std::string_view digits = "0123456789";
constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_";
constexpr std::string_view word_parts =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_0123456789";

class token_reader {
public:
    explicit token_reader(std::string_view text) : m_text(text) {}

    std::int32_t next();

    std::int32_t current() const noexcept { return m_current; }

    /// Of the last word, string or number.
    std::string_view text() const noexcept { return m_token_text; }

    /// Where a block comment begins that has no end; npos if none does.
    std::size_t endless_comment() const noexcept { return m_endless_comment; }

private:
    bool at_end() const noexcept { return m_pos >= m_text.size() || m_text[m_pos] == '\xFF'; }

    bool skip_comment();
    std::int32_t take(std::string_view token_text, std::int32_t kind);
    std::string_view run_of(std::string_view characters) const;

    std::string_view m_text;
    std::string_view m_token_text;
    std::size_t m_pos = 0;
    std::int32_t m_current = 0;
    std::size_t m_endless_comment = std::string_view::npos;
};

std::int32_t token_reader::next() {
    for (;;) {
        m_pos = std::min(m_text.find_first_not_of(spaces, m_pos), m_text.size());
        if (at_end()) return m_current = token_end;
        const char first = m_text[m_pos];
        if (letters.find(first) != std::string_view::npos) {
            const std::string_view word = run_of(word_parts);
            return take(word, word == "true" || word == "false" ? token_bool : token_word);
        }
        if (digits.find(first) != std::string_view::npos) {
            return take(run_of(digits), token_number);
        }
        ++m_pos;
        if (first == '"') {
            const std::size_t length = m_text.substr(m_pos).find_first_of("\"\xFF");
            if (length == std::string_view::npos || m_text[m_pos + length] != '"') {
                m_pos = m_text.size();
                return m_current = token_end;
            }
            take(m_text.substr(m_pos, length), token_string);
            ++m_pos;
            return m_current;
        }
        if (first != '/') {
            const std::int32_t byte = static_cast<unsigned char>(first);
            return m_current = byte < 0x80 ? byte : byte - 0x100;
        }
        if (!skip_comment()) return '/';
    }
}

/// Behind its slash; false if there is no comment.
bool token_reader::skip_comment() {
    const char second = m_pos < m_text.size() ? m_text[m_pos] : '\0';
    if (second == '/') {
        const std::size_t end = m_text.find_first_of("\n\xFF", m_pos);
        m_pos = end == std::string_view::npos ? m_text.size() : end + 1;
        return true;
    }
    if (second != '*') return false;
    const std::size_t end = m_text.find("*/", m_pos + 1);
    if (end == std::string_view::npos) m_endless_comment = m_pos - 1;
    m_pos = end == std::string_view::npos ? m_text.size() : end + 2;
    return true;
}

std::int32_t token_reader::take(std::string_view token_text, std::int32_t kind) {
    m_token_text = token_text;
    m_pos += token_text.size();
    return m_current = kind;
}

std::string_view token_reader::run_of(std::string_view characters) const {
    const std::string_view rest = m_text.substr(m_pos);
    return rest.substr(0, rest.find_first_not_of(characters));
}

/// ::App::Header::{ from the first colon on; false if it is none.
bool read_head(token_reader& tokens, section_head& head) {
    constexpr std::array<std::int32_t, 8> rest = {':',        token_word, ':', ':',
                                                  token_word, ':',        ':', '{'};
    if (tokens.current() != ':') return false;
    for (std::size_t i = 0; i != rest.size(); ++i) {
        if (tokens.next() != rest[i]) return false;
        if (i == 1) head.where = tokens.text();
        if (i == 4) head.name = tokens.text();
    }
    return true;
}

/// Goes behind the section's closing brace; false if there is none.
bool read_body(token_reader& tokens) {
    for (std::uint64_t depth = 1; depth > 0;) {
        if (tokens.next() == token_end) return false;
        if (tokens.current() == '{') ++depth;
        if (tokens.current() == '}') --depth;
    }
    return true;
}

std::vector<section_head> read_sections(token_reader& tokens) {
    std::vector<section_head> sections;
    std::set<section_head> known;
    while (tokens.next() != token_end) {
        section_head head;
        if (!read_head(tokens, head) || !read_body(tokens)) break;
        if (known.insert(head).second) sections.push_back(std::move(head));
    }
    return sections;
}

/// A property without its semicolon may take the engine anywhere behind it, so all of the text
/// counts.
std::vector<std::string> read_modules(token_reader tokens) {
    std::vector<std::string> modules;
    std::set<std::string> known;
    std::string word; // the token before, or the one before an equals sign
    bool is_assigned = false;
    while (tokens.next() != token_end) {
        const bool is_word = tokens.current() == token_word;
        if (is_word && is_assigned && tokens.text() == "Python" && known.insert(word).second) {
            modules.push_back(word);
        }
        is_assigned = tokens.current() == '=' && !word.empty() && !is_assigned;
        if (is_word) {
            word = tokens.text();
        } else if (!is_assigned) {
            word.clear();
        }
    }
    return modules;
}

} // namespace

script_outline read_outline(std::string_view text) {
    script_outline outline;
    token_reader first_pass(text);
    outline.sections = read_sections(first_pass);
    if (first_pass.endless_comment() != std::string_view::npos) {
        const std::string_view before = text.substr(0, first_pass.endless_comment());
        outline.endless_comment_line =
            1 + static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
    }
    outline.modules = read_modules(token_reader(text));
    return outline;
}

} // namespace tool
