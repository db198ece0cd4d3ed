#include "morvantic/morvantic.h"

#include "core/debug.h"
#include "morvantic/scriptstorage.h"

#include <cstdint>
#include <string>

unsigned short mv_init(const wchar_t* log_folder) noexcept {
    core::open_log(log_folder, L"morvantic.log");
    return mv_success;
}

unsigned short mv_set_log_level(unsigned short level, bool silent) {
    const auto wanted = static_cast<std::int16_t>(level);
    if (wanted != core::current_log_level()) core::set_log_level(wanted, !silent);
    return mv_success;
}

unsigned short mv_shutdown() noexcept {
    core::close_log();
    return mv_success;
}

unsigned short mv_update_scripts_package(const wchar_t* package_path,
                                         const wchar_t* key_path) noexcept {
    try {
        const std::wstring key(key_path);
        const std::wstring package(package_path);
        const bool installed = engine::CScriptStorage::instance().update_package(package, key);
        return installed ? mv_success : mv_package_refused;
    } catch (...) { // the code is all that the host gets; nothing is logged here
        return mv_failed;
    }
}

unsigned short mv_experiments() {
    static_cast<void>(engine::CScriptStorage::instance().script_names());
    return mv_success;
}
