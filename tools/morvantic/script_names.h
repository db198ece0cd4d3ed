#pragma once

#include "finding_list.h"
#include "token_list.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace tool {

struct name_use {
    std::string name;
    token_index at = 0;
};

/// The names of a Script section.
struct script_names {
    std::set<std::string> defined;              // of whatever kind
    std::map<std::string, token_index> globals; // the global constants among them, and where
    std::vector<name_use> locals;               // the other constants
    std::vector<name_use> uses;                 // in values
    std::vector<name_use> modules;              // in calls

    /// Whether a global constant of this name stands in front of it.
    bool defines_before(const name_use& use) const;
};

/// Of the section whose body these tokens are.
script_names read_names(const token_list& list, token_index begin, token_index end);

/// Tells of names that are not known when a host reads Script sections in one of these orders, or
/// that hide what is. `globals` are known from the start. Each name is told once.
void look_at_names(const token_list& list, const std::map<std::string, script_names>& names,
                   const std::set<std::vector<std::string>>& orders,
                   const std::set<std::string>& globals, finding_list& found);

} // namespace tool
