#pragma once

#include <string>

namespace engine {

struct CScriptSectionImpl {
    CScriptSectionImpl(const char* its_namespace, const char* its_name)
        : section_namespace(its_namespace), section_name(its_name) {}

    std::string section_namespace;
    std::string section_name;
};

} // namespace engine
