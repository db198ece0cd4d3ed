#pragma once

#include "complaints.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace inspector {

/// The files of an app: what stands below the folders app, extra and raw. They are never written
/// to. A path that is asked for is one of those listed, so neither a script nor what stands in
/// these folders can lead out of them.
class stores {
public:
    /// Lists the files, and tells of folders that cannot be listed.
    stores(std::filesystem::path folder, complaints& faults);

    /// The files of a place that fit one of the patterns, in the order of their names. "*" stands
    /// for any part of a name, "**" for any folders.
    std::vector<std::string> matching(engine::EEnumValue place,
                                      const std::vector<std::string>& patterns) const;

    /// A path with the folder of its place in front, to tell of it.
    static std::string shown(engine::EEnumValue place, const std::string& path);

    /// The content of a file; nothing if there is no such file. Throws if it cannot be read.
    std::optional<std::string> read(engine::EEnumValue place, const std::string& path) const;

private:
    const std::vector<std::string>& files(engine::EEnumValue place) const;

    std::filesystem::path m_folder;
    std::map<engine::EEnumValue, std::vector<std::string>> m_files; // sorted
};

/// The name of the folder that stands for a place; null for what is no place.
const char* folder_of(engine::EEnumValue place);

} // namespace inspector
