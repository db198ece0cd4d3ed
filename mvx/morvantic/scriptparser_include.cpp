#include "morvantic/scriptparser.h"

#include "morvantic/scriptinclude.h"
#include "morvantic/scriptincludeimpl.h"
#include "morvantic/scriptparser_block.h"

#include <algorithm>

// The Include section: the files that a script brings along.
//
//     crypto = Python { path = "python/crypto.py"; dependencies = "Default.py"; }
//     XQuery { path = "xquery/messages.xq"; index = 1; }

namespace engine {

namespace {

constexpr const char* supported_python = "3.6.2";

} // namespace

void CScriptParser::parse_include(CScriptInclude& include) {
    CScriptIncludeImpl& target = *include.impl;
    while (next_token() != '}') {
        expect_current(token_identifier, "Expected identifier");
        switch (keyword_from_string(token_text)) {
        case keyword_const:
            in_context("Constant definition", [&] { add_global_constant(parse_constant()); });
            break;
        case keyword_xquery:
            in_context("XQuery", [&] { target.xqueries.push_back(parse_xquery()); });
            break;
        case keyword_python: // where a namespace belongs
            warn_and_skip_unknown();
            break;
        default:
            parse_python_declaration(target);
        }
    }
    sort_xqueries(target);
}

/// crypto = Python { ... }
void CScriptParser::parse_python_declaration(CScriptIncludeImpl& include) {
    const std::string module_name(token_text);
    if (module_name.empty()) fail("Namespace declaration can not be empty");
    in_context(module_name, [&] {
        expect_next('=', "Expected '=' after namespace declaration");
        expect_next(token_identifier, "Expected Python after namespace declaration");
        if (token_text != "Python") fail("Expected Python definition");
        in_context("Python", [&] {
            expect_next('{', "Opening brace expected after Python definition");
            if (!python_namespaces.insert(module_name).second) {
                warn("Namespace \"" + module_name + "\" already defined for Python");
            }
            // The first block of a namespace stays.
            include.python_modules.try_emplace(module_name, parse_python());
        });
    });
}

std::unique_ptr<CScriptIncludeImpl::CPython> CScriptParser::parse_python() {
    using python = CScriptIncludeImpl::CPython;
    static constexpr std::array items = {
        block_property<python>{keyword_const, property_constant,
                               &CScriptParser::read_block_constant, nullptr},
        block_property<python>{
            keyword_dependencies, property_string_list, &CScriptParser::read_dependencies,
            "Property \"dependencies\" is only allowed once (value overwritten)"},
        block_property<python>{keyword_path, property_string, &CScriptParser::read_python_path,
                               "Property \"path\" is only allowed once (value overwritten)"},
        block_property<python>{
            keyword_version_min, property_string, &CScriptParser::read_python_version,
            "Property \"versionMin\" is only allowed once in Python (value overwritten)"},
    };
    auto parsed = std::make_unique<python>();
    parse_block(items, *parsed, "Expected identifier");
    if (parsed->path.empty()) warn("Property \"path\" is missing");
    if (parsed->versionMin != supported_python) warn("Only Python version 3.6.2 supported");
    return parsed;
}

std::unique_ptr<CScriptIncludeImpl::CXQuery> CScriptParser::parse_xquery() {
    using xquery = CScriptIncludeImpl::CXQuery;
    static constexpr std::array items = {
        block_property<xquery>{keyword_const, property_constant,
                               &CScriptParser::read_block_constant, nullptr},
        block_property<xquery>{keyword_path, property_string, &CScriptParser::read_xquery_path,
                               "Property \"path\" is only allowed once (value overwritten)"},
        block_property<xquery>{keyword_index, property_unsigned, &CScriptParser::read_xquery_index,
                               "Property \"index\" is only allowed once (value overwritten)"},
    };
    expect_next('{', "Opening brace expected after XQuery definition");
    auto parsed = std::make_unique<xquery>();
    parse_block(items, *parsed, "Expected identifier");
    if (parsed->path.empty()) warn("Property \"path\" is missing");
    return parsed;
}

void CScriptParser::read_dependencies(CScriptIncludeImpl::CPython& module) {
    module.dependencies = parse_string_list_property();
}

void CScriptParser::read_python_path(CScriptIncludeImpl::CPython& module) {
    module.path = parse_string_property();
}

void CScriptParser::read_python_version(CScriptIncludeImpl::CPython& module) {
    module.versionMin = parse_string_property();
}

void CScriptParser::read_xquery_path(CScriptIncludeImpl::CXQuery& query) {
    query.path = parse_string_property();
}

void CScriptParser::read_xquery_index(CScriptIncludeImpl::CXQuery& query) {
    query.index = static_cast<std::int32_t>(static_cast<std::uint32_t>(parse_integer_property()));
}

void CScriptParser::sort_xqueries(CScriptIncludeImpl& include) {
    auto& queries = include.xqueries;
    std::stable_sort(queries.begin(), queries.end(), [](const auto& left, const auto& right) {
        return left->index < right->index;
    });
    const auto repeated =
        std::adjacent_find(queries.begin(), queries.end(), [](const auto& left, const auto& right) {
            return left->index == right->index;
        });
    if (repeated != queries.end()) {
        fail("Index number set more than once: " + std::to_string((*repeated)->index));
    }
}

} // namespace engine
