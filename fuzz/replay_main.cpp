#include "support/temp_folder.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <set>

// Gives a target the inputs of a corpus, for builds without a fuzzing engine:
//
//     fuzz_zip fuzz/corpus/zip FILE ...
//
// The name that is printed last is that of the input which fails.

extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using std::filesystem::path;

/// The file itself, or all files below the folder.
void add_files(const path& place, std::set<path>& files) {
    if (!is_directory(place)) {
        files.insert(place);
        return;
    }
    for (const auto& entry : std::filesystem::recursive_directory_iterator(place)) {
        if (entry.is_regular_file()) files.insert(entry.path());
    }
}

} // namespace

int main(int count, char** arguments) {
    LLVMFuzzerInitialize(&count, &arguments);
    std::set<path> files;
    for (int i = 1; i < count; ++i)
        add_files(arguments[i], files);
    for (const path& file : files) {
        std::cerr << file.string() << '\n';
        const std::string input = support::read_file(file);
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
    }
    return files.empty() ? EXIT_FAILURE : EXIT_SUCCESS;
}
