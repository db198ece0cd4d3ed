#include "morvantic/scriptstoragefolder.h"

#include "core/bufferedinputstream.h"
#include "core/fsdirectory.h"

namespace engine {

namespace {

/// The directory cuts names out of paths by the length of its own.
std::wstring without_separator(std::wstring path) {
    while (path.size() > 1 && path.back() == L'/')
        path.pop_back();
    return path;
}

} // namespace

CScriptStorageFolder::CScriptStorageFolder(const std::wstring& path)
    : m_directory(std::make_unique<core::CFsDirectory>(without_separator(path))) {}

CScriptStorageFolder::~CScriptStorageFolder() = default;

void CScriptStorageFolder::load() { load_once(); }

void CScriptStorageFolder::update() {
    clear_index();
    for (core::const_iterator entry = m_directory->search(false); entry; ++entry) {
        const core::file_info_ptr file = *entry;
        if (file) {
            index_by_ending(file->path());
        } else {
            core::assertion("false");
        }
    }
    m_loaded = true;
}

core::input_stream_ptr CScriptStorageFolder::open_stream(EScriptFileKind kind,
                                                         const std::wstring& name) {
    return opened([&]() -> core::input_stream_ptr {
        if (kind == kind_resource) return nullptr;
        return std::make_unique<core::buffered_input_stream>(m_directory->open(name));
    });
}

} // namespace engine
