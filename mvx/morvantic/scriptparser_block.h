#pragma once

#include "morvantic/scriptparser.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace engine {

/// A property that a block may hold: what kind of value it takes, how that is read into the block's
/// target, and the warning for a second one, null where there may be many.
template <class Target>
struct CScriptParser::block_property {
    EKeyword keyword;
    EPropertyType type;
    void (CScriptParser::*read)(Target& target);
    const char* repeated;
};

/// Reads the properties of a block in any order, up to its closing brace. Any other word only warns
/// and is skipped.
template <class Target, std::size_t Count>
void CScriptParser::parse_block(const std::array<block_property<Target>, Count>& properties,
                                Target& target, const char* expected) {
    std::array<bool, Count> seen{};
    while (next_token() != '}') {
        expect_current(token_identifier, expected);
        const EKeyword keyword = keyword_from_string(token_text);
        const auto found =
            std::find_if(properties.begin(), properties.end(),
                         [&](const auto& property) { return property.keyword == keyword; });
        if (found == properties.end()) {
            warn_and_skip_unknown();
            continue;
        }
        const bool is_constant = keyword == keyword_const;
        in_context(is_constant ? "Constant definition" : word_of(keyword), [&] {
            const auto row = static_cast<std::size_t>(found - properties.begin());
            if (std::exchange(seen[row], true) && found->repeated != nullptr) warn(found->repeated);
            (this->*found->read)(target);
        });
    }
}

template <class Object>
void CScriptParser::read_block_constant(Object& object) {
    const constant parsed = parse_constant();
    // The first value stays, whatever the warning says.
    if (!object.add_constant(parsed.first, parsed.second)) {
        warn("Constant \"" + parsed.first + "\" already defined (value overwritten)");
    }
}

} // namespace engine
