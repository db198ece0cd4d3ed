#pragma once

#include "morvantic/export.h"
#include "morvantic/scriptsection.h"
#include "morvantic/scriptvalues.h"

#include <memory>

namespace engine {

class CScriptParser;
struct CScriptHeaderImpl;

/// The Header section: for what a script is meant. It holds package records, each with a list of
/// package names, a set of platforms, a list of namespaces and a flag. A host asks whether the
/// script applies, then walks the namespaces of the record that was selected.
///
/// @code
/// auto* header = dynamic_cast<engine::CScriptHeader*>(script.section("App", "Header"));
/// if (header && header->accept("com.example.mail", engine::platform_android)) {
///     header->namespace_reset();
///     while (const char* name = header->namespace_next()) use(name);
/// }
/// @endcode
///
/// Package names that are handed out live as long as the script, namespaces until the next
/// selection. Belongs, like its script, to one thread at a time; the walks are cursors inside.
class MV_API CScriptHeader : public CScriptSection {
public:
    /// Throws as CScriptSection does.
    CScriptHeader(const char* section_namespace, const char* section_name);

    ~CScriptHeader() override;

    /// Selects the first record with this package name, case-sensitive, and with any of these
    /// platforms; whether there is one. If so, namespace_next delivers the record's namespaces from
    /// then on, from where its walk stands: call namespace_reset. If not, the earlier selection
    /// stays. A null name is in no record, and no platform is in those without platforms alone.
    bool accept(const char* package_name, const CPlatformType& platform);

    /// The same. Scripts are selected by name and platform alone, whatever the version, which may
    /// be null.
    bool accept(const char* package_name, const CPlatformType& platform, const char* version);

    /// Whether a record with this name and platform asks for the extra file system. A selection
    /// like accept: it takes the first such record that has the flag, if there is one.
    bool hasExtraFS(const char* package_name, const CPlatformType& platform);

    /// The same, whatever the version.
    bool hasExtraFS(const char* package_name, const CPlatformType& platform, const char* version);

    /// The next package name of all records, or null after the last one.
    const char* packageNames_next();

    /// Goes back to the first record. The walk inside a record that was broken off goes on where it
    /// stood: only a walk to the end starts each record afresh.
    void packageNames_reset();

    /// The next namespace of the selected record, or null after the last one.
    const char* namespace_next();

    /// Restarts the walk over the namespaces.
    void namespace_reset();

private:
    friend class CScriptParser;

    std::unique_ptr<CScriptHeaderImpl> impl;
};

} // namespace engine
