#pragma once

#include "morvantic/export.h"
#include "morvantic/scriptargument.h"

namespace engine {

struct CScriptStorageInterfaceImpl;

/// The host's view of the script storage: an object walks the names of the scripts as they were
/// when it was made, and static operations fetch the files that scripts name.
///
/// @code
/// engine::CScriptStorageInterface storage;
/// while (const wchar_t* name = storage.next()) names.emplace_back(name);
/// @endcode
///
/// An object belongs to one thread at a time. The static operations may be called from any thread,
/// also while a package is being replaced; what they throw on a damaged store is for the caller.
class MV_API CScriptStorageInterface {
public:
    /// Takes a snapshot of the names. Throws a std::exception, "Failed to allocate memory.", and
    /// what the listing throws; all are logged.
    CScriptStorageInterface();

    CScriptStorageInterface(const CScriptStorageInterface&) = delete;

    /// Shares the other's snapshot and cursor without counting: the own snapshot is never freed,
    /// and only one of the two objects may be destroyed. Better make a second object.
    CScriptStorageInterface& operator=(const CScriptStorageInterface& other);

    ~CScriptStorageInterface();

    /// The next name, ordered by 16-bit units, or null after the last one. It lives until the next
    /// update or the end of the object.
    const wchar_t* next();

    /// Restarts the walk.
    void reset();

    /// Takes a new snapshot. The walk goes on at the same count of names; call reset to start over.
    /// Throws what the listing throws.
    void update();

    /// Hands the whole content of a stored file to CScriptArgumentCallback::set_bytes, once, and
    /// returns true. False, without a call, if `callback` is null, there is no such file, or it
    /// cannot be opened. A file whose reading breaks off arrives with zeros at its end. The
    /// callback stays the caller's. Throws std::logic_error if the name is null, and what reading
    /// or the callback throws. Compressed data that break off are waited for without end.
    ///
    /// A package delivers any of its files by each of the four operations.
    static bool get_python_script(const wchar_t* name, CScriptArgumentCallback* callback);

    /// As get_python_script, for resource files.
    static bool get_resource_file(const wchar_t* name, CScriptArgumentCallback* callback);

    /// As get_python_script, for XML configuration files.
    static bool get_xml_config_file(const wchar_t* name, CScriptArgumentCallback* callback);

    /// As get_python_script, for XQuery files.
    static bool get_xquery_script(const wchar_t* name, CScriptArgumentCallback* callback);

private:
    CScriptStorageInterfaceImpl* impl = nullptr;
};

} // namespace engine
