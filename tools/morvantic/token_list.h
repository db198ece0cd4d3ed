#pragma once

#include "script_tokens.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// A place in the list of tokens.
using token_index = std::size_t;

/// The tokens of a text without its comments, closed by the end.
struct token_list {
    explicit token_list(std::string_view its_text) : text(its_text) {
        token_reader reader(text);
        do {
            const script_token token = reader.next();
            (token.is_comment() ? comments : tokens).push_back(token);
            if (token.kind == ';') semicolons.push_back(tokens.size() - 1);
        } while (tokens.empty() || tokens.back().kind != token_end);
    }

    const script_token& operator[](token_index at) const { return tokens[std::min(at, end())]; }

    token_index end() const noexcept { return tokens.size() - 1; }

    bool is(token_index at, std::int32_t kind) const { return (*this)[at].kind == kind; }

    bool is_word(token_index at, std::string_view word) const {
        return is(at, token_word) && spelling(text, (*this)[at]) == word;
    }

    std::string spelled(token_index at) const { return std::string(spelling(text, (*this)[at])); }

    /// The first token from a place in the text on.
    token_index at_offset(std::size_t offset) const {
        const auto found = std::lower_bound(
            tokens.begin(), tokens.end(), offset,
            [](const script_token& token, std::size_t place) { return token.begin < place; });
        return static_cast<token_index>(found - tokens.begin());
    }

    /// From this token on; the end if there is none.
    token_index next_semicolon(token_index at) const {
        const auto found = std::lower_bound(semicolons.begin(), semicolons.end(), at);
        return found == semicolons.end() ? end() : *found;
    }

    std::string_view text;
    std::vector<script_token> tokens;
    std::vector<script_token> comments;
    std::vector<token_index> semicolons;
};

} // namespace tool
