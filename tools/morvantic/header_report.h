#pragma once

#include "input_file.h"

#include "morvanticshared/packageheader.h"

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace tool {

/// One thing that a package says, and whether its signature vouches for it.
struct header_field {
    const char* name;
    nlohmann::ordered_json value;
    std::string text; // the value for people, printable
    bool covered;
};

/// The fields of a header in the order of the file, and the payload.
std::vector<header_field> describe(const package::CHeader& header, const input_file& package);

/// A table, one field a line.
std::string table_of(const std::vector<header_field>& fields);

/// An object with a value and `covered_by_signature` for each field.
nlohmann::ordered_json json_of(const std::vector<header_field>& fields);

} // namespace tool
