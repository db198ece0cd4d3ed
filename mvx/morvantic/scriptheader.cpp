#include "morvantic/scriptheader.h"

#include "core/logandrethrow.h"
#include "morvantic/scriptheaderimpl.h"

namespace engine {

CScriptHeader::CScriptHeader(const char* section_namespace, const char* section_name)
    : CScriptSection(section_namespace, section_name),
      impl(core::log_and_rethrow([] { return core::make_impl<CScriptHeaderImpl>(); })) {}

CScriptHeader::~CScriptHeader() = default;

bool CScriptHeader::accept(const char* package_name, const CPlatformType& platform) {
    return impl->accept(package_name, platform);
}

bool CScriptHeader::accept(const char* package_name, const CPlatformType& platform,
                           const char* /*version*/) {
    return impl->accept(package_name, platform);
}

bool CScriptHeader::hasExtraFS(const char* package_name, const CPlatformType& platform) {
    return impl->has_extra_fs(package_name, platform);
}

bool CScriptHeader::hasExtraFS(const char* package_name, const CPlatformType& platform,
                               const char* /*version*/) {
    return impl->has_extra_fs(package_name, platform);
}

const char* CScriptHeader::packageNames_next() { return impl->package_names_next(); }

// Each record keeps its own cursor, so a walk that was broken off goes on inside its record.
void CScriptHeader::packageNames_reset() { impl->package_cursor = 0; }

const char* CScriptHeader::namespace_next() { return impl->namespace_next(); }

void CScriptHeader::namespace_reset() { impl->namespace_cursor = 0; }

} // namespace engine
