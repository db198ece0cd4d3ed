#pragma once

#include "finding.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

// Findings as people and programs read them.

namespace tool {

/// The findings of one script, in the order of the text.
struct script_findings {
    std::string shown; // the script's name
    std::string_view text;
    std::vector<finding> findings;
    std::size_t off = 0; // how many were left out because their codes are off
};

/// How many characters a text has, if it is UTF-8.
std::size_t characters(std::string_view text);

/// How many findings there are, by the values of finding_severity.
using finding_counts = std::array<std::size_t, 3>;

finding_counts count(const std::vector<script_findings>& all);

/// One line for each, "file:line:column: severity: message [code]", with the source line below.
/// Columns count characters from 1.
std::string text_of(const script_findings& of);

/// "2 errors and 1 warning in 3 scripts."
std::string summary_of(const std::vector<script_findings>& all);

std::string json_of(const std::vector<script_findings>& all);

/// As SARIF 2.1.0.
std::string sarif_of(const std::vector<script_findings>& all);

} // namespace tool
