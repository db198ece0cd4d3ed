#include "morvantic/scriptincludeimpl.h"

#include <string_view>

namespace engine {

CScriptIncludeImpl::CScriptIncludeImpl() {
    python_modules.emplace("default", std::make_unique<CPython>("Default.py"));
}

CScriptIncludeImpl::~CScriptIncludeImpl() = default;

CScriptIncludeImpl::CPython* CScriptIncludeImpl::find_module(const char* module_name) const {
    if (module_name == nullptr) return nullptr;
    const auto found = python_modules.find(std::string_view(module_name));
    return found == python_modules.end() ? nullptr : found->second.get();
}

const char* CScriptIncludeImpl::python_dependency_next(const char* module_name) {
    CPython* module = find_module(module_name);
    if (module == nullptr || module->dependency_cursor >= module->dependencies.size()) {
        return nullptr;
    }
    return module->dependencies[module->dependency_cursor++].c_str();
}

const char* CScriptIncludeImpl::xquery_next() {
    if (xquery_cursor >= xqueries.size()) return nullptr;
    return xqueries[xquery_cursor++]->path.c_str();
}

} // namespace engine
