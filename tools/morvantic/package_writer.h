#pragma once

#include "source_folder.h"

#include "core_crypto/cryptohandles.h"
#include "morvanticshared/packageheader.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tool {

/// What the header of a new package says.
struct package_fields {
    std::string kind;
    package::package_stamp stamp;
    package::encryption_kind encryption = package::encryption_none;
    package::package_version version;
    std::uint32_t aux_value = 0;
    std::string trailer_text;
};

/// Throws failure, the call's, unless a header can hold these fields and a signature by the key.
void check_fields(const package_fields& fields, const EVP_PKEY* key);

/// A file as it went into the package.
struct packed_file {
    std::wstring name;
    std::uint64_t size;
    std::vector<std::uint8_t> digest; // SHA-256
};

/// Writes a whole package into an empty file. Throws failure, the
/// input's, about a source, and std::system_error about the package.
std::vector<packed_file> write_package(const std::string& path, int number,
                                       const std::vector<source_file>& sources,
                                       const package_fields& fields, int level, EVP_PKEY* key);

} // namespace tool
