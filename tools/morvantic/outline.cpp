#include "outline.h"

#include "script_tokens.h"

#include <algorithm>
#include <array>
#include <set>
#include <utility>

// A lone slash is reported to whoever asks for the next token, but leaves the current one, which is
// what counts between braces.

namespace tool {

namespace {

/// Tokens as the engine's grammar sees them: without comments, and with the text of the last word,
/// string or number, which stays while marks are read.
class grammar_reader {
public:
    explicit grammar_reader(std::string_view text) : m_text(text), m_tokens(text) {}

    std::int32_t next() {
        do {
            m_token = m_tokens.next();
            if (m_token.is_open) m_endless_comment = m_token.begin;
        } while (m_token.is_comment());
        if (m_token.kind == '/') return '/';
        const bool has_text = m_token.kind <= token_word && m_token.kind >= token_bool;
        if (has_text && static_cast<signed char>(m_text[m_token.begin]) >= 0) {
            m_token_text = spelling(m_text, m_token);
        }
        return m_current = m_token.kind;
    }

    std::int32_t current() const noexcept { return m_current; }

    std::string_view text() const noexcept { return m_token_text; }

    const script_token& token() const noexcept { return m_token; }

    /// Where a block comment begins that has no end; npos if none does.
    std::size_t endless_comment() const noexcept { return m_endless_comment; }

private:
    std::string_view m_text;
    token_reader m_tokens;
    script_token m_token;
    std::int32_t m_current = 0;
    std::string_view m_token_text;
    std::size_t m_endless_comment = std::string_view::npos;
};

/// ::App::Header::{ from the first colon on; false if it is none.
bool read_head(grammar_reader& tokens, section_head& head) {
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
bool read_body(grammar_reader& tokens) {
    for (std::uint64_t depth = 1; depth > 0;) {
        if (tokens.next() == token_end) return false;
        if (tokens.current() == '{') ++depth;
        if (tokens.current() == '}') --depth;
    }
    return true;
}

void read_sections(grammar_reader& tokens, script_outline& outline) {
    std::set<section_head> known;
    while (tokens.next() != token_end) {
        section_place place;
        place.begin = tokens.token().begin;
        if (!read_head(tokens, place.head)) return;
        place.body = tokens.token().end;
        if (!read_body(tokens)) return;
        place.end = tokens.token().begin;
        if (known.insert(place.head).second) outline.sections.push_back(place.head);
        outline.places.push_back(std::move(place));
    }
}

/// A property without its semicolon may take the engine anywhere behind it, so all of the text
/// counts.
std::vector<std::string> read_modules(grammar_reader tokens) {
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
    grammar_reader first_pass(text);
    read_sections(first_pass, outline);
    if (first_pass.endless_comment() != std::string_view::npos) {
        const std::string_view before = text.substr(0, first_pass.endless_comment());
        outline.endless_comment_line =
            1 + static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
    }
    outline.modules = read_modules(grammar_reader(text));
    return outline;
}

} // namespace tool
