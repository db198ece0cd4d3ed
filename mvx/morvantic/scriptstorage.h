#pragma once

#include "core/debug.h"
#include "core/inputstream.h"
#include "core/text.h"

#include <atomic>
#include <concepts>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace engine {

/// What a caller asks storage for.
enum EScriptFileKind : std::int32_t {
    kind_script = 0,     // ".sc"
    kind_xquery = 1,     // ".xq"
    kind_python = 2,     // ".py"
    kind_xml_config = 3, // ".xml"
    kind_resource = 4,
};

/// A store's index of names, and what opens them. A name is the whole name as the store's directory
/// gives it; names differ by case. Content is never kept: each request opens a fresh stream.
///
/// Locked by CScriptStorage, with one exception: a store whose first load failed is loaded again by
/// whoever lists it, under the shared lock, so loading has a lock of its own.
class CScriptStorageCache {
public:
    CScriptStorageCache(const CScriptStorageCache&) = delete;
    CScriptStorageCache& operator=(const CScriptStorageCache&) = delete;
    virtual ~CScriptStorageCache();

    /// Builds the index unless it stands.
    virtual void load() = 0;

    /// Drops the index and builds it again.
    virtual void update() = 0;

    /// Opens one stored file; empty if it cannot be opened.
    virtual core::input_stream_ptr open_stream(EScriptFileKind kind, const std::wstring& name) = 0;

    void clear_index();

    /// Whether the name is in any of the sets. Loads nothing.
    bool has_name(const std::wstring& name) const;

    /// The names of the scripts. Loads the index if need be.
    core::name_set script_names();

protected:
    CScriptStorageCache() = default;

    /// What load() of every store does.
    void load_once();

    /// What open_stream() of every store does with a failure: a line in the log of the store's own
    /// module, and nothing to read.
    template <std::invocable Open>
    static core::input_stream_ptr opened(Open&& open,
                                         core::source_place place = core::source_place::here()) {
        try {
            return std::invoke(std::forward<Open>(open));
        } catch (const std::exception& failure) {
            const char* text = failure.what();
            core::error_logger{place} << "File not found: " << text;
            return nullptr;
        }
    }

    /// Puts a name into the set that its ending selects; a name with no such ending is left out.
    void index_by_ending(std::wstring name);

    std::atomic<bool> m_loaded{false};
    core::name_set m_scripts;
    core::name_set m_xquery;
    core::name_set m_python;
    core::name_set m_xml;
    core::name_set m_resources;

private:
    std::mutex m_load_mutex;
};

/// Where every named file of the process comes from: one package, one folder, one set of single
/// files, each of them or none. All operations but find_store lock: readers share, a replacement
/// waits for them and they for it. The streams handed out need no lock.
class CScriptStorage {
public:
    constexpr CScriptStorage() noexcept = default;
    CScriptStorage(const CScriptStorage&) = delete;
    CScriptStorage& operator=(const CScriptStorage&) = delete;

    static CScriptStorage& instance() noexcept;

    /// Whether folder or package have the name.
    bool contains(const std::wstring& name);

    /// The first store that has the name, or null: folder, single files, package. Does not lock.
    CScriptStorageCache* find_store(const std::wstring& name) const;

    /// Opens a name in the first store that has it under any kind. There is no falling through to
    /// the next store if that one refuses the kind. Empty if nobody has it.
    core::input_stream_ptr open(EScriptFileKind kind, const std::wstring& name);
    core::input_stream_ptr open_script(const std::wstring& name);
    core::input_stream_ptr open_xquery(const std::wstring& name);
    core::input_stream_ptr open_python(const std::wstring& name);
    core::input_stream_ptr open_xml_config(const std::wstring& name);
    core::input_stream_ptr open_resource(const std::wstring& name);

    /// The scripts of folder and package, each name once.
    core::name_set script_names();

    /// Installs the folder unless there is one; false if there is. A folder stays for good.
    bool add_folder(const std::wstring& path);

    /// Registers a file on disk as a resource under a name of its own. A name that is there keeps
    /// its file. Always true.
    bool add_file(const std::wstring& path, const std::wstring& name);

    /// Installs a package unless there is one; false if there is. Throws what the package throws.
    bool add_package(const std::wstring& package_path, const std::wstring& key_path);

    /// Replaces the package. A std::exception is logged and gives false; one that arises before the
    /// new package is verified leaves the old one serving.
    bool update_package(const std::wstring& package_path, const std::wstring& key_path);

private:
    friend struct storage_test_seam; // tests put stores of their own in

    // Destroyed from the last to the first.
    std::unique_ptr<CScriptStorageCache> m_package;
    std::unique_ptr<CScriptStorageCache> m_folder;
    std::unique_ptr<CScriptStorageCache> m_file;
};

} // namespace engine
