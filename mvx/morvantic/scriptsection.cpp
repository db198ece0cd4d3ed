#include "morvantic/scriptsection.h"

#include "core/logandrethrow.h"
#include "morvantic/scriptsectionimpl.h"

#include <string>

namespace engine {

CScriptSection::CScriptSection(const char* section_namespace, const char* section_name)
    : impl(core::log_and_rethrow([&] {
               return core::make_impl<CScriptSectionImpl>(section_namespace, section_name);
           }).release()) {}

// The implementation stays unreleased.
CScriptSection::~CScriptSection() = default;

bool CScriptSection::equal(const char* section_namespace, const char* section_name) {
    const std::string wanted_namespace(section_namespace); // a null pointer throws here
    const std::string wanted_name(section_name);
    return wanted_namespace == impl->section_namespace && wanted_name == impl->section_name;
}

} // namespace engine
