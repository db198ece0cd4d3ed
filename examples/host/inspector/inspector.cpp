// A host that goes all the way: finds the script for an app, reads the stores of the app as its
// analyzers and functions say, and prints the records and trees as one XML document.
//
//     inspector PACKAGE PUBLIC_KEY APP PLATFORM FOLDER
//
// The app's own files stand in FOLDER/app, those of shared storage in FOLDER/extra, those of the
// storage as a whole in FOLDER/raw. Ends with 0 if all is well, 1 if something is at fault in the
// input, which standard error tells, and 2 if it was called in a wrong way.

#include "../package_file.h"
#include "reader.h"

#include <fcntl.h>
#include <unistd.h>

#include <exception>
#include <filesystem>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>

namespace inspector {

namespace {

/// What the functions of Default.py ask for.
std::string answer_hook(stores& files, const std::string& hook, const value& names) {
    if (hook == "resource") {
        const auto name = names.at(0).get<std::string>();
        if (const auto file = package_file(name)) return *file;
        throw std::runtime_error("the package has no " + name);
    }
    if (hook == "app_file") {
        if (!names.at(0).is_number_integer()) throw std::runtime_error("there is no such place");
        const auto place = enum_of(names.at(0).get<long long>());
        const auto path = names.at(1).get<std::string>();
        if (const auto file = files.read(place, path)) return *file;
        throw std::runtime_error("there is no " + stores::shown(place, path));
    }
    throw std::runtime_error("this host has no keychain");
}

void inspect(const script_plan& plan, stores& files, complaints& faults) {
    python_calls python(plan.modules, [&files](const std::string& hook, const value& names) {
        return answer_hook(files, hook, names);
    });
    for (const std::string& name : plan.faulty)
        faults.add(plan.script + ": the Script section of " + name +
                   " is faulty, or not there; see morvantic.log");
    for (const section& part : plan.sections) {
        reader reading(part, files, python, faults);
        for (const analyzer& how : part.analyzers) {
            for (const source& found : reading.read(how))
                print(std::cout, found);
        }
    }
}

int run(char** words) {
    const std::wstring package = engine::to_wide(words[1]);
    const std::wstring key = engine::to_wide(words[2]);
    const std::string app = words[3];
    const std::string platform = std::string("platform.") + words[4];
    const std::filesystem::path folder = words[5];

    const auto platform_type = engine::CPlatformType::from_string(platform.c_str());
    if (platform_type == engine::platform_none) {
        std::cerr << "inspector: a platform is Android, iOS, WindowsPhone or Blackberry\n";
        return 2;
    }
    complaints faults(std::cerr);
    if (!std::filesystem::is_directory(folder)) {
        faults.add(folder.string() + " is no folder");
        return 1;
    }
    if (mv_update_scripts_package(package.c_str(), key.c_str()) != mv_success) {
        faults.add("the package is refused; \"morvantic verify\" tells why");
        return 1;
    }
    const auto plan = find_plan(app, platform_type, faults);
    if (!plan) {
        faults.add("no script is for " + app + " on " + words[4]);
        return 1;
    }
    stores files(folder, faults);
    print_begin(std::cout, app, platform);
    inspect(*plan, files, faults);
    print_end(std::cout, left_out(*plan));
    return faults.count() != 0 ? 1 : 0;
}

/// A standard descriptor that the caller has closed would go to the log or to a package. Each is
/// taken by what cannot be used in its place.
void occupy_standard_descriptors() {
    for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(number, F_GETFD) >= 0) continue;
        static_cast<void>(open("/dev/null", number == STDIN_FILENO ? O_WRONLY : O_RDONLY));
    }
}

} // namespace

} // namespace inspector

int main(int argc, char** argv) {
    inspector::occupy_standard_descriptors();
    if (argc != 6) {
        std::cerr << "usage: inspector PACKAGE PUBLIC_KEY APP PLATFORM FOLDER\n"
                     "A platform is Android, iOS, WindowsPhone or Blackberry.\n";
        return 2;
    }
    mv_init(L".");
    int result = 1;
    try {
        result = inspector::run(argv);
    } catch (const std::exception& failure) {
        std::cerr << "inspector: " << inspector::printable(failure.what()) << '\n';
    }
    if (!std::cout.flush()) {
        std::cerr << "inspector: standard output cannot be written\n";
        result = 1;
    }
    mv_shutdown();
    return result;
}
