#include "engine_findings.h"

#include "child_process.h"
#include "failure.h"
#include "finding_list.h"
#include "script_report.h"
#include "script_tokens.h"

#include "core/text.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <tuple>

namespace tool {

namespace {

/// A line of the log about a text: "Parser error(12, 4): Expected ...".
struct parser_message {
    finding_severity severity;
    logged_place place;
    std::string text;
};

std::optional<parser_message> parse_message(std::string_view said) {
    parser_message message{severity_error, {}, {}};
    if (said.starts_with("Parser warning(")) {
        message.severity = severity_warning;
    } else if (!said.starts_with("Parser error(")) {
        return {};
    }
    const char* const end = said.data() + said.size();
    const char* at = said.data() + said.find('(') + 1;
    const auto number = [&](std::uint64_t& value, std::string_view behind) {
        const auto [stopped, error] = std::from_chars(at, end, value);
        if (error != std::errc{} ||
            !std::string_view(stopped, static_cast<std::size_t>(end - stopped))
                 .starts_with(behind)) {
            return false;
        }
        at = stopped + behind.size();
        return true;
    };
    if (!number(message.place.line, ", ") || !number(message.place.column, "): ")) return {};
    const std::string_view rest(at, static_cast<std::size_t>(end - at));
    message.text = rest.substr(0, rest.rfind("\n    Callstack: "));
    return message;
}

/// Makes findings of what a report says, each once.
class report_reader {
public:
    report_reader(std::string_view text, const script_outline& outline)
        : m_text(text), m_lines(text), m_first_pass(m_lines, text) {
        for (const section_place& place : outline.places)
            m_sections.emplace(place.head, place); // the first of a name counts
    }

    void read_first_pass(const script_report& report) {
        for (const log_message& message : report.messages)
            add(message, m_first_pass, 0);
    }

    void read_section(const section_report& section) {
        const bool is_silent =
            std::none_of(section.entries.begin(), section.entries.end(), [](const auto& entry) {
                return std::holds_alternative<log_message>(entry);
            });
        if (is_silent) return;
        const auto place = m_sections.find(section.head);
        // Of a section that is not there the engine names a place, but none that is about it.
        const logged_places places =
            place == m_sections.end()
                ? logged_places(m_lines, "")
                : logged_places(m_lines, m_text.substr(0, place->second.end), place->second.body);
        for (const report_entry& entry : section.entries) {
            const auto* said = std::get_if<log_message>(&entry);
            if (said != nullptr)
                add(*said, places, place == m_sections.end() ? 0 : place->second.begin);
        }
    }

    std::vector<finding> take() { return std::move(m_found); }

private:
    void add(const log_message& said, const logged_places& places, std::size_t otherwise) {
        finding found;
        found.is_logged = true;
        if (const std::optional<parser_message> message = parse_message(said.text)) {
            found.kind = kind_of_message(message->severity, message->text);
            if (found.kind == nullptr && m_text.find('\0') != std::string_view::npos) {
                found.kind = kind_of_cut_message(message->severity, message->text);
            }
            found.message = message->text;
            found.logged = message->place;
            const logged_places::range token = meant(*message, places);
            found.begin = token.begin;
            found.end = token.end;
        } else {
            if (said.level != "ERROR") return;
            found.message = said.text;
            found.begin = found.end = otherwise;
            found.is_logged = false;
        }
        if (found.kind == nullptr) found.kind = kind_of_code("engine-message");
        if (m_known.emplace(found.begin, found.message).second) m_found.push_back(std::move(found));
    }

    std::string_view spelled(const logged_places::range& token) const {
        return m_text.substr(token.begin, token.end - token.begin);
    }

    /// What a message is about. The engine names the token that it has seen last, which for a name
    /// may be one behind it, and for a block its closing brace.
    logged_places::range meant(const parser_message& message, const logged_places& places) const {
        const std::size_t last = places.find(message.place);
        const std::string_view text = message.text;
        if (text.starts_with("Expected")) return places[last];
        if (text.starts_with("Index number")) return index_with(message, places, last);
        const bool is_about_block = text.ends_with("is missing") || text.ends_with("not set") ||
                                    text.ends_with("supported");
        if (is_about_block || text.ends_with("needs to be closed")) {
            return block_around(places, last, is_about_block);
        }
        for (std::size_t at = last;; --at) {
            const std::string_view word = spelled(places[at]);
            if (text.find('"' + std::string(word) + '"') != std::string_view::npos) {
                return places[at];
            }
            const bool ends_statement = word == ";" || word == "{" || word == "}";
            if (at == 0 || (at != last && ends_statement)) return places[last];
        }
    }

    /// The head of the block that is open there, or its brace.
    logged_places::range block_around(const logged_places& places, std::size_t last,
                                      bool wants_head) const {
        std::size_t closed = 0;
        for (std::size_t at = last; at-- > 0;) {
            const std::string_view word = spelled(places[at]);
            if (word == "}") ++closed;
            if (word == "{" && closed-- == 0) return places[wants_head && at != 0 ? at - 1 : at];
        }
        return places[last];
    }

    logged_places::range index_with(const parser_message& message, const logged_places& places,
                                    std::size_t last) const {
        const std::string number = message.text.substr(message.text.rfind(' ') + 1);
        for (std::size_t at = last; at-- > 2;) {
            const bool is_index =
                spelled(places[at]) == number && spelled(places[at - 2]) == "index";
            if (is_index) return places[at];
        }
        return places[last];
    }

    std::string_view m_text;
    line_places m_lines;
    std::map<section_head, section_place> m_sections;
    logged_places m_first_pass;
    std::set<std::pair<std::size_t, std::string>> m_known;
    std::vector<finding> m_found;
};

using json = nlohmann::json;

std::string to_text(const std::vector<finding>& findings) {
    json rows = json::array();
    for (const finding& found : findings) {
        rows.push_back({found.kind->code, found.message, found.begin, found.end, found.is_logged,
                        found.logged.line, found.logged.column});
    }
    return rows.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::vector<finding> from_text(const std::string& text) {
    std::vector<finding> findings;
    for (const json& row : json::parse(text)) {
        findings.push_back({kind_of_code(row[0].get<std::string>()),
                            row[1],
                            row[2],
                            row[3],
                            row[4],
                            {row[5], row[6]}});
    }
    return findings;
}

template <class... Arguments>
finding about_the_whole(std::string_view code, const Arguments&... arguments) {
    finding_list list;
    list.add(code, 0, 0, arguments...);
    return list.take().front();
}

} // namespace

line_places::line_places(std::string_view text) : m_text(text) {
    for (std::size_t end = text.find('\n'); end != std::string_view::npos;
         end = text.find('\n', end + 1)) {
        m_begins.push_back(end + 1);
    }
}

logged_place line_places::at(std::size_t offset) const {
    const auto next = std::upper_bound(m_begins.begin(), m_begins.end(), offset);
    const auto line = static_cast<std::uint64_t>(next - m_begins.begin());
    if (offset < m_text.size() && m_text[offset] == '\n') return {line + 1, 0};
    return {line, offset - *std::prev(next) + 1};
}

logged_places::logged_places(const line_places& lines, std::string_view text) {
    note_tokens(lines, text, 0);
}

logged_places::logged_places(const line_places& lines, std::string_view text, std::size_t body) {
    note_tokens(lines, text, body);
    // The byte behind the brace is read again, and counted twice from then on: as a line end for
    // the whole section, else as a column up to the end of its line. The first token begins before
    // that.
    const bool is_line_end = body < text.size() && text[body] == '\n';
    const logged_place first = lines.at(body);
    for (row& each : m_rows) {
        if (each.place == first) continue;
        if (is_line_end) {
            ++each.place.line;
        } else if (each.place.line == first.line) {
            ++each.place.column;
        }
    }
}

void logged_places::note_tokens(const line_places& lines, std::string_view text,
                                std::size_t begin) {
    token_reader reader(text, begin);
    std::size_t behind = begin; // the token before
    for (;;) {
        const script_token token = reader.next();
        if (!token.is_comment()) {
            // The engine begins at a blank in front of the text.
            const logged_place place = behind == 0 ? logged_place{1, 0} : lines.at(behind);
            m_rows.push_back({place, {token.begin, token.end}});
        }
        behind = token.end;
        if (token.kind == token_end) return;
    }
}

std::size_t logged_places::find(logged_place place) const {
    const auto found = std::lower_bound(m_rows.begin(), m_rows.end(), place,
                                        [](const row& left, const logged_place& right) {
                                            return std::tie(left.place.line, left.place.column) <
                                                   std::tie(right.line, right.column);
                                        });
    const bool is_there = found != m_rows.end() && found->place == place;
    return is_there ? static_cast<std::size_t>(found - m_rows.begin()) : m_rows.size() - 1;
}

// Sections are read as hosts read them: the first time all, as far as they are not listed; then
// for each different list of namespaces the sections in it, in its order.
std::vector<finding> read_by_engine(const std::wstring& name, std::string_view text,
                                    unsigned processor_seconds) {
    const script_outline outline = read_outline(text);
    report_reader reader(text, outline);
    const std::optional<script_report> all = read_script(name, outline, {}, processor_seconds);
    if (!all) return {};
    reader.read_first_pass(*all);
    std::map<std::vector<std::string>, app_query> lists;
    std::set<std::string> listed;
    for (const section_report& section : all->sections) {
        if (section.head.name != "Script") reader.read_section(section);
        for (const app_answer& answer : section.apps) {
            const auto* platform = std::find_if(
                std::begin(platforms), std::end(platforms),
                [&](const platform_name& row) { return row.name == answer.on.front(); });
            lists.emplace(answer.namespaces, app_query{answer.app, *platform});
            listed.insert(answer.namespaces.begin(), answer.namespaces.end());
        }
    }
    constexpr std::size_t most_lists = 64; // each takes a reading of its own
    std::size_t count = 0;
    for (const auto& [namespaces, query] : lists) {
        if (count++ == most_lists) break;
        const auto report = read_script(name, outline, query, processor_seconds);
        if (!report) continue;
        for (const section_report& section : report->sections) {
            if (section.head.name == "Script") reader.read_section(section);
        }
    }
    for (const section_report& section : all->sections) {
        if (section.head.name == "Script" && !listed.contains(section.head.where)) {
            reader.read_section(section);
        }
    }
    std::vector<finding> found = reader.take();
    if (lists.size() > most_lists) {
        found.push_back(about_the_whole("lists-skipped", std::to_string(lists.size()),
                                        std::to_string(most_lists)));
    }
    return found;
}

std::vector<finding> ask_engine(const std::wstring& name, std::string_view text) {
    const unsigned deadline = processor_seconds_for(text.size());
    const child_result result = run_in_child([&](const text_sink& sink) {
        try {
            sink(to_text(read_by_engine(name, text, deadline)));
        } catch (const std::exception& error) {
            sink(to_text({about_the_whole("engine-message", error.what())}));
        }
    });
    if (result.out_of_time) {
        return {about_the_whole("engine-endless", std::to_string(deadline))};
    }
    if (result.signal != 0) return {about_the_whole("engine-failure", strsignal(result.signal))};
    if (!result.finished || result.output.empty()) {
        fail_call(core::encode_lossy(name) + " cannot be read: The process for it failed.");
    }
    return from_text(result.output);
}

} // namespace tool
