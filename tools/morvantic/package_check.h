#pragma once

#include "package_writer.h"

#include <string>
#include <vector>

namespace tool {

/// Examines a package that was just written as a stranger would examine it: it verifies by the
/// public half of the key, it holds exactly what was packed, and the engine serves the same bytes.
/// Throws failure if not.
void check_written_package(const std::string& path, const EVP_PKEY* key,
                           const std::vector<packed_file>& packed);

} // namespace tool
