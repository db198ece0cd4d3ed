#include "morvantic/scriptstoragefile.h"

#include "core/bufferedinputstream.h"
#include "core/winapifileinputstream.h"

namespace engine {

CScriptStorageFile::~CScriptStorageFile() = default;

void CScriptStorageFile::add_file(const std::wstring& path, const std::wstring& name) {
    m_files.try_emplace(name, path);
}

void CScriptStorageFile::load() { load_once(); }

void CScriptStorageFile::update() {
    clear_index();
    for (const auto& [name, path] : m_files)
        m_resources.insert(name);
    m_loaded = true;
}

core::input_stream_ptr CScriptStorageFile::open_stream(EScriptFileKind kind,
                                                       const std::wstring& name) {
    return opened([&]() -> core::input_stream_ptr {
        if (kind != kind_resource) return nullptr;
        const auto file = m_files.find(name);
        if (file == m_files.end()) return nullptr;
        return std::make_unique<core::buffered_input_stream>(
            std::make_unique<core::CWApiFileInputStream>(file->second));
    });
}

} // namespace engine
