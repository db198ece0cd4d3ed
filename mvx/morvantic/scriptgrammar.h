#pragma once

#include "morvantic/scriptvalues.h"
#include "morvantic/wordindex.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

// The words of the script language and where each may stand: data, and how a word is found.

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

constexpr std::string_view word_of(EKeyword keyword) noexcept {
    return keyword_words[static_cast<std::size_t>(keyword)];
}

inline constexpr word_index<keyword_words.size()> keyword_finder(keyword_words);

/// Exact and case-sensitive; keyword_none for any other text.
constexpr EKeyword keyword_from_string(std::string_view text) noexcept {
    return static_cast<EKeyword>(keyword_finder.find(text));
}

// The vocabularies by a text that needs no end of its own; 0 for any other text.
EEnumValue enum_value_of(std::string_view name) noexcept;
EObjectType object_type_of(std::string_view name) noexcept;
EFunctionType function_type_of(std::string_view name) noexcept;

/// Where a name may stand already.
enum name_place : std::uint8_t {
    place_reserved_word,
    place_analyzers,
    place_global_constants,
    place_local_constants,
};

enum name_effect : std::uint8_t {
    effect_error,
    effect_overwrite, // a warning, and the old entry goes
};

/// One row of a rule set for names. The name takes the place of the "%".
struct name_rule {
    name_place place;
    name_effect effect;
    std::string_view message;
};

} // namespace engine
