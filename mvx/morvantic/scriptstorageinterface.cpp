#include "morvantic/scriptstorageinterface.h"

#include "core/inputstream.h"
#include "core/logandrethrow.h"
#include "morvantic/scriptstorage.h"
#include "morvantic/scriptstorageinterfaceimpl.h"

#include <cstdint>
#include <string>
#include <vector>

namespace engine {

namespace {

using open_operation = core::input_stream_ptr (CScriptStorage::*)(const std::wstring& name);

/// Gives the callback the whole file. The storage is locked while the file is opened, not while it
/// is read or the host is called.
bool fetch(const wchar_t* name, CScriptArgumentCallback* callback, open_operation open) {
    const std::wstring file_name(name); // a null name throws, whatever the callback
    if (callback == nullptr) return false;
    const core::input_stream_ptr stream = (CScriptStorage::instance().*open)(file_name);
    if (!stream) return false;

    std::vector<std::uint8_t> content(stream->size());
    const std::uint64_t bytes_read = stream->read_impl(content.data(), content.size());
    // A short file goes to the host all the same, with zeros at its end.
    if (bytes_read != content.size()) core::assertion("readed == scriptCache.size()");
    callback->set_bytes(content.data(), content.size());
    return true;
}

} // namespace

void CScriptStorageInterfaceImpl::take_snapshot() {
    const core::name_set names = CScriptStorage::instance().script_names();
    m_names.assign(names.begin(), names.end());
}

CScriptStorageInterface::CScriptStorageInterface()
    : impl(core::log_and_rethrow([] {
               return core::make_impl<CScriptStorageInterfaceImpl>();
           }).release()) {}

// Shallow: both objects hold the one implementation, and the own one is dropped.
CScriptStorageInterface&
CScriptStorageInterface::operator=(const CScriptStorageInterface& other) = default;

CScriptStorageInterface::~CScriptStorageInterface() { delete impl; }

const wchar_t* CScriptStorageInterface::next() {
    if (impl->m_index >= impl->m_names.size()) return nullptr;
    return impl->m_names[impl->m_index++].c_str();
}

void CScriptStorageInterface::reset() { impl->m_index = 0; }

void CScriptStorageInterface::update() { impl->take_snapshot(); }

bool CScriptStorageInterface::get_python_script(const wchar_t* name,
                                                CScriptArgumentCallback* callback) {
    return fetch(name, callback, &CScriptStorage::open_python);
}

bool CScriptStorageInterface::get_resource_file(const wchar_t* name,
                                                CScriptArgumentCallback* callback) {
    return fetch(name, callback, &CScriptStorage::open_resource);
}

bool CScriptStorageInterface::get_xml_config_file(const wchar_t* name,
                                                  CScriptArgumentCallback* callback) {
    return fetch(name, callback, &CScriptStorage::open_xml_config);
}

bool CScriptStorageInterface::get_xquery_script(const wchar_t* name,
                                                CScriptArgumentCallback* callback) {
    return fetch(name, callback, &CScriptStorage::open_xquery);
}

} // namespace engine
