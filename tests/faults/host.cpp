// A host in a module of its own, which throws whatever it likes: what it needs of the engine comes
// and goes with it.

#include <morvantic/morvantic.h>

#include <memory>
#include <stdexcept>
#include <string>

using namespace engine;

namespace {

enum thrown { thrown_int, thrown_standard, thrown_nothing };

/// Where the host throws what; each call of the engine to it passes here.
struct {
    std::string where;
    thrown what = thrown_nothing;
    int passed = 0;
} fault;

void pass(const char* where) {
    if (fault.where != where) return;
    ++fault.passed;
    if (fault.what == thrown_int) throw 42;
    if (fault.what == thrown_standard) throw std::runtime_error("host fault");
}

int alive = 0; // values

struct host_value : CScriptArgumentCallbackBase {
    host_value() { ++alive; }

    ~host_value() override { --alive; }

    CScriptArgumentCallback* clone() override { return pass("clone"), new host_value; }

    void set_int(long long) override { pass("set_int"); }

    void set_bool(bool) override { pass("set_bool"); }

    void set_string(const char*) override { pass("set_string"); }

    void set_function(const char*) override { pass("set_function"); }

    void set_analyzer(const char*) override { pass("set_analyzer"); }

    void set_bytes(const unsigned char* bytes, std::size_t size) override {
        pass("set_bytes");
        content.assign(bytes, bytes + size);
    }

    void list_begin() override { pass("list_begin"); }

    void list_add(const char*) override { pass("list_add"); }

    void list_end() override { pass("list_end"); }

    void set_arguments(CScriptArguments*) override { pass("set_arguments"); }

    std::string content;
};

struct host_body : CScriptBody {
    using CScriptBody::CScriptBody;

    void object_begin(const char*, EObjectType, CScriptArguments*) override {
        pass("object_begin");
    }

    void object_property(const char*, const char*) override { pass("object_property"); }

    void object_function(EFunctionType, CScriptArguments*) override { pass("object_function"); }

    void object_end() override { pass("object_end"); }

    void global_function(EFunctionType, CScriptArguments*) override { pass("global_function"); }
};

struct host_script : CScript {
    using CScript::CScript;

    CScriptArgument create_argument() override {
        pass("create_argument");
        return CScriptArgument(&CScriptArgument::delete_callback, new host_value);
    }

    CScriptSection* add_section(const char* where, const char* name) override {
        pass("add_section");
        if (get_name(name) != section_script) return CScript::add_section(where, name);
        return __add_section(std::make_unique<host_body>(where, name)); // NOLINT
    }
};

/// Whether all that the engine has to say has come.
bool reads() {
    host_value file;
    if (!CScriptStorageInterface::get_python_script(L"a.py", &file)) return false;
    if (file.content != "content") return false;
    host_script script(CScriptStorageInterface().next());
    script.init();
    return script.section("App", "Include") != nullptr && script.section("a", "Script") != nullptr;
}

/// Whether the host gets its exception as it was, or what the engine makes of it: where a section
/// is read, it ends a std::exception.
bool gets_its_own_back() {
    try {
        return !reads() && fault.what == thrown_standard && fault.where != "set_bytes";
    } catch (int number) {
        return fault.what == thrown_int && number == 42;
    } catch (const std::runtime_error& failure) {
        return fault.where == "set_bytes" && failure.what() == std::string("host fault");
    }
}

} // namespace

/// Null if all went well, else what did not.
extern "C" __attribute__((visibility("default"))) const char*
use_engine(const wchar_t* log, const wchar_t* package, const wchar_t* key, const char* where) {
    mv_init(log);
    for (const thrown what : {thrown_int, thrown_standard}) {
        if (mv_update_scripts_package(package, key) != mv_success) return "a lock is held";
        fault = {where, what};
        if (!gets_its_own_back()) return "an exception is not as it was";
        if (fault.passed != 1) return "it goes on behind an exception";
        if (alive != 0) return "values are left over";
        fault = {where};
        if (!reads() || fault.passed == 0) return "the next time is not well";
    }
    mv_shutdown();
    return nullptr;
}
