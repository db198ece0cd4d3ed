#pragma once

#include "finding_writer.h"
#include "script_group.h"

#include <set>
#include <string>
#include <vector>

namespace tool {

/// What a look at the text and the engine find in each script of a group, in the order of the
/// text. Codes in `off` are left out, and those that a comment in the script switches off. Installs
/// the group. It must stay as long as what is returned.
std::vector<script_findings> check(const script_group& group, const std::set<std::string>& off);

} // namespace tool
