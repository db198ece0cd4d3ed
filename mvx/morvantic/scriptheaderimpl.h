#pragma once

#include "morvantic/scriptobject.h"
#include "morvantic/scriptvalues.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace engine {

/// What CScriptHeader does, and the records as the parser fills them.
struct CScriptHeaderImpl {
    struct CPackage : CScriptObject {
        bool applies_to(const char* package_name, const CPlatformType& asked) const;

        std::size_t name_cursor = 0;
        std::vector<std::string> names;
        CPlatformType platform;
        std::string version;     // the lower or the upper limit, whichever the script sets last
        std::string version_max; // stays empty
        bool has_extra_fs = false;
        std::vector<std::string> record_namespaces;
    };

    CScriptHeaderImpl() = default;
    virtual ~CScriptHeaderImpl();

    bool accept(const char* package_name, const CPlatformType& platform);
    bool has_extra_fs(const char* package_name, const CPlatformType& platform);
    const char* package_names_next();
    const char* namespace_next();

    std::uint32_t engine_version = 1000000;
    std::size_t package_cursor = 0;
    std::vector<std::unique_ptr<CPackage>> packages;
    std::size_t namespace_cursor = 0;
    std::vector<std::string> namespaces; // of the record selected last
};

} // namespace engine
