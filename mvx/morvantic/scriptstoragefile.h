#pragma once

#include "core/text.h"
#include "morvantic/scriptstorage.h"

#include <map>
#include <string>

namespace engine {

/// The store of resources that are single files, each under a name of its own.
class CScriptStorageFile : public CScriptStorageCache {
public:
    ~CScriptStorageFile() override;

    /// Not indexed before the next update. A name that is there keeps its file.
    void add_file(const std::wstring& path, const std::wstring& name);

    // CScriptStorageCache
    void load() override;
    void update() override;
    /// Resources alone. A file that cannot be opened gives an empty stream.
    core::input_stream_ptr open_stream(EScriptFileKind kind, const std::wstring& name) override;

private:
    std::map<std::wstring, std::wstring, core::u16_less> m_files; // name to path
};

} // namespace engine
