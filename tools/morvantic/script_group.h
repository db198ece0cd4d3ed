#pragma once

#include "package_view.h"
#include "scratch_package.h"
#include "script_look.h"
#include "source_folder.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tool {

/// One script to work on.
struct group_script {
    std::string shown; // how messages name it: as a path, or in a package as "apps.pkg:mail.sc"
    std::string name;  // in its package, as UTF-8
    std::string text;
};

/// What belongs together: the scripts of a folder or a package, or one script alone.
struct script_group {
    std::string shown;
    std::vector<group_script> scripts;           // in the order of their names
    std::optional<std::set<std::wstring>> files; // beside them, if that is known

    /// Asks for the files beside the scripts; empty if they are not known.
    file_lookup lookup() const;
};

/// The scripts of a script file or of "-", of a folder as it would be packed, or of a package,
/// which has to verify by the key. Throws failure if there are none.
script_group open_scripts(const std::string& argument, const std::string& key);

/// The scripts of a folder that has been listed.
script_group group_of(const std::string& folder, const source_folder& sources);

/// Installs a group's scripts in the engine, in place of what was installed before.
void install(const script_group& group);

} // namespace tool
