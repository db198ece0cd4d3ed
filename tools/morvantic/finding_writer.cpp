#include "finding_writer.h"

#include "output.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>

namespace tool {

namespace {

using json = nlohmann::ordered_json;

constexpr std::size_t longest_shown = 300; // bytes of a source line; longer ones are left out

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

    text_place of(std::size_t offset) const {
        const std::size_t begin = line_begin(offset);
        const auto line = std::lower_bound(m_lines.begin(), m_lines.end(), begin) - m_lines.begin();
        return {static_cast<std::size_t>(line) + 1,
                characters(m_text.substr(begin, offset - begin)) + 1};
    }

    std::size_t line_begin(std::size_t offset) const {
        return *std::prev(std::upper_bound(m_lines.begin(), m_lines.end(), offset));
    }

    std::string_view line_at(std::size_t offset) const {
        const std::string_view rest = m_text.substr(line_begin(offset));
        return rest.substr(0, rest.find_first_of("\r\n"));
    }

private:
    std::size_t next_line(std::size_t at) const {
        const std::size_t end = m_text.find('\n', at);
        return end == std::string_view::npos ? end : end + 1;
    }

    std::string_view m_text;
    std::vector<std::size_t> m_lines; // where they begin
};

std::string for_eyes(std::string_view source) {
    std::string text(source);
    std::replace(text.begin(), text.end(), '\t', ' ');
    return printable(text);
}

/// The line of a finding with a mark below its place.
std::string source_of(const text_places& places, const finding& found) {
    const std::string_view line = places.line_at(found.begin);
    if (line.empty() || line.size() > longest_shown) return "";
    const std::size_t before = std::min(found.begin - places.line_begin(found.begin), line.size());
    return "    " + for_eyes(line) + "\n    " +
           std::string(characters(for_eyes(line.substr(0, before))), ' ') + "^\n";
}

bool differs(const finding& found, const text_place& place) {
    return found.is_logged &&
           (found.logged.line != place.line || found.logged.column != place.column);
}

json json_of(const finding& found, const text_places& places) {
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

/// A path as a relative reference.
std::string uri_of(const std::string& path) {
    constexpr std::string_view plain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
    std::string uri;
    for (const char byte : path) {
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

json sarif_result(const script_findings& of, const finding& found, const text_places& places,
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
    const text_places places(of.text);
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
    return (text.empty() ? "Nothing found" : text) + " in " + counted(all.size(), "script") + ".\n";
}

std::string json_of(const std::vector<script_findings>& all) {
    json scripts = json::array();
    for (const script_findings& of : all) {
        const text_places places(of.text);
        json rows = json::array();
        for (const finding& found : of.findings)
            rows.push_back(json_of(found, places));
        scripts.push_back({{"script", of.shown}, {"findings", std::move(rows)}});
    }
    const finding_counts counts = count(all);
    return dumped({{"scripts", std::move(scripts)},
                   {"errors", counts[severity_error]},
                   {"warnings", counts[severity_warning]},
                   {"notes", counts[severity_note]}});
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
        const text_places places(of.text);
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
