#include "morvantic/script.h"

#include "core/logandrethrow.h"
#include "morvantic/scriptheader.h"
#include "morvantic/scriptimpl.h"
#include "morvantic/scriptinclude.h"

#include <concepts>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

// The two operations by which a host drives parsing stop the failures of a script's text: the host
// sees no exception, only no section.

namespace engine {

namespace {

/// Runs the work; false if a std::exception ended it, which is logged and goes no further.
template <std::invocable Work>
bool run_and_swallow(Work&& work, core::source_place place = core::source_place::here()) {
    try {
        std::invoke(std::forward<Work>(work));
        return true;
    } catch (const std::exception& failure) {
        const char* text = failure.what();
        core::debug_logger{place} << text;
        core::error_logger{place} << "Exception catched: " << text;
    }
    return false;
}

std::unique_ptr<CScriptSection> make_section(const char* section_namespace,
                                             const char* section_name) {
    const ESectionName kind = CScript::get_name(section_name);
    const bool in_app = CScript::get_namespace(section_namespace) == namespace_app;
    if (kind == section_header && in_app) {
        return std::make_unique<CScriptHeader>(section_namespace, section_name);
    }
    if (kind == section_include) {
        return std::make_unique<CScriptInclude>(section_namespace, section_name);
    }
    if (kind != section_script) core::assertion("!\"Unknown section being processed.\"");
    return std::make_unique<CScriptSection>(section_namespace, section_name);
}

} // namespace

CScript::CScript(const wchar_t* script_name)
    : impl(core::log_and_rethrow(
          [&] { return core::make_impl<CScriptImpl>(this, std::wstring(script_name)); })) {}

CScript::~CScript() = default;

void CScript::init() {
    if (!run_and_swallow([&] { impl->parser.scan_sections(); })) core::assertion("false");
}

CScriptSection* CScript::section(const char* section_namespace, const char* section_name) {
    const std::string wanted_namespace(section_namespace);
    const std::string wanted_name(section_name);
    for (const auto& section : impl->sections) {
        if (section->equal(wanted_namespace.c_str(), wanted_name.c_str())) return section.get();
    }
    CScriptSection* parsed = nullptr;
    run_and_swallow([&] { parsed = impl->parser.parse_section(wanted_namespace, wanted_name); });
    return parsed;
}

ESectionName CScript::get_name(const char* section_name) noexcept {
    if (section_name == nullptr) return section_other;
    const std::string_view name(section_name);
    if (name == "Header") return section_header;
    if (name == "Include") return section_include;
    if (name == "Script") return section_script;
    return section_other;
}

ESectionNamespace CScript::get_namespace(const char* section_namespace) noexcept {
    const bool is_app =
        section_namespace != nullptr && std::string_view(section_namespace) == "App";
    return is_app ? namespace_app : namespace_other;
}

CScriptArgument CScript::create_argument() {
    core::assertion("false");
    core::throw_logged("Internal error.");
}

CScriptSection* CScript::add_section(const char* section_namespace, const char* section_name) {
    return __add_section(make_section(section_namespace, section_name));
}

CScriptSection* CScript::__add_section(std::unique_ptr<CScriptSection> section) { // NOLINT
    if (!section) return nullptr;
    return impl->sections.emplace_back(std::move(section)).get();
}

} // namespace engine
