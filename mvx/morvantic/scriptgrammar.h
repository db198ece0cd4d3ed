#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

// The words of the script language and where each may stand: data only.

namespace engine {

/// Words that mean something to the grammar.
enum EKeyword : std::int32_t {
    keyword_none = 0, // any other text
    keyword_const,
    keyword_dependencies,
    keyword_engine_version,
    keyword_func,
    keyword_has_extra_fs,
    keyword_index,
    keyword_names,
    keyword_namespaces,
    keyword_package,
    keyword_path,
    keyword_version_max,
    keyword_version_min,
    keyword_platforms,
    keyword_python,
    keyword_xquery,
};

/// What kind of value a property takes.
enum EPropertyType : std::int32_t {
    property_bool = 1,
    property_constant = 2,
    property_enum_list = 3,
    property_unsigned = 5,
    property_package_block = 6,
    property_python_block = 7,
    property_string = 8,
    property_string_list = 9,
    property_xquery_block = 10,
};

/// Spelled as in scripts, each at its value.
inline constexpr std::array<std::string_view, 16> keyword_words = {
    "",           "const",     "dependencies", "engineVersion", "func", "hasExtraFS",
    "index",      "names",     "namespaces",   "Package",       "path", "versionMax",
    "versionMin", "platforms", "Python",       "XQuery"};
static_assert(keyword_words.size() == keyword_xquery + 1);

/// Exact and case-sensitive; keyword_none for any other text.
constexpr EKeyword keyword_from_string(std::string_view text) noexcept {
    for (std::size_t i = 1; i != keyword_words.size(); ++i) {
        if (text == keyword_words[i]) return static_cast<EKeyword>(i);
    }
    return keyword_none;
}

struct allowed_property {
    EKeyword keyword;
    EPropertyType type;
};

inline constexpr std::array header_properties = {
    allowed_property{keyword_const, property_constant},
    allowed_property{keyword_engine_version, property_unsigned},
    allowed_property{keyword_package, property_package_block},
};

inline constexpr std::array package_properties = {
    allowed_property{keyword_const, property_constant},
    allowed_property{keyword_has_extra_fs, property_bool},
    allowed_property{keyword_names, property_string_list},
    allowed_property{keyword_namespaces, property_string_list},
    allowed_property{keyword_version_min, property_string},
    allowed_property{keyword_version_max, property_string},
    allowed_property{keyword_platforms, property_enum_list},
};

inline constexpr std::array include_properties = {
    allowed_property{keyword_const, property_constant},
    allowed_property{keyword_python, property_python_block},
    allowed_property{keyword_xquery, property_xquery_block},
};

inline constexpr std::array python_properties = {
    allowed_property{keyword_const, property_constant},
    allowed_property{keyword_dependencies, property_string_list},
    allowed_property{keyword_path, property_string},
    allowed_property{keyword_version_min, property_string},
};

inline constexpr std::array xquery_properties = {
    allowed_property{keyword_const, property_constant},
    allowed_property{keyword_path, property_string},
    allowed_property{keyword_index, property_unsigned},
};

/// Whether a block allows a keyword. keyword_none stands in no table.
constexpr bool is_allowed(std::span<const allowed_property> table, EKeyword keyword) noexcept {
    for (const allowed_property& property : table) {
        if (property.keyword == keyword) return true;
    }
    return false;
}

} // namespace engine
