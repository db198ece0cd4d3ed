#include "script_check.h"

#include "engine_findings.h"

#include "core/text.h"

#include <algorithm>

namespace tool {

namespace {

script_findings check(const group_script& script, const file_lookup& files,
                      const std::set<std::string>& off) {
    script_findings result{script.shown, script.text, look_at(script.text, files)};
    std::vector<finding>& findings = result.findings;
    if (!is_endless(findings)) {
        const std::vector<finding> logged = ask_engine(core::decode_path(script.name), script.text);
        findings.insert(findings.end(), logged.begin(), logged.end());
    }
    const std::set<std::string> off_here = codes_off(script.text);
    std::erase_if(findings, [&](const finding& found) {
        return off.contains(found.kind->code) || off_here.contains(found.kind->code);
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
