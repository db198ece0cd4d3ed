#pragma once

#include "finding.h"

#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tool {

/// Whether a file of this name is beside the script, and as what the engine serves it.
enum file_answer : std::uint8_t {
    answer_missing,
    answer_other_kind,
    answer_there,
};

/// Asked with a name as a script has it, and "Python" or "XQuery".
using file_lookup = std::function<file_answer(const std::string& name, const char* kind)>;

/// What can be said of a script by a look at its text, in the order of the text: what the engine
/// chokes on, and what it passes over in silence. Mistakes that the engine reports are not among
/// it. Any text will do. Without a lookup the files are not looked for.
std::vector<finding> look_at(std::string_view text, const file_lookup& files);

/// The codes that comments in a script switch off, behind "morvantic-check-off:".
std::set<std::string> codes_off(std::string_view text);

/// The apps that a script names, each with a platform's name.
using app_set = std::set<std::pair<std::string, std::string>>;

/// The apps that the Header section names, without asking the engine.
app_set apps_of(std::string_view text);

/// The same as lines that "morvantic coverage --apps" reads.
std::string app_list(const app_set& apps);

/// Whether it is one of a text that the engine would read for ever.
bool is_endless(const finding_kind& kind);

/// Whether one is among them.
bool is_endless(const std::vector<finding>& findings);

} // namespace tool
