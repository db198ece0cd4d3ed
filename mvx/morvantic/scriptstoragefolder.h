#pragma once

#include "core/directory.h"
#include "morvantic/scriptstorage.h"

#include <string>

namespace engine {

/// The store over the files of one folder, without its subfolders. It holds no resources.
class CScriptStorageFolder : public CScriptStorageCache {
public:
    /// The folder need not exist, and is empty then.
    explicit CScriptStorageFolder(const std::wstring& path);
    ~CScriptStorageFolder() override;

    // CScriptStorageCache
    void load() override;
    void update() override;
    /// The kind is not looked at, but that there are no resources. A file that is no longer there
    /// gives an empty stream.
    core::input_stream_ptr open_stream(EScriptFileKind kind, const std::wstring& name) override;

private:
    core::directory_ptr m_directory;
};

} // namespace engine
