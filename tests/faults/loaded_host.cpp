// A host in a module of its own: what it needs of the engine comes and goes with it.

#include <morvantic/morvantic.h>

#include <string>

namespace {

struct received : engine::CScriptArgumentCallbackOf<received> {
    void set_bytes(const unsigned char* bytes, std::size_t size) override {
        content.assign(reinterpret_cast<const char*>(bytes), size);
    }

    std::string content;
};

} // namespace

/// Whether all went well.
extern "C" __attribute__((visibility("default"))) bool
use_engine(const wchar_t* log, const wchar_t* package, const wchar_t* key) {
    mv_init(log);
    bool sound = mv_update_scripts_package(package, key) == mv_success;
    try {
        engine::CScriptStorageInterface storage;
        engine::CScript script(storage.next());
        script.init();
        received file;
        sound = sound && engine::CScriptStorageInterface::get_python_script(L"a.py", &file) &&
                file.content == "content";
        engine::CScript missing(L"missing.sc");
        sound = false;
    } catch (const std::exception& failure) {
        sound = sound && std::string(failure.what()) == "Script not found.";
    }
    mv_shutdown();
    return sound;
}
