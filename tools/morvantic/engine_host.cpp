#include "engine_host.h"

#include "failure.h"

#include "core/debug.h"

#include <morvantic/morvantic.h>

namespace tool {

namespace {

/// Passes on the bytes of a file.
class bytes_callback : public engine::CScriptArgumentCallbackBase {
public:
    explicit bytes_callback(const byte_sink& sink) : m_sink(sink) {}

    engine::CScriptArgumentCallback* clone() override { return nullptr; }

    void set_bytes(const unsigned char* bytes, std::size_t size) override { m_sink({bytes, size}); }

private:
    const byte_sink& m_sink;
};

using get_operation = bool (*)(const wchar_t*, engine::CScriptArgumentCallback*);

/// Null for scripts, and for what no host can ask for.
get_operation operation_for(file_kind kind) {
    using storage = engine::CScriptStorageInterface;
    switch (kind) {
    case file_xquery:
        return storage::get_xquery_script;
    case file_python:
        return storage::get_python_script;
    case file_xml:
        return storage::get_xml_config_file;
    case file_resource:
        return storage::get_resource_file;
    default:
        return nullptr;
    }
}

} // namespace

engine_host::engine_host(const input_file& package, const std::string& key_path) {
    const std::wstring key = core::decode_path(key_path);
    if (mv_update_scripts_package(package.wide_path().c_str(), key.c_str()) != mv_success) {
        fail_input(package.name() + ": The engine refuses the package.");
    }
    engine::CScriptStorageInterface storage;
    while (const wchar_t* name = storage.next())
        m_script_names.insert(name);
}

void engine_host::read(const package_view& view, const member& entry, const byte_sink& sink) const {
    try {
        if (entry.kind == file_script) {
            const engine::CScript script(entry.name.c_str());
            view.read(entry, sink);
            return;
        }
        const get_operation get = operation_for(entry.kind);
        bytes_callback callback(sink);
        if (get != nullptr && get(entry.name.c_str(), &callback)) return;
    } catch (const core::exception&) {
        // The same as a refusal.
    }
    fail_input(entry.text_name() + ": The engine does not serve this file.");
}

} // namespace tool
