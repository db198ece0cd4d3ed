#pragma once

#include "harness.h"

#include "core/text.h"
#include "core/winapifileinputstream.h"

#include <memory>

namespace bench {

// The rows of one theme each.

std::vector<row> crypto_rows();
std::vector<row> listing_rows();
std::vector<row> member_rows();
std::vector<row> script_rows();
std::vector<row> log_rows();

constexpr double most_growth = 1.3; // of the cost of a unit where there are many

/// Checks a package as the engine does, by libcrypto alone.
void verify_barely(const std::string& package, const std::string& key);

/// Verifies a package, by the engine.
std::unique_ptr<core::input_stream> open_package(const std::string& path);

inline std::unique_ptr<core::input_stream> open_file(const std::string& path) {
    return std::make_unique<core::CWApiFileInputStream>(core::decode_path(path));
}

} // namespace bench
