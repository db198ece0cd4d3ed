#include "morvantic/scriptparser.h"

#include "morvantic/scriptheader.h"
#include "morvantic/scriptheaderimpl.h"
#include "morvantic/scriptparser_block.h"

// The Header section: for which apps and platforms a script is meant.
//
//     engineVersion = 1000000;
//     Package {
//         names = "com.example.mail", "com.example.mail.beta";
//         platforms = platform.Android, platform.iOS;
//         namespaces = "Mail";
//         hasExtraFS = true;
//     }

namespace engine {

void CScriptParser::parse_header(CScriptHeader& header) {
    static constexpr std::array items = {
        block_property<CScriptHeaderImpl>{keyword_const, property_constant,
                                          &CScriptParser::read_global_constant, nullptr},
        block_property<CScriptHeaderImpl>{
            keyword_engine_version, property_unsigned, &CScriptParser::read_engine_version,
            "Property \"engineVersion\" is only allowed once (value overwritten)"},
        block_property<CScriptHeaderImpl>{keyword_package, property_package_block,
                                          &CScriptParser::read_package, nullptr},
    };
    parse_block(items, *header.impl, "Expected identifier");
}

void CScriptParser::read_global_constant(CScriptHeaderImpl& /*header*/) {
    add_global_constant(parse_constant());
}

void CScriptParser::read_engine_version(CScriptHeaderImpl& header) {
    header.engine_version = static_cast<std::uint32_t>(parse_integer_property());
}

void CScriptParser::read_package(CScriptHeaderImpl& header) {
    using package = CScriptHeaderImpl::CPackage;
    static constexpr std::array items = {
        block_property<package>{keyword_const, property_constant,
                                &CScriptParser::read_block_constant, nullptr},
        block_property<package>{keyword_has_extra_fs, property_bool, &CScriptParser::read_extra_fs,
                                "Property \"hasExtraFS\" is only allowed once (value overwritten)"},
        block_property<package>{keyword_names, property_string_list, &CScriptParser::read_names,
                                "Property \"names\" is only allowed once (value overwritten)"},
        block_property<package>{keyword_namespaces, property_string_list,
                                &CScriptParser::read_namespaces,
                                "Property \"namespaces\" is only allowed once (value overwritten)"},
        block_property<package>{keyword_version_min, property_string, &CScriptParser::read_version,
                                "Property \"versionMin\" is only allowed once (value overwritten)"},
        block_property<package>{keyword_version_max, property_string, &CScriptParser::read_version,
                                "Property \"versionMax\" is only allowed once (value overwritten)"},
        block_property<package>{keyword_platforms, property_enum_list,
                                &CScriptParser::read_platforms,
                                "Property \"platforms\" is only allowed once (value overwritten)"},
    };
    expect_next('{', "Opening brace expected after Package definition");
    auto record = std::make_unique<package>();
    parse_block(items, *record, "Expected identifier name");
    if (record->names.empty()) warn("Property \"names\" is missing");
    if (record->platform.getFlags() == platform_none) warn("Property \"platforms\" not set");
    header.packages.push_back(std::move(record));
}

void CScriptParser::read_extra_fs(CScriptHeaderImpl::CPackage& record) {
    expect_next('=', "Expected '='");
    expect_next(token_bool, "Expected bool");
    record.has_extra_fs = token_text == "true";
    expect_next(';', "Expected ';'");
}

void CScriptParser::read_names(CScriptHeaderImpl::CPackage& record) {
    record.names = parse_string_list_property();
}

void CScriptParser::read_namespaces(CScriptHeaderImpl::CPackage& record) {
    record.record_namespaces = parse_string_list_property();
}

/// Both limits go to one field, which keeps whichever stands last.
void CScriptParser::read_version(CScriptHeaderImpl::CPackage& record) {
    record.version = parse_string_property();
}

/// Repeated lists are joined, whatever the warning says.
void CScriptParser::read_platforms(CScriptHeaderImpl::CPackage& record) {
    record.platform.setType(parse_platform_list());
}

/// = platform.Android, platform.iOS;
EPlatformTypes CScriptParser::parse_platform_list() {
    expect_next('=', "Expected '='");
    EPlatformTypes joined = platform_none;
    for (;;) {
        expect_next(token_identifier, "Expected enum identifier\"");
        std::string name(token_text);
        expect_next('.', "Expected '.' after enum prefix");
        expect_next(token_identifier, "Expected identifier after enum declaration");
        const std::string_view word = token_text;
        name.append(".").append(word);
        const EPlatformTypes platform = CPlatformType::from_string(name.c_str());
        if (platform == platform_none) warn("Unknown enum \"" + std::string(word) + "\"");
        joined = joined | platform;
        if (next_token() == ';') return joined;
        expect_current(',', "Expected ';' or ',' to end or continue");
    }
}

/// = 12;
std::uint64_t CScriptParser::parse_integer_property() {
    expect_next('=', "Expected '='\"");
    expect_next(token_number, "Expected decimal integer number");
    const auto number = to_number<std::uint64_t>(token_text);
    expect_next(';', "Expected ';'");
    return number;
}

/// = "text";
std::string CScriptParser::parse_string_property() {
    expect_next('=', "Expected '='");
    expect_next(token_string, "Expected string");
    if (token_text.empty()) fail("Expected not empty string");
    std::string text(token_text);
    expect_next(';', "Expected ';'");
    return text;
}

/// = "one", "two";
CScriptParser::string_list CScriptParser::parse_string_list_property() {
    expect_next('=', "Expected '='");
    next_token();
    return parse_string_list(';', false);
}

} // namespace engine
