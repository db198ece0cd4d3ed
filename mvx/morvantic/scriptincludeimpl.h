#pragma once

#include "morvantic/scriptobject.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace engine {

/// What CScriptInclude does, and the blocks as the parser fills them.
struct CScriptIncludeImpl {
    struct CPython : CScriptObject {
        /// A module as a script declares it, for the one supported version unless it says
        /// otherwise.
        CPython() : versionMin("3.6.2") {}

        explicit CPython(std::string its_path) : path(std::move(its_path)) {}

        std::string path;
        std::size_t dependency_cursor = 0;
        std::vector<std::string> dependencies;
        std::string versionMin;
    };

    struct CXQuery : CScriptObject {
        std::string path;
        std::int32_t index = 0;
    };

    /// Holds the module "default" from the start.
    CScriptIncludeImpl();
    virtual ~CScriptIncludeImpl();

    /// Null if there is no such module.
    CPython* find_module(const char* module_name) const;
    const char* python_dependency_next(const char* module_name);
    const char* xquery_next();

    std::map<std::string, std::unique_ptr<CPython>, std::less<>> python_modules;
    std::size_t xquery_cursor = 0;
    std::vector<std::unique_ptr<CXQuery>> xqueries;
};

} // namespace engine
