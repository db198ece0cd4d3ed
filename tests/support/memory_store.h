#pragma once

#include "support/test_streams.h"

#include "morvantic/scriptstorage.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace engine {

/// The one way past the storage's own rules of how a store comes to be.
struct storage_test_seam {
    using slot = std::unique_ptr<CScriptStorageCache>;

    static slot& package() { return CScriptStorage::instance().m_package; }

    static slot& folder() { return CScriptStorage::instance().m_folder; }

    static slot& file() { return CScriptStorage::instance().m_file; }
};

} // namespace engine

namespace support {

/// A store whose files are texts in memory, indexed by their endings.
class memory_store : public engine::CScriptStorageCache {
public:
    using texts = std::map<std::wstring, std::string>;

    explicit memory_store(texts content) : files(std::move(content)) {}

    void load() override { load_once(); }

    void update() override {
        clear_index();
        ++updates;
        if (fails) throw core::exception("no index");
        for (const auto& [name, text] : files)
            index_by_ending(name);
        m_loaded = true;
    }

    core::input_stream_ptr open_stream(engine::EScriptFileKind kind,
                                       const std::wstring& name) override {
        last_kind = kind;
        return kind == refused ? nullptr : open(files.at(name));
    }

    texts files;
    std::function<core::input_stream_ptr(const std::string& text)> open =
        [](const std::string& text) { return deep_stream(to_bytes(text)); };
    engine::EScriptFileKind refused = static_cast<engine::EScriptFileKind>(-1);
    engine::EScriptFileKind last_kind = refused;
    int updates = 0;
    bool fails = false;
};

/// Loads a store of texts and puts it into one of the storage's places.
inline memory_store& put_store(engine::storage_test_seam::slot& slot, memory_store::texts files) {
    auto store = std::make_unique<memory_store>(std::move(files));
    store->load();
    memory_store& put_in = *store;
    slot = std::move(store);
    return put_in;
}

/// Texts that the storage serves in place of a package for as long as this lives.
class installed_scripts {
public:
    explicit installed_scripts(memory_store::texts files)
        : store(put_store(engine::storage_test_seam::package(), std::move(files))) {}

    installed_scripts(const installed_scripts&) = delete;
    installed_scripts& operator=(const installed_scripts&) = delete;

    ~installed_scripts() { engine::storage_test_seam::package().reset(); }

    memory_store& store;
};

} // namespace support
