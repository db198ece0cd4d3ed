#include "morvantic/scriptparser.h"

#include "morvantic/scriptvalues.h"

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

// The names that a script gives, and how they may collide:
//
//     const greeting = "hello";       a constant, global or of one object
//     messages = SqliteAnalyzer...    an analyzer

namespace engine {

namespace {

// The first row that applies decides. The sets differ on purpose: a local constant may shadow a
// global one, a global one may not be added over a local one.

constexpr std::array analyzer_rules = {
    name_rule{place_reserved_word, effect_error,
              "Analyzer name \"%\" is reserved word and cannot be used."},
    name_rule{place_analyzers, effect_error, "Analyzer name \"%\" already defined as analyzer"},
    name_rule{place_global_constants, effect_error,
              "Analyzer name \"%\" already defined as global constant"},
    name_rule{place_local_constants, effect_error,
              "Analyzer name \"%\" already defined as local constant"},
};

constexpr std::array global_constant_rules = {
    name_rule{place_reserved_word, effect_error,
              "Global constant \"%\" is reserved word and cannot be used."},
    name_rule{place_analyzers, effect_error,
              "Global constant \"%\" already defined as analyzer name"},
    name_rule{place_global_constants, effect_overwrite,
              "Global constant \"%\" already defined as global (value overwritten)"},
    name_rule{place_local_constants, effect_error,
              "Adding global constant which is already defined as local"},
};

constexpr std::array local_constant_rules = {
    name_rule{place_reserved_word, effect_error,
              "Local constant \"%\" is reserved word and cannot be used."},
    name_rule{place_analyzers, effect_error,
              "Local constant \"%\" already defined as analyzer name"},
    name_rule{place_local_constants, effect_overwrite,
              "Local constant \"%\" already defined as local (value overwritten)"},
};

/// Names of enumeration values are not reserved.
bool is_reserved_word(std::string_view name) {
    return keyword_from_string(name) != keyword_none ||
           function_type_of(name) != function_unknown || object_type_of(name) != object_unknown;
}

std::string with_name(std::string_view message, const std::string& name) {
    std::string text(message);
    const std::size_t mark = text.find('%');
    if (mark != std::string::npos) text.replace(mark, 1, name);
    return text;
}

} // namespace

bool CScriptParser::is_taken(name_place place, const std::string& name) const {
    switch (place) {
    case place_reserved_word:
        return is_reserved_word(name);
    case place_analyzers:
        return analyzers.contains(name);
    case place_global_constants:
        return global_constants.contains(name);
    case place_local_constants:
        return local_constants.contains(name);
    }
    return false;
}

void CScriptParser::check_name(std::span<const name_rule> rules, const std::string& name) {
    for (const name_rule& rule : rules) {
        if (!is_taken(rule.place, name)) continue;
        const std::string message = with_name(rule.message, name);
        if (rule.effect == effect_error) fail(message);
        warn(message);
        // Gone even if a later row refuses the name.
        (rule.place == place_global_constants ? global_constants : local_constants).erase(name);
    }
}

void CScriptParser::add_analyzer_name(const std::string& name) {
    check_name(analyzer_rules, name);
    analyzers.insert(name);
}

void CScriptParser::add_global_constant(const constant& added) {
    check_name(global_constant_rules, added.first);
    global_constants.insert(added);
}

void CScriptParser::add_local_constant(const constant& added) {
    check_name(local_constant_rules, added.first);
    local_constants.insert(added);
}

CScriptParser::constant CScriptParser::parse_constant() {
    expect_next(token_identifier, "Expected constant name as identifier");
    constant parsed;
    parsed.first = token_text;
    const auto expect_for_it = [&](std::int32_t kind, const char* message) {
        if (next_token() != kind) fail(message + (" for constant \"" + parsed.first) + "\"");
    };
    expect_for_it('=', "Expected '='");
    expect_for_it(token_string, "Expected string");
    parsed.second = token_text;
    expect_for_it(';', "Expected ';'");
    return parsed;
}

const std::string& CScriptParser::resolve_constant(const std::string& name) {
    for (const auto* constants : {&local_constants, &global_constants}) {
        const auto found = constants->find(name);
        if (found != constants->end()) return found->second;
    }
    fail("Unknown constant recieved");
}

} // namespace engine
