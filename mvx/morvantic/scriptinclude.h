#pragma once

#include "morvantic/export.h"
#include "morvantic/scriptsection.h"

#include <memory>

namespace engine {

class CScriptParser;
struct CScriptIncludeImpl;

/// The Include section: the files that a script needs besides itself. Python modules go by a short
/// name, each with the files that it depends on; XQuery files have an order. The files themselves
/// come from CScriptStorageInterface.
///
/// There is always a module "default", the file "Default.py". A null name names no module. Strings
/// that are handed out live as long as the script. Belongs, like its script, to one thread at a
/// time; the walks are cursors inside, one for each module.
class MV_API CScriptInclude : public CScriptSection {
public:
    /// Throws as CScriptSection does.
    CScriptInclude(const char* section_namespace, const char* section_name);

    ~CScriptInclude() override;

    /// The file of a module, empty if its block names none; null if there is no such module.
    const char* python(const char* module_name) const;

    /// The next file that the module depends on, or null after the last one.
    const char* python_dependency_next(const char* module_name);

    /// Restarts the walk over what that module depends on.
    void python_dependency_reset(const char* module_name);

    /// The next XQuery file in their order, empty if its block names none; null after the last one.
    const char* xquery_next();

    /// Restarts the walk over the XQuery files.
    void xquery_reset();

private:
    friend class CScriptParser;

    std::unique_ptr<CScriptIncludeImpl> impl;
};

} // namespace engine
