#include "morvantic/scriptinclude.h"

#include "core/logandrethrow.h"
#include "morvantic/scriptincludeimpl.h"

namespace engine {

CScriptInclude::CScriptInclude(const char* section_namespace, const char* section_name)
    : CScriptSection(section_namespace, section_name),
      impl(core::log_and_rethrow([] { return core::make_impl<CScriptIncludeImpl>(); })) {}

CScriptInclude::~CScriptInclude() = default;

const char* CScriptInclude::python(const char* module_name) const {
    const CScriptIncludeImpl::CPython* module = impl->find_module(module_name);
    return module == nullptr ? nullptr : module->path.c_str();
}

const char* CScriptInclude::python_dependency_next(const char* module_name) {
    return impl->python_dependency_next(module_name);
}

void CScriptInclude::python_dependency_reset(const char* module_name) {
    CScriptIncludeImpl::CPython* module = impl->find_module(module_name);
    if (module != nullptr) module->dependency_cursor = 0;
}

const char* CScriptInclude::xquery_next() { return impl->xquery_next(); }

void CScriptInclude::xquery_reset() { impl->xquery_cursor = 0; }

} // namespace engine
