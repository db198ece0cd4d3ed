#include "fuzz/members.h"
#include "support/memory_store.h"
#include "support/package_builder.h"

#include "core_compress/zipstreamdirectory.h"
#include "morvantic/scriptstoragepackage.h"
#include "morvanticshared/packageinputstream.h"

#include <algorithm>
#include <optional>

// A package that is signed and then changed in one byte: the first bytes of the input choose which,
// the rest is the payload. It is served only if nothing that counts has changed, and then the
// engine's storage gives what the archive in it holds.

namespace {

using namespace fuzz;

constexpr std::size_t choice_bytes = 3;

/// Whether a package with another value of the byte at this place is still good.
bool may_differ(const bytes& file, std::size_t place) {
    constexpr std::size_t version = 28, encryption = 40, length = 44, trailer = 48 + 160;
    if (place < encryption) return place >= version;
    if (place >= length) return place >= trailer && place < package::MVE_PACKAGE_HEADER_SIZE;
    const core::CShallowByteArrayInputStream type(file.data() + encryption, 4);
    return package::key_size_of(type.clone()->read_uint32(core::encoding_little_endian))
        .has_value();
}

std::map<std::wstring, bytes> read_archive(core::input_stream_ptr payload) {
    const std::uint64_t enough = 2000 + 4 * payload->size();
    const auto fuel = std::make_shared<std::uint64_t>(100 * enough);
    const core::CZipStreamDirectory archive(
        std::make_unique<metered_stream>(std::move(payload), fuel));
    require(*fuel != 0, "a listing comes to its end");
    return read_members(archive, fuel, enough);
}

/// The package as a file, beside the members that come to an end.
void check_storage(const bytes& file, const std::map<std::wstring, bytes>& members) {
    static const support::temp_folder folder;
    folder.write("apps.pkg", file);
    engine::CScriptStorage& storage = engine::CScriptStorage::instance();
    const auto& keys = support::test_keys::signing();
    require(storage.update_package(folder.wide_file("apps.pkg"), keys.wide_public_path()),
            "the storage takes a good package");
    for (const auto& [name, content] : members) {
        const core::input_stream_ptr opened = storage.open_resource(name);
        require(opened != nullptr || !storage.contains(name), "what is listed is served");
        require(!opened || opened->read_bytes(content.size() + 1) == content, "as it is");
        require(storage.script_names().contains(name) ==
                    (name.ends_with(L".sc") && !name.starts_with(L"Resources/")),
                "scripts are told by their endings");
    }
    engine::storage_test_seam::package().reset();
}

} // namespace

void fuzz::take(std::span<const std::uint8_t> input) {
    if (input.size() <= choice_bytes) return;
    choices choose(input);
    const std::size_t place = choose(0xFFFF) % 4096;
    const auto change = static_cast<std::uint8_t>(choose(0xFF));
    support::package_builder package;
    package.payload.assign(choose.rest().begin(), choose.rest().end());
    bytes file = package.build();
    const bool is_changed = place < file.size() && change != 0;
    if (is_changed) file[place] ^= change;
    const bool is_good = !is_changed || may_differ(file, place);

    auto stream = std::make_unique<package::CPackageInputStream>(
        support::deep_stream(file), support::test_keys::signing().wide_public_path());
    require(stream->size() == (is_good ? package.payload.size() : 0), "good packages alone");
    if (!is_good) return;
    const bool is_clear = !is_changed || place < 40 || place >= 44;
    require(!is_clear || read_all(*stream->clone(), 1000) == package.payload, "the payload");
    try {
        check_storage(file, read_archive(std::move(stream)));
    } catch (const std::range_error&) { // a name that says it is UTF-8, and is not
    }
}
