#pragma once

#include "morvantic/export.h"

namespace engine {

struct CScriptSectionImpl;

/// Base of everything that a script's sections become. A section is known by two strings, its
/// namespace and its name. Sections are owned by their CScript and live as long as it does; which
/// class stands for a section is decided in CScript::add_section, and a host finds it out by
/// dynamic_cast.
///
/// Belongs, like its script, to one thread at a time.
class MV_API CScriptSection {
public:
    /// Copies both strings. Throws a std::exception "Failed to allocate memory.", and
    /// std::logic_error if one of them is null; either is logged.
    CScriptSection(const char* section_namespace, const char* section_name);

    CScriptSection(const CScriptSection&) = delete;
    CScriptSection& operator=(const CScriptSection&) = delete;

    virtual ~CScriptSection();

    /// Whether the section has exactly this namespace and this name. Throws std::logic_error if one
    /// of them is null.
    bool equal(const char* section_namespace, const char* section_name);

private:
    CScriptSectionImpl* impl = nullptr; // the destructor leaves it
};

} // namespace engine
