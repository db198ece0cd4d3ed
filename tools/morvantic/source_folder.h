#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tool {

/// A file that goes into a package.
struct source_file {
    std::string name; // in the archive: UTF-8, "/" between folders
    std::wstring wide_name;
    std::string path;
    std::uint64_t size;
    std::string content{}; // of a source without a path
};

/// A file that must not be packed, by its path; an empty path means none.
struct unwanted_file {
    std::string path;
    std::string refusal; // what to say if it is in the folder; empty to leave it out
};

struct source_folder {
    std::vector<source_file> files;          // in the order of their names
    std::vector<std::string> skipped;        // hidden entries that were left out
    std::vector<std::string> differ_in_case; // pairs that are one file to some file systems
};

/// Lists a folder. Throws failure for whatever a package cannot hold: symbolic links and special
/// files, names that are too long or not UTF-8, refused files. Hidden entries, whose names begin
/// with ".", are taken only if `with_hidden`.
source_folder list_source_folder(const std::string& folder, bool with_hidden,
                                 const std::vector<unwanted_file>& unwanted);

/// The content of a regular file. Throws failure.
std::vector<std::uint8_t> read_source(const source_file& file);

} // namespace tool
