#pragma once

#include "morvantic/export.h"
#include "morvantic/script.h"
#include "morvantic/scriptargument.h"
#include "morvantic/scriptargumentcallbackbase.h"
#include "morvantic/scriptbody.h"
#include "morvantic/scriptheader.h"
#include "morvantic/scriptinclude.h"
#include "morvantic/scriptsection.h"
#include "morvantic/scriptstorageinterface.h"
#include "morvantic/scriptvalues.h"
#include "morvantic/text.h"

/// @file
/// The script engine: all of its public headers, and the functions that open and close the log and
/// install the script package. A host calls, in this order:
///
/// - mv_init, or not at all: without it nothing is logged, and everything else works;
/// - mv_update_scripts_package;
/// - engine::CScriptStorageInterface to find scripts, engine::CScript to read them;
/// - mv_shutdown, once no other thread logs.
///
/// @code
/// mv_init(L"/var/log/example");
/// if (mv_update_scripts_package(L"scripts.pkg", L"public.pem") != mv_success) return 1;
/// engine::CScriptStorageInterface storage;
/// while (const wchar_t* name = storage.next()) {
///     engine::CScript script(name);
///     script.init();
///     auto* header = dynamic_cast<engine::CScriptHeader*>(script.section("App", "Header"));
///     if (header && header->accept("com.example.mail", engine::platform_android)) use(script);
/// }
/// mv_shutdown();
/// @endcode
///
/// The functions have C linkage, so they can be looked up by name at run time too. Strings stay the
/// caller's and are copied before use; none is kept. All of the engine's own exceptions derive from
/// std::exception.

/// What the functions below return.
enum mv_result : unsigned short {
    mv_success = 0,         ///< done
    mv_package_refused = 5, ///< the storage refused the new package
    mv_failed = 50,         ///< an exception reached the function
};

extern "C" {

/// Opens the log "morvantic.log" in the given folder, which is made if need be, at level 4. An
/// earlier log is continued. Does nothing while a log is open; mv_shutdown has to come first.
///
/// Always returns mv_success: if there can be no log, nothing is logged. Not to be called while
/// another thread is in the engine.
MV_API unsigned short mv_init(const wchar_t* log_folder) noexcept;

/// Sets which lines are logged: those up to `level`, where 1 is FATAL, 2 ERROR, 3 Warning, 4 Info
/// and 5 Debug. Unless `silent`, the change is announced by a line of its own, which appears
/// whatever the old level was. Without a log it does nothing. Any number is taken: above 5 is as 5;
/// 0, and what is negative as a number of 16 bits, logs nothing.
///
/// Returns mv_success. A std::exception leaves it only if the log is to turn over and cannot. May
/// be called from any thread.
MV_API unsigned short mv_set_log_level(unsigned short level, bool silent);

/// Flushes and closes the log; mv_init may open another one afterwards. The installed package
/// stays. Returns mv_success. Not to be called while another thread is in the engine.
MV_API unsigned short mv_shutdown() noexcept;

/// Verifies a script package by the RSA public key in a PEM file, and installs it in place of the
/// one before. Replace a package file by renaming, since it stays open and is read on demand.
///
/// Returns mv_success; mv_package_refused, with a line in the log, if the package cannot be
/// used; mv_failed for a null argument and for any other exception. A package that fails a check
/// leaves the earlier one in place. One that is sound and cannot be listed does not: a member name
/// that is no UTF-8 though marked so gives mv_package_refused, a payload that is no archive even
/// mv_success, and there are no scripts. No version is compared.
///
/// May be called from any thread; it waits for those that are looking up, and they wait for it, as
/// long as it takes to read the whole package.
MV_API unsigned short mv_update_scripts_package(const wchar_t* package_path,
                                                const wchar_t* key_path) noexcept;

/// Lists the scripts and throws the list away. Returns mv_success; an exception of the listing
/// passes to the caller. May be called from any thread.
MV_API unsigned short mv_experiments();

} // extern "C"
