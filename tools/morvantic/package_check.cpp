#include "package_check.h"

#include "digest.h"
#include "engine_host.h"
#include "failure.h"
#include "package_view.h"
#include "progress.h"
#include "scratch_package.h"

#include "core/text.h"

#include <numeric>

namespace tool {

namespace {

[[noreturn]] void fail_check(const std::string& reason) {
    fail_input("The package came out wrong and is thrown away: " + reason + ".");
}

void check_file(const packed_file& file, const package_view& view, const engine_host& engine) {
    const member* entry = view.find(file.name);
    const std::string name = core::encode_lossy(file.name);
    if (entry == nullptr) fail_check(name + " is missing");
    std::string defect;
    const auto stored =
        digest_of_read([&](const byte_sink& sink) { defect = view.defect(*entry, sink); });
    if (!defect.empty()) fail_check(name + ": " + defect);
    if (stored != file.digest) fail_check(name + " has another content");
    if (entry->kind == file_unreached) return;
    const auto served =
        digest_of_read([&](const byte_sink& sink) { engine.read(view, *entry, sink); });
    if (served != file.digest) fail_check("the engine delivers other bytes for " + name);
}

} // namespace

void check_written_package(const std::string& path, const EVP_PKEY* key,
                           const std::vector<packed_file>& packed) {
    const memory_file public_key = public_half(key);
    const input_file package_input(path);
    const input_file key_input(public_key.path());
    const package_view view = open_verified(package_input, key_input);
    const engine_host engine(package_input, key_input.path());

    if (view.members().size() != packed.size()) fail_check("it holds another number of files");
    progress bar("Checking", std::accumulate(packed.begin(), packed.end(), std::uint64_t{0},
                                             [](std::uint64_t sum, const packed_file& file) {
                                                 return sum + file.size;
                                             }));
    core::name_set scripts;
    for (const packed_file& file : packed) {
        check_file(file, view, engine);
        if (kind_of(file.name) == file_script) scripts.insert(file.name);
        bar.advance(file.size);
    }
    if (scripts != engine.script_names()) fail_check("the engine lists other scripts");
}

} // namespace tool
