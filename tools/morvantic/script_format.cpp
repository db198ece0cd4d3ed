#include "script_format.h"

#include "failure.h"
#include "finding_writer.h"
#include "script_look.h"
#include "script_tokens.h"

#include <algorithm>
#include <array>
#include <vector>

namespace tool {

namespace {

constexpr std::size_t indent_width = 4;
constexpr std::size_t line_width = 100;

std::vector<script_token> all_tokens(std::string_view text) {
    std::vector<script_token> tokens;
    token_reader reader(text);
    for (script_token token = reader.next(); token.kind != token_end; token = reader.next())
        tokens.push_back(token);
    return tokens;
}

/// A comment without the blanks and the line end behind it.
std::string_view trimmed(std::string_view text) {
    return text.substr(0, text.find_last_not_of(" \t\r\n\v\f") + 1);
}

bool is_one_of(std::int32_t kind, std::string_view marks) {
    return kind >= 0 && kind < 0x80 &&
           marks.find(static_cast<char>(kind)) != std::string_view::npos;
}

/// Carriage returns stay only if all lines have them.
const char* line_end_of(std::string_view text) {
    std::size_t at = text.find('\n');
    if (at == std::string_view::npos) return "\n";
    for (; at != std::string_view::npos; at = text.find('\n', at + 1)) {
        if (at == 0 || text[at - 1] != '\r') return "\n";
    }
    return "\r\n";
}

class layout {
public:
    explicit layout(std::string_view text)
        : m_text(text), m_tokens(all_tokens(text)), m_line_end(line_end_of(text)) {}

    std::string take() {
        for (m_at = 0; m_at != m_tokens.size(); ++m_at) {
            const script_token& token = m_tokens[m_at];
            if (token.is_comment()) {
                put_comment(token);
            } else {
                put_token(token);
            }
        }
        if (!m_out.empty()) m_out += m_line_end;
        return std::move(m_out);
    }

private:
    bool is_first() const noexcept { return m_at == 0; }

    const script_token& before() const { return m_tokens[m_at - 1]; }

    bool is_next(std::int32_t kind) const {
        return m_at + 1 != m_tokens.size() && m_tokens[m_at + 1].kind == kind;
    }

    /// Line ends between the token before and this one.
    std::ptrdiff_t line_ends_before() const {
        const std::size_t begin = is_first() ? 0 : before().end;
        const std::string_view gap = m_text.substr(begin, m_tokens[m_at].begin - begin);
        const bool is_behind_line = !is_first() && before().kind == token_line_comment;
        return std::count(gap.begin(), gap.end(), '\n') + (is_behind_line ? 1 : 0);
    }

    // Comments

    void put_comment(const script_token& token) {
        if (line_ends_before() != 0 || (m_ends_line && stands_in_front())) {
            begin_line();
        } else if (!is_first()) {
            m_out += token.kind == token_line_comment ? "  " : m_out.ends_with('(') ? "" : " ";
        }
        m_out += trimmed(spelling(m_text, token));
        if (token.kind == token_line_comment) m_ends_line = true;
    }

    /// Whether what the comment is in front of goes on in its line.
    bool stands_in_front() const {
        if (m_at + 1 == m_tokens.size()) return false;
        const std::size_t end = m_tokens[m_at].end;
        const std::string_view gap = m_text.substr(end, m_tokens[m_at + 1].begin - end);
        return m_tokens[m_at].kind == token_block_comment &&
               gap.find('\n') == std::string_view::npos;
    }

    // Tokens

    void put_token(const script_token& token) {
        const bool closes_block = token.kind == '}' && m_parentheses == 0 && !m_is_empty_block;
        if (closes_block) {
            m_depth -= m_depth != 0 ? 1 : 0;
            m_in_statement = false;
            m_ends_line = m_ends_line || !is_first();
        }
        const bool is_behind_comment =
            !is_first() && before().kind == token_block_comment && line_ends_before() != 0;
        if (m_ends_line || (is_behind_comment && !m_in_statement)) {
            begin_line();
        } else if (!is_first() && has_blank(token)) {
            if (before().kind == ',' && breaks_at_comma()) {
                begin_line();
            } else {
                m_out += ' ';
            }
        }
        m_out += m_text.substr(token.begin, token.end - token.begin);
        note(token);
    }

    /// What the token changes for those behind it.
    void note(const script_token& token) {
        m_in_statement = true;
        switch (token.kind) {
        case '(':
            ++m_parentheses;
            break;
        case ')':
            m_parentheses -= m_parentheses != 0 ? 1 : 0;
            break;
        case ';':
            if (m_parentheses == 0) end_statement();
            break;
        case '{':
            if (m_parentheses != 0) break;
            m_is_empty_block = is_next('}');
            if (m_is_empty_block) break;
            ++m_depth;
            end_statement();
            break;
        case '}':
            if (m_parentheses != 0) break;
            m_is_empty_block = false;
            end_statement();
            break;
        default:
            break;
        }
    }

    void end_statement() {
        m_in_statement = false;
        m_ends_line = true;
    }

    /// Whether a blank stands between this token and the one before, which is on the same line.
    bool has_blank(const script_token& token) const {
        return has_blank(before().kind, token.kind, m_parentheses != 0);
    }

    static bool has_blank(std::int32_t left, std::int32_t right, bool in_parentheses) {
        if (left == token_block_comment) return !is_one_of(right, ",;)");
        if (right == '{') return in_parentheses ? !is_one_of(left, "({") : left != ':';
        if (right == '}' || is_one_of(left, "(<:.-{")) return false;
        if (left == '>' && right != '(') return true;
        return !is_one_of(right, ";,()<>:.");
    }

    /// A comma's next value goes into a line of its own if it fits there in full but not here;
    /// where it fits nowhere, as much of it as fits stays here.
    bool breaks_at_comma() const {
        const std::size_t room = line_width - std::min(line_width, column() + 1);
        const std::size_t fresh = line_width - std::min(line_width, indent_width * (m_depth + 1));
        const std::size_t whole = width_of_value(true);
        return whole > room && (whole <= fresh || width_of_value(false) > room);
    }

    /// Of the value that begins here, in full or up to the first comma in it, with the marks that
    /// follow it. A value that has a line end counts up to there.
    std::size_t width_of_value(bool in_full) const {
        std::size_t width = 0;
        std::size_t open = 0;
        for (std::size_t at = m_at; at != m_tokens.size() && !m_tokens[at].is_comment(); ++at) {
            const script_token& token = m_tokens[at];
            const std::string_view spelled = m_text.substr(token.begin, token.end - token.begin);
            if (at != m_at && has_blank(m_tokens[at - 1].kind, token.kind, true)) ++width;
            const std::size_t line_end = spelled.find('\n');
            width += characters(spelled.substr(0, line_end));
            if (line_end != std::string_view::npos || width > line_width) break;
            if (is_one_of(token.kind, "({")) ++open;
            if (is_one_of(token.kind, ")}") && open != 0) --open;
            const bool ends = is_one_of(token.kind, ",") && (!in_full || open == 0);
            if (ends || token.kind == ';' || (token.kind == '{' && m_tokens[at - 1].kind == ')')) {
                break;
            }
        }
        return width;
    }

    // Lines

    std::size_t column() const {
        const std::size_t line = m_out.rfind('\n') + 1; // 0 if there is none
        return characters(std::string_view(m_out).substr(line));
    }

    void begin_line() {
        m_ends_line = false;
        if (m_out.empty()) return;
        m_out += m_line_end;
        const script_token& token = m_tokens[m_at];
        const bool is_behind_section = m_depth == 0 && before().kind == '}' && !m_in_statement;
        const bool is_at_brace = before().kind == '{' || (token.kind == '}' && !m_in_statement);
        if (is_behind_section ? token.kind != '}' : line_ends_before() > 1 && !is_at_brace) {
            m_out += m_line_end;
        }
        m_out.append(indent_width * (m_depth + (m_in_statement ? 1 : 0)), ' ');
    }

    std::string_view m_text;
    std::vector<script_token> m_tokens;
    std::string_view m_line_end;
    std::size_t m_at = 0;
    std::string m_out;
    std::size_t m_depth = 0;       // open blocks
    std::size_t m_parentheses = 0; // open ones
    bool m_in_statement = false;   // which would go on in a line of its own
    bool m_ends_line = false;      // what comes next begins a line
    bool m_is_empty_block = false; // and its brace comes next
};

/// Whether two texts have the same tokens, and comments with the same words between them.
bool has_same_tokens(std::string_view left, std::string_view right) {
    const std::vector<script_token> left_tokens = all_tokens(left);
    const std::vector<script_token> right_tokens = all_tokens(right);
    return std::equal(left_tokens.begin(), left_tokens.end(), right_tokens.begin(),
                      right_tokens.end(), [&](const script_token& one, const script_token& other) {
                          return one.kind == other.kind &&
                                 trimmed(spelling(left, one)) == trimmed(spelling(right, other));
                      });
}

[[noreturn]] void refuse(const std::string& shown, const std::string& reason) {
    fail_input(shown + " cannot be formatted: " + reason + " \"morvantic check\" shows where.");
}

bool is_value(const script_token& token) {
    return token.kind == token_word || token.kind == token_string || token.kind == token_number ||
           token.kind == token_bool;
}

/// Where the statements end is known only if brackets match and no mark is missing at a line's end.
void refuse_what_runs_together(std::string_view text, const std::string& shown) {
    std::vector<std::int32_t> open;
    bool has_angle = false;
    script_token before;
    for (const script_token& token : all_tokens(text)) {
        if (token.is_comment()) continue;
        const bool is_in_call = !open.empty() && open.back() == '(';
        const bool may_be_outside =
            token.kind == ':' || token.kind == '{' || token.kind == '}' || token.kind == token_word;
        if (open.empty() && !may_be_outside) refuse(shown, "There is text outside sections.");
        if (token.kind == '(' || token.kind == '{') open.push_back(token.kind);
        if (token.kind == '<' || token.kind == '>') has_angle = token.kind == '<';
        if (token.kind == ';' && is_in_call) refuse(shown, "A parenthesis is not closed.");
        if (token.kind == ')' || token.kind == '}') {
            if (open.empty() || (token.kind == ')') != is_in_call) {
                refuse(shown, "Braces and parentheses do not match.");
            }
            open.pop_back();
        }
        const bool is_keyword = before.kind == token_word && (spelling(text, before) == "const" ||
                                                              spelling(text, before) == "func");
        const bool is_behind_value = (is_value(before) && !is_keyword) || before.kind == ')';
        const bool is_new_line =
            text.substr(before.end, token.begin - before.end).find('\n') != std::string_view::npos;
        if (is_behind_value && is_value(token) && is_new_line && !has_angle) {
            refuse(shown, "A semicolon or comma is missing.");
        }
        before = token;
    }
    if (!open.empty()) refuse(shown, "A brace or parenthesis is not closed.");
}

void refuse_what_is_hidden(std::string_view text, const std::string& shown) {
    constexpr std::array<std::string_view, 5> codes = {"byte-order-mark", "endless-comment",
                                                       "end-byte", "stray-byte", "lone-slash"};
    script_findings of{shown, text, look_at(text, {}), 0};
    std::erase_if(of.findings, [&](const finding& found) {
        return std::find(codes.begin(), codes.end(), found.kind->code) == codes.end();
    });
    token_reader reader(text);
    script_token last;
    do {
        last = reader.next();
    } while (last.kind != token_end);
    if (of.findings.empty() && last.begin == text.size()) return;
    refuse(shown, of.findings.empty() ? "A string has no end." : of.findings.front().message);
}

} // namespace

std::string formatted(std::string_view text, const std::string& shown) {
    refuse_what_is_hidden(text, shown);
    refuse_what_runs_together(text, shown);
    std::string result = layout(text).take();
    if (!has_same_tokens(text, result)) {
        fail_input(shown + " cannot be formatted: its tokens would change. Please report this.");
    }
    return result;
}

} // namespace tool
