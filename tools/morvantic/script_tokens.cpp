#include "script_tokens.h"

#include <algorithm>

namespace tool {

namespace {

constexpr std::string_view spaces = "\t\n\v\f\r ";
constexpr std::string_view digits = "0123456789";
constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_";
constexpr std::string_view word_parts =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_0123456789";

bool is_one_of(std::string_view characters, char byte) noexcept {
    return characters.find(byte) != std::string_view::npos;
}

} // namespace

script_token token_reader::next() {
    m_pos = std::min(m_text.find_first_not_of(spaces, m_pos), m_text.size());
    const std::size_t begin = m_pos;
    if (begin == m_text.size() || m_text[begin] == '\xFF') return {token_end, begin, begin};
    const char first = m_text[begin];
    if (is_one_of(letters, first)) {
        m_pos = end_of_run(word_parts);
        const std::string_view word = m_text.substr(begin, m_pos - begin);
        return {word == "true" || word == "false" ? token_bool : token_word, begin, m_pos};
    }
    if (is_one_of(digits, first)) {
        m_pos = end_of_run(digits);
        return {token_number, begin, m_pos};
    }
    if (first == '"') {
        const std::size_t quote = m_text.find_first_of("\"\xFF", begin + 1);
        const bool is_whole = quote != std::string_view::npos && m_text[quote] == '"';
        m_pos = is_whole ? quote + 1 : begin; // an open one is found again
        return {is_whole ? token_string : token_end, begin, m_pos};
    }
    if (first == '/') return comment_or_slash(begin);
    ++m_pos;
    return {static_cast<signed char>(first), begin, m_pos};
}

script_token token_reader::comment_or_slash(std::size_t begin) {
    const std::string_view rest = m_text.substr(begin);
    script_token token{'/', begin, begin + 1};
    if (rest.starts_with("//")) {
        token.kind = token_line_comment;
        const std::size_t end = m_text.find_first_of("\n\xFF", begin + 2);
        token.end = end == std::string_view::npos ? m_text.size() : end + 1;
    } else if (rest.starts_with("/*")) {
        token.kind = token_block_comment;
        // The engine does not look at the byte behind the asterisk for the end.
        const std::size_t end = m_text.find("*/", begin + 2);
        token.is_open = end == std::string_view::npos;
        token.end = token.is_open ? m_text.size() : end + 2;
    }
    m_pos = token.end;
    return token;
}

std::size_t token_reader::end_of_run(std::string_view characters) const {
    return std::min(m_text.find_first_not_of(characters, m_pos), m_text.size());
}

std::string_view spelling(std::string_view text, const script_token& token) {
    if (token.kind == token_string)
        return text.substr(token.begin + 1, token.end - token.begin - 2);
    return text.substr(token.begin, token.end - token.begin);
}

} // namespace tool
