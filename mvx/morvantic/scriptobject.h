#pragma once

#include <map>
#include <string>

namespace engine {

/// Base of whatever a section holds: a table of constants of its own.
struct CScriptObject {
    CScriptObject() = default;
    virtual ~CScriptObject();

    /// Stores a constant; false if there is one of that name, which then stays.
    bool add_constant(const std::string& name, const std::string& value);

    std::map<std::string, std::string> constants;
};

} // namespace engine
