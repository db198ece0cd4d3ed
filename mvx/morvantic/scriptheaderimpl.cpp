#include "morvantic/scriptheaderimpl.h"

#include <algorithm>

namespace engine {

CScriptHeaderImpl::~CScriptHeaderImpl() = default;

bool CScriptHeaderImpl::CPackage::applies_to(const char* package_name,
                                             const CPlatformType& asked) const {
    if (package_name == nullptr) return false;
    if (!platform.isA(static_cast<EPlatformTypes>(asked.getFlags()))) return false;
    return std::find(names.begin(), names.end(), package_name) != names.end();
}

// A selection replaces the namespaces and leaves the cursor where it stands.

bool CScriptHeaderImpl::accept(const char* package_name, const CPlatformType& platform) {
    for (const auto& package : packages) {
        if (!package->applies_to(package_name, platform)) continue;
        namespaces = package->record_namespaces;
        return true;
    }
    return false;
}

bool CScriptHeaderImpl::has_extra_fs(const char* package_name, const CPlatformType& platform) {
    for (const auto& package : packages) {
        if (!package->has_extra_fs || !package->applies_to(package_name, platform)) continue;
        namespaces = package->record_namespaces;
        return true;
    }
    return false;
}

const char* CScriptHeaderImpl::package_names_next() {
    for (; package_cursor < packages.size(); ++package_cursor) {
        CPackage& package = *packages[package_cursor];
        if (package.name_cursor < package.names.size()) {
            return package.names[package.name_cursor++].c_str();
        }
        package.name_cursor = 0;
    }
    return nullptr;
}

const char* CScriptHeaderImpl::namespace_next() {
    if (namespace_cursor >= namespaces.size()) return nullptr;
    return namespaces[namespace_cursor++].c_str();
}

} // namespace engine
