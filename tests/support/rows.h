#pragma once

#include <string>

namespace support {

/// Names a parametrised test after the `name` of its row.
inline constexpr auto row_name = [](const auto& test) { return std::string(test.param.name); };

} // namespace support
