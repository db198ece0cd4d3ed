#include "finding_writer.h"

#include "output.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <numeric>

namespace tool {

namespace {

using json = nlohmann::ordered_json;

constexpr std::size_t shown_on_each_side = 80; // bytes of a source line around a finding

struct text_place {
    std::size_t line;
    std::size_t column;
};

/// Where in its lines an offset of a text is, both from 1.
class text_places {
public:
    explicit text_places(std::string_view text) : m_text(text) {
        for (std::size_t at = 0; at != std::string_view::npos; at = next_line(at))
            m_lines.push_back(at);
    }

    /// A line is counted through once for findings in the order of the text.
    text_place of(std::size_t offset) {
        const std::size_t begin = line_begin(offset);
        if (m_counted < begin || m_counted > offset) {
            m_counted = begin;
            m_column = 1;
        }
        m_column += characters(m_text.substr(m_counted, offset - m_counted));
        m_counted = offset;
        const auto line = std::lower_bound(m_lines.begin(), m_lines.end(), begin) - m_lines.begin();
        return {static_cast<std::size_t>(line) + 1, m_column};
    }

    /// What of its line is shown beside an offset, and what is not.
    struct surroundings {
        std::string_view before;
        std::string_view behind;
        bool is_cut_before;
        bool is_cut_behind;
    };

    surroundings around(std::size_t offset) const {
        const std::size_t begin = line_begin(offset);
        std::string_view before = m_text.substr(begin, offset - begin);
        constexpr std::size_t enough = shown_on_each_side + 8; // a character has four bytes
        std::string_view behind = m_text.substr(offset, enough);
        behind = behind.substr(0, behind.find('\n'));
        if (behind.ends_with('\r')) behind.remove_suffix(1);
        surroundings shown{before, behind, false, false};
        shown.is_cut_before = before.size() > shown_on_each_side;
        shown.is_cut_behind = behind.size() > shown_on_each_side;
        if (shown.is_cut_before) shown.before = before.substr(before.size() - shown_on_each_side);
        if (shown.is_cut_behind) shown.behind = behind.substr(0, shown_on_each_side);
        while (shown.is_cut_before && goes_on(shown.before))
            shown.before.remove_prefix(1);
        while (shown.is_cut_behind && goes_on(behind.substr(shown.behind.size()))) {
            shown.behind = behind.substr(0, shown.behind.size() + 1);
        }
        return shown;
    }

private:
    /// Whether a text begins in the middle of a character.
    static bool goes_on(std::string_view text) {
        return !text.empty() && (text.front() & 0xC0) == 0x80;
    }

    std::size_t line_begin(std::size_t offset) const {
        return *std::prev(std::upper_bound(m_lines.begin(), m_lines.end(), offset));
    }

    std::size_t next_line(std::size_t at) const {
        const std::size_t end = m_text.find('\n', at);
        return end == std::string_view::npos ? end : end + 1;
    }

    std::string_view m_text;
    std::vector<std::size_t> m_lines; // where they begin
    std::size_t m_counted = 0;        // the offset asked for last
    std::size_t m_column = 1;         // there
};

std::string for_eyes(std::string_view source) {
    std::string text(source);
    std::replace(text.begin(), text.end(), '\t', ' ');
    return printable(text);
}

/// The line of a finding, as far as it is of use, with a mark below its place.
std::string source_of(const text_places& places, const finding& found) {
    const text_places::surroundings line = places.around(found.begin);
    if (line.before.empty() && line.behind.empty()) return "";
    const std::string before = (line.is_cut_before ? "..." : "") + for_eyes(line.before);
    return "    " + before + for_eyes(line.behind) + (line.is_cut_behind ? "..." : "") + "\n    " +
           std::string(characters(before), ' ') + "^\n";
}

bool differs(const finding& found, const text_place& place) {
    return found.is_logged &&
           (found.logged.line != place.line || found.logged.column != place.column);
}

json json_of(const finding& found, text_places& places) {
    const text_place begin = places.of(found.begin);
    const text_place end = places.of(found.end);
    json row = {{"line", begin.line},
                {"column", begin.column},
                {"end_line", end.line},
                {"end_column", end.column},
                {"severity", severity_words[found.kind->severity]},
                {"code", found.kind->code},
                {"message", found.message}};
    row["logged"] = nullptr;
    if (found.is_logged) {
        row["logged"] = {{"line", found.logged.line}, {"column", found.logged.column}};
    }
    return row;
}

std::string dumped(const json& value) {
    return value.dump(2, ' ', false, json::error_handler_t::replace) + '\n';
}

/// A path as a reference, relative if the path is.
std::string uri_of(const std::string& path) {
    constexpr std::string_view plain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
    const std::string normal = std::filesystem::path(path).lexically_normal().string();
    std::string uri = normal.starts_with('/') ? "file://" : "";
    for (const char byte : normal) {
        if (plain.find(byte) != std::string_view::npos) {
            uri += byte;
            continue;
        }
        constexpr std::string_view digits = "0123456789ABCDEF";
        const auto value = static_cast<unsigned char>(byte);
        uri += {'%', digits[value >> 4], digits[value & 0xF]};
    }
    return uri;
}

json sarif_rule(const finding_kind& kind) {
    return {{"id", kind.code},
            {"shortDescription", {{"text", kind.cause}}},
            {"help", {{"text", kind.remedy}}},
            {"defaultConfiguration", {{"level", severity_words[kind.severity]}}}};
}

json sarif_result(const script_findings& of, const finding& found, text_places& places,
                  std::size_t rule) {
    const text_place begin = places.of(found.begin);
    const text_place end = places.of(found.end);
    const json region = {{"startLine", begin.line},
                         {"startColumn", begin.column},
                         {"endLine", end.line},
                         {"endColumn", end.column}};
    const json location = {
        {"physicalLocation",
         {{"artifactLocation", {{"uri", uri_of(of.shown)}}}, {"region", region}}}};
    return {{"ruleId", found.kind->code},
            {"ruleIndex", rule},
            {"level", severity_words[found.kind->severity]},
            {"message", {{"text", found.message}}},
            {"locations", json::array({location})}};
}

std::size_t count_off(const std::vector<script_findings>& all) {
    return std::accumulate(all.begin(), all.end(), std::size_t{0},
                           [](std::size_t sum, const script_findings& of) { return sum + of.off; });
}

} // namespace

std::size_t characters(std::string_view text) {
    // A byte that goes on with one is none.
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
}

finding_counts count(const std::vector<script_findings>& all) {
    finding_counts counts{};
    for (const script_findings& of : all) {
        for (const finding& found : of.findings)
            ++counts[found.kind->severity];
    }
    return counts;
}

std::string text_of(const script_findings& of) {
    text_places places(of.text);
    std::string text;
    for (const finding& found : of.findings) {
        const text_place place = places.of(found.begin);
        text += printable(of.shown) + ':' + std::to_string(place.line) + ':' +
                std::to_string(place.column) + ": " + severity_words[found.kind->severity] + ": " +
                printable(found.message);
        if (differs(found, place)) {
            text += " (in the log: " + std::to_string(found.logged.line) + ", " +
                    std::to_string(found.logged.column) + ')';
        }
        text += std::string(" [") + found.kind->code + "]\n" + source_of(places, found);
    }
    return text;
}

std::string summary_of(const std::vector<script_findings>& all) {
    const finding_counts counts = count(all);
    std::string text;
    for (std::size_t severity = std::size(severity_words); severity-- > 0;) {
        if (counts[severity] == 0) continue;
        text += (text.empty() ? "" : ", ") + counted(counts[severity], severity_words[severity]);
    }
    text = (text.empty() ? "Nothing found" : text) + " in " + counted(all.size(), "script");
    const std::size_t off = count_off(all);
    return text + (off == 0 ? ".\n" : ", and " + counted(off, "finding") + " switched off.\n");
}

std::string json_of(const std::vector<script_findings>& all) {
    json scripts = json::array();
    for (const script_findings& of : all) {
        text_places places(of.text);
        json rows = json::array();
        for (const finding& found : of.findings)
            rows.push_back(json_of(found, places));
        scripts.push_back({{"script", of.shown}, {"findings", std::move(rows)}});
    }
    const finding_counts counts = count(all);
    return dumped({{"scripts", std::move(scripts)},
                   {"errors", counts[severity_error]},
                   {"warnings", counts[severity_warning]},
                   {"notes", counts[severity_note]},
                   {"switched_off", count_off(all)}});
}

std::string sarif_of(const std::vector<script_findings>& all) {
    json rules = json::array();
    std::map<std::string, std::size_t> rule_places;
    for (const auto kinds : {engine_kinds(), text_kinds()}) {
        for (const finding_kind& kind : kinds) {
            rule_places.emplace(kind.code, rules.size());
            rules.push_back(sarif_rule(kind));
        }
    }
    json results = json::array();
    for (const script_findings& of : all) {
        text_places places(of.text);
        for (const finding& found : of.findings)
            results.push_back(sarif_result(of, found, places, rule_places.at(found.kind->code)));
    }
    const json driver = {
        {"name", "morvantic check"}, {"version", MORVANTIC_VERSION}, {"rules", std::move(rules)}};
    const json run = {{"tool", {{"driver", driver}}},
                      {"columnKind", "unicodeCodePoints"},
                      {"results", std::move(results)}};
    return dumped({{"$schema", "https://json.schemastore.org/sarif-2.1.0.json"},
                   {"version", "2.1.0"},
                   {"runs", json::array({run})}});
}

} // namespace tool
