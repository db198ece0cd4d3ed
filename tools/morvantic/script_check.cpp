#include "script_check.h"

#include "engine_findings.h"

#include "core/text.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

namespace tool {

namespace {

/// Codes for one and the same mistake: found by the look, logged by the engine. The first one says
/// more, and where it is.
constexpr std::pair<std::string_view, std::string_view> twins[] = {
    {"byte-order-mark", "text-outside-section"}, {"default-redefined", "module-repeated"},
    {"include-missing", "unknown-module"},       {"missing-section", "missing-section"},
    {"section-order", "unknown-name"},
};

bool are_twins(const finding& looked, const finding& logged) {
    const auto* row = std::find(
        std::begin(twins), std::end(twins),
        std::pair<std::string_view, std::string_view>(looked.kind->code, logged.kind->code));
    if (row == std::end(twins)) return false;
    return row->first == row->second ? looked.message == logged.message
                                     : looked.begin == logged.begin;
}

/// What the engine logs comes to what the look has found; one mistake is told once.
void add_logged(std::vector<finding>& findings, const std::vector<finding>& logged) {
    const std::size_t looked_end = findings.size();
    for (const finding& each : logged) {
        bool is_new = true;
        for (std::size_t i = 0; i != looked_end; ++i) {
            if (!are_twins(findings[i], each)) continue;
            findings[i].is_logged = true;
            findings[i].logged = each.logged;
            is_new = false;
        }
        if (is_new) findings.push_back(each);
    }
}

/// Whether an author may answer for it. A text without an end takes hosts down.
bool can_be_off(const finding_kind& kind) { return !is_endless(kind); }

script_findings check(const group_script& script, const file_lookup& files,
                      const std::set<std::string>& off) {
    script_findings result{script.shown, script.text, look_at(script.text, files), 0};
    std::vector<finding>& findings = result.findings;
    if (!is_endless(findings)) {
        add_logged(findings, ask_engine(core::decode_path(script.name), script.text));
    }
    const std::set<std::string> off_here = codes_off(script.text);
    result.off = std::erase_if(findings, [&](const finding& found) {
        return can_be_off(*found.kind) &&
               (off.contains(found.kind->code) || off_here.contains(found.kind->code));
    });
    std::stable_sort(
        findings.begin(), findings.end(),
        [](const finding& left, const finding& right) { return left.begin < right.begin; });
    return result;
}

} // namespace

std::vector<script_findings> check(const script_group& group, const std::set<std::string>& off) {
    install(group);
    const file_lookup files = group.lookup();
    std::vector<script_findings> all;
    for (const group_script& script : group.scripts)
        all.push_back(check(script, files, off));
    return all;
}

} // namespace tool
