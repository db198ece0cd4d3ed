#pragma once

#include "core/directory.h"
#include "core/inputstream.h"
#include "morvantic/scriptstorage.h"

#include <string>

namespace engine {

/// The store over a verified package. Members begin with "Resources/" or are told by their endings;
/// the rest of the archive is not reached. The file stays open, and each stream handed out has a
/// handle of its own, so a package that was replaced or removed goes on being served.
class CScriptStoragePackage : public CScriptStorageCache {
public:
    /// Verifies the package. Throws "Failed to load package." whatever is wrong with it, logged.
    CScriptStoragePackage(const std::wstring& package_path, const std::wstring& key_path);
    ~CScriptStoragePackage() override;

    // CScriptStorageCache
    void load() override;
    void update() override;
    /// The kind is not looked at.
    core::input_stream_ptr open_stream(EScriptFileKind kind, const std::wstring& name) override;

private:
    core::input_stream_ptr m_stream; // until the first update
    core::directory_ptr m_directory; // from the first update on
};

} // namespace engine
