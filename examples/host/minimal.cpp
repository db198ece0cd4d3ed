// The smallest host worth copying: prints what each script of a package is for, or one stored file.
//
//     minimal_host PACKAGE PUBLIC_KEY [FILE]

#include "../recorder/recorder.h"
#include "package_file.h"

#include <exception>
#include <iostream>
#include <map>
#include <string>

namespace {

const auto any_platform = engine::platform_android | engine::platform_ios |
                          engine::platform_windows_phone | engine::platform_blackberry;

void print_objects(const recorder::recording_body& body) {
    for (const recorder::call& made : body.calls()) {
        if (made.kind != recorder::call_object_begin) continue;
        const char* type = engine::CObjectValue::get_obj_name(made.object_type);
        std::cout << "    " << type << ' ' << made.name << '\n';
    }
}

/// False if the Header or a Script section cannot be read, or is not there; Include may be missing.
/// The log tells which, and what is wrong.
bool print_script(const wchar_t* name) {
    std::cout << engine::to_utf8(name) << '\n';
    recorder::recording_script script(name);
    script.init();

    // Header and Include come first: a Script section sees the names that they declare.
    auto* header = dynamic_cast<engine::CScriptHeader*>(script.section("App", "Header"));
    if (header == nullptr) return false;
    script.section("App", "Include");
    bool is_whole = true;
    // Each is asked for once, since only the first answer tells of faults.
    std::map<std::string, recorder::recording_body*> bodies;
    while (const char* app = header->packageNames_next()) {
        std::cout << "  for " << app << '\n';
        if (!header->accept(app, any_platform)) continue;
        header->namespace_reset(); // accept leaves the walk where it stood
        while (const char* where = header->namespace_next()) {
            std::cout << "   " << where << '\n';
            const auto [body, is_new] = bodies.try_emplace(where, nullptr);
            if (is_new) {
                body->second =
                    dynamic_cast<recorder::recording_body*>(script.section(where, "Script"));
            }
            if (body->second != nullptr) print_objects(*body->second);
            is_whole = is_whole && body->second != nullptr;
        }
    }
    return is_whole;
}

int run(int argc, char** argv) {
    if (argc != 3 && argc != 4) {
        std::cerr << "usage: minimal_host PACKAGE PUBLIC_KEY [FILE]\n";
        return 2;
    }
    const std::wstring package = engine::to_wide(argv[1]);
    const std::wstring key = engine::to_wide(argv[2]);
    if (mv_update_scripts_package(package.c_str(), key.c_str()) != mv_success) {
        std::cerr << "the package is refused; \"morvantic verify\" tells why\n";
        return 1;
    }
    if (argc == 4) {
        const auto file = package_file(argv[3]);
        std::cout << file.value_or("");
        if (!file) std::cerr << "there is no file " << argv[3] << " in the package\n";
        return file ? 0 : 1;
    }
    engine::CScriptStorageInterface storage;
    bool all_whole = true;
    while (const wchar_t* name = storage.next()) {
        if (print_script(name)) continue;
        all_whole = false;
        std::cerr << engine::to_utf8(name) << " cannot be read in full; see morvantic.log\n";
    }
    return all_whole ? 0 : 1;
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
    return std::cout.flush() ? result : 1;
}
