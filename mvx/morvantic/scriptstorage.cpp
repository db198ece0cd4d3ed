#include "morvantic/scriptstorage.h"

#include "core/logandrethrow.h"
#include "core/platform.h"
#include "morvantic/scriptstoragefile.h"
#include "morvantic/scriptstoragefolder.h"
#include "morvantic/scriptstoragepackage.h"

#include <shared_mutex>
#include <utility>

namespace engine {

namespace {

// Constant-initialised, so that a host's own static constructor may call in.
constinit core::reader_writer_lock storage_lock;
constinit CScriptStorage storage;

using shared_guard = std::shared_lock<core::reader_writer_lock>;
using exclusive_guard = std::unique_lock<core::reader_writer_lock>;

} // namespace

CScriptStorageCache::~CScriptStorageCache() = default;

void CScriptStorageCache::clear_index() {
    m_loaded = false;
    for (core::name_set* names : {&m_scripts, &m_xquery, &m_python, &m_xml, &m_resources}) {
        names->clear();
    }
}

bool CScriptStorageCache::has_name(const std::wstring& name) const {
    if (!m_loaded) return false;
    return m_scripts.contains(name) || m_xquery.contains(name) || m_python.contains(name) ||
           m_xml.contains(name) || m_resources.contains(name);
}

core::name_set CScriptStorageCache::script_names() {
    if (!m_loaded) load();
    // Without an index another reader may be at work on the set; it has no names to give yet.
    return m_loaded ? m_scripts : core::name_set();
}

void CScriptStorageCache::load_once() {
    const std::scoped_lock guard(m_load_mutex);
    if (!m_loaded) update();
}

void CScriptStorageCache::index_by_ending(std::wstring name) {
    const std::pair<std::wstring_view, core::name_set*> endings[] = {
        {L".sc", &m_scripts}, {L".xq", &m_xquery}, {L".py", &m_python}, {L".xml", &m_xml}};
    for (const auto& [ending, names] : endings) {
        if (!name.ends_with(ending)) continue;
        names->insert(names->end(), std::move(name)); // they mostly come in order
        return;
    }
}

CScriptStorage& CScriptStorage::instance() noexcept { return storage; }

bool CScriptStorage::contains(const std::wstring& name) {
    const shared_guard guard(storage_lock);
    return (m_folder && m_folder->has_name(name)) || (m_package && m_package->has_name(name));
}

CScriptStorageCache* CScriptStorage::find_store(const std::wstring& name) const {
    for (const auto* store : {&m_folder, &m_file, &m_package}) {
        if (*store && (*store)->has_name(name)) return store->get();
    }
    return nullptr;
}

core::input_stream_ptr CScriptStorage::open(EScriptFileKind kind, const std::wstring& name) {
    const shared_guard guard(storage_lock);
    CScriptStorageCache* store = find_store(name);
    return store == nullptr ? nullptr : store->open_stream(kind, name);
}

core::input_stream_ptr CScriptStorage::open_script(const std::wstring& name) {
    return open(kind_script, name);
}

core::input_stream_ptr CScriptStorage::open_xquery(const std::wstring& name) {
    return open(kind_xquery, name);
}

core::input_stream_ptr CScriptStorage::open_python(const std::wstring& name) {
    return open(kind_python, name);
}

core::input_stream_ptr CScriptStorage::open_xml_config(const std::wstring& name) {
    return open(kind_xml_config, name);
}

core::input_stream_ptr CScriptStorage::open_resource(const std::wstring& name) {
    return open(kind_resource, name);
}

core::name_set CScriptStorage::script_names() {
    const shared_guard guard(storage_lock);
    core::name_set names;
    if (m_folder) names.merge(m_folder->script_names());
    if (m_package) names.merge(m_package->script_names());
    return names;
}

bool CScriptStorage::add_folder(const std::wstring& path) {
    const exclusive_guard guard(storage_lock);
    if (m_folder) return false;
    m_folder = std::make_unique<CScriptStorageFolder>(path);
    m_folder->load();
    return true;
}

bool CScriptStorage::add_file(const std::wstring& path, const std::wstring& name) {
    const exclusive_guard guard(storage_lock);
    if (m_file) {
        if (auto* files = dynamic_cast<CScriptStorageFile*>(m_file.get())) {
            files->add_file(path, name);
        } else {
            core::assertion("resourceFile != nullptr");
        }
        m_file->update();
        return true;
    }
    auto files = std::make_unique<CScriptStorageFile>();
    files->add_file(path, name);
    m_file = std::move(files);
    m_file->load();
    return true;
}

bool CScriptStorage::add_package(const std::wstring& package_path, const std::wstring& key_path) {
    const exclusive_guard guard(storage_lock);
    if (m_package) return false;
    m_package = std::make_unique<CScriptStoragePackage>(package_path, key_path);
    m_package->load();
    return true;
}

bool CScriptStorage::update_package(const std::wstring& package_path,
                                    const std::wstring& key_path) {
    return core::log_and_swallow([&] {
        const exclusive_guard guard(storage_lock);
        // Verified before the old store is let go of; indexed only afterwards.
        m_package = std::make_unique<CScriptStoragePackage>(package_path, key_path);
        m_package->load();
        return true;
    });
}

} // namespace engine
