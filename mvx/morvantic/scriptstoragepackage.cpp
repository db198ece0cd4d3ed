#include "morvantic/scriptstoragepackage.h"

#include "core/logandrethrow.h"
#include "core/winapifileinputstream.h"
#include "core_compress/zipstreamdirectory.h"
#include "morvanticshared/packageinputstream.h"

#include <utility>

namespace engine {

CScriptStoragePackage::CScriptStoragePackage(const std::wstring& package_path,
                                             const std::wstring& key_path) {
    core::log_and_rethrow([&] {
        m_stream = std::make_unique<package::CPackageInputStream>(
            std::make_unique<core::CWApiFileInputStream>(package_path), key_path);
        if (m_stream->size() == 0) throw core::exception("Failed to load package.");
    });
}

CScriptStoragePackage::~CScriptStoragePackage() = default;

void CScriptStoragePackage::load() { load_once(); }

void CScriptStoragePackage::update() {
    clear_index();
    if (m_stream) {
        m_stream->reset();
        m_directory = std::make_unique<core::CZipStreamDirectory>(std::move(m_stream));
    } else if (!m_directory) {
        core::assertion("false");
        return;
    }
    for (core::const_iterator entry = m_directory->search(true); entry; ++entry) {
        const core::file_info_ptr member = *entry;
        if (!member) continue;
        std::wstring name = member->path();
        if (name.starts_with(L"Resources/")) {
            m_resources.insert(m_resources.end(), std::move(name));
        } else {
            index_by_ending(std::move(name));
        }
    }
    m_loaded = true;
}

core::input_stream_ptr CScriptStoragePackage::open_stream(EScriptFileKind /*kind*/,
                                                          const std::wstring& name) {
    return opened([&]() -> core::input_stream_ptr {
        return m_directory ? m_directory->open(name) : nullptr;
    });
}

} // namespace engine
