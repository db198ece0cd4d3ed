#pragma once

#include "package_view.h"

#include "core/text.h"

#include <string>

namespace tool {

/// The engine with a package installed, driven as any host drives it. The engine serves one package
/// a process: the last one.
class engine_host {
public:
    /// Throws failure, the input's, if the engine refuses the package.
    engine_host(const input_file& package, const std::string& key_path);

    /// As the engine lists them.
    const core::name_set& script_names() const noexcept { return m_script_names; }

    /// Hands over what the engine serves under a member's name. Scripts are opened by the engine
    /// and read from the view, since the engine hands out no text. The member must be sound. Throws
    /// failure if the engine does not serve it.
    void read(const package_view& view, const member& entry, const byte_sink& sink) const;

private:
    core::name_set m_script_names;
};

} // namespace tool
