// The smallest host worth copying: installs a package, then opens every script in it and asks for
// its sections, or writes one stored file to standard output.
//
//     minimal_host PACKAGE PUBLIC_KEY [FILE]

#include <morvantic/morvantic.h>

#include <exception>
#include <iostream>
#include <memory>
#include <string>

namespace {

/// Receives one file.
struct file_bytes : engine::CScriptArgumentCallbackOf<file_bytes> {
    std::string content;

    void set_bytes(const unsigned char* bytes, std::size_t size) override {
        if (size != 0) content.assign(reinterpret_cast<const char*>(bytes), size);
    }
};

/// Receives the values of a script. This host keeps none.
struct ignored_value : engine::CScriptArgumentCallbackOf<ignored_value> {};

/// Receives the objects and functions of a Script section, in the order of the text.
class printed_body : public engine::CScriptBody {
public:
    using CScriptBody::CScriptBody;

    void object_begin(const char* name, engine::EObjectType type,
                      engine::CScriptArguments*) override {
        std::cout << "    " << engine::CObjectValue::get_obj_name(type) << ' ' << name << '\n';
    }

    void object_property(const char*, const char*) override {}

    void object_function(engine::EFunctionType, engine::CScriptArguments*) override {}

    void object_end() override {}

    void global_function(engine::EFunctionType, engine::CScriptArguments*) override {}
};

/// A script whose Script sections go to printed_body.
class host_script : public engine::CScript {
public:
    using CScript::CScript;

protected:
    engine::CScriptArgument create_argument() override {
        return engine::CScriptArgument(&engine::CScriptArgument::delete_callback,
                                       new ignored_value);
    }

    engine::CScriptSection* add_section(const char* where, const char* name) override {
        if (get_name(name) != engine::section_script) return CScript::add_section(where, name);
        return __add_section(std::make_unique<printed_body>(where, name));
    }
};

void print_script(const wchar_t* name) {
    std::cout << engine::to_utf8(name) << '\n';
    host_script script(name);
    script.init();

    // Header and Include come first: a Script section sees the names that they declare.
    auto* header = dynamic_cast<engine::CScriptHeader*>(script.section("App", "Header"));
    auto* include = dynamic_cast<engine::CScriptInclude*>(script.section("App", "Include"));
    if (header == nullptr || include == nullptr) return;
    std::cout << "  Header and Include, with the default module " << include->python("default")
              << '\n';

    while (const char* package = header->packageNames_next()) {
        std::cout << "  for " << package << '\n';
        if (!header->accept(package, engine::platform_android)) continue;
        header->namespace_reset();
        while (const char* where = header->namespace_next()) {
            std::cout << "  " << where << '\n';
            script.section(where, "Script");
        }
    }
}

bool ends_with(const std::wstring& name, const std::wstring& ending) {
    return name.size() >= ending.size() &&
           name.compare(name.size() - ending.size(), ending.size(), ending) == 0;
}

bool fetch(const std::wstring& name, file_bytes& file) {
    using storage = engine::CScriptStorageInterface;
    const bool is_resource = name.rfind(L"Resources/", 0) == 0;
    if (is_resource) return storage::get_resource_file(name.c_str(), &file);
    if (ends_with(name, L".xq")) return storage::get_xquery_script(name.c_str(), &file);
    if (ends_with(name, L".py")) return storage::get_python_script(name.c_str(), &file);
    return storage::get_xml_config_file(name.c_str(), &file);
}

int run(int argc, char** argv) {
    if (argc < 3) {
        std::cerr << "usage: minimal_host PACKAGE PUBLIC_KEY [FILE]\n";
        return 2;
    }
    const std::wstring package = engine::to_wide(argv[1]);
    const std::wstring key = engine::to_wide(argv[2]);
    if (mv_update_scripts_package(package.c_str(), key.c_str()) != mv_success) {
        std::cerr << "the package is refused; morvantic.log says why\n";
        return 1;
    }
    if (argc == 3) {
        engine::CScriptStorageInterface storage;
        while (const wchar_t* name = storage.next())
            print_script(name);
        return 0;
    }
    file_bytes file;
    if (!fetch(engine::to_wide(argv[3]), file)) {
        std::cerr << "there is no file " << argv[3] << " in the package\n";
        return 1;
    }
    std::cout << file.content;
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    mv_init(L".");
    int result = 1;
    try {
        result = run(argc, argv);
    } catch (const std::exception& failure) {
        std::cerr << failure.what() << '\n';
    }
    mv_shutdown();
    return result;
}
