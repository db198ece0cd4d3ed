#include "rows.h"

#include "data.h"
#include "support/memory_store.h"
#include "zip_peers.h"

#include "core_compress/zipstreamdirectory.h"
#include "morvantic/morvantic.h"

#include <malloc.h>

// Listing archives, and installing packages, which is verifying and listing.

namespace bench {

namespace {

void list_by_engine(const std::string& path, proof* found) {
    const core::CZipStreamDirectory archive(open_file(path));
    for (core::const_iterator entry = archive.search(true); entry; ++entry) {
        const std::wstring name = (*entry)->path();
        if (found != nullptr) found->add(core::encode_lossy(name));
    }
}

void list_by_libzip(const std::string& path, proof* found) { libzip_archive(path).list(found); }

/// Lists an archive with so many members; `a_unit` of them are one unit.
template <class List>
std::function<work()> listed(std::size_t members, List list, double a_unit = 1000) {
    return [members, list, a_unit] {
        return work{static_cast<double>(members) / a_unit,
                    [path = data::archive(members), list](proof* found) { list(path, found); }};
    };
}

row listing(const char* name, std::size_t members) {
    const auto minizip = [](const std::string& path, proof* found) {
        walk_by_minizip(path, false, found);
    };
    const auto libarchive = [](const std::string& path, proof* found) {
        walk_by_libarchive(path, false, found);
    };
    return {name,
            "1k members",
            {{"engine", listed(members, list_by_engine)},
             {"libzip", listed(members, list_by_libzip), 1.6},
             {"minizip", listed(members, minizip)},
             {"libarchive", listed(members, libarchive)}},
            members > 1000 ? 10.0 : 0.0};
}

/// Forgets the installed package at the end.
struct installation {
    installation() = default;
    installation(const installation&) = delete;
    installation& operator=(const installation&) = delete;

    ~installation() { engine::storage_test_seam::package().reset(); }
};

work installed_by_engine(std::size_t members) {
    return {static_cast<double>(members) / 1000,
            [package = core::decode_path(data::packaged(data::archive(members))),
             key = core::decode_path(data::public_key()),
             guard = std::make_shared<installation>()](proof* found) {
                require(mv_update_scripts_package(package.c_str(), key.c_str()) == mv_success,
                        "the engine refuses a package");
                if (found == nullptr) return;
                for (const std::wstring& name : engine::CScriptStorage::instance().script_names())
                    found->add(core::encode_lossy(name));
            }};
}

row installing(const char* name, std::size_t members) {
    const auto engine = [members] { return installed_by_engine(members); };
    const auto floor = [members] {
        return work{static_cast<double>(members) / 1000,
                    [package = data::packaged(data::archive(members)), key = data::public_key(),
                     archive = data::archive(members)](proof* found) {
                        verify_barely(package, key);
                        list_by_libzip(archive, found);
                    }};
    };
    return {name, "1k members", {{"engine", engine}, {"digest + libzip", floor}}};
}

// Growth

constexpr std::size_t few = 1000;
constexpr std::size_t many = 100'000;

double heap_in_use() {
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
}

work heap_of_listing(std::size_t members) {
    return {static_cast<double>(members), nullptr, [path = data::archive(members)] {
                const double before = heap_in_use();
                const core::CZipStreamDirectory archive(open_file(path));
                return heap_in_use() - before;
            }};
}

row listing_growth() {
    return {"growth_list",
            "member",
            {{"of 100k", listed(many, list_by_engine, 1)},
             {"of 1k", listed(few, list_by_engine, 1), most_growth}},
            0,
            0,
            false};
}

row memory_growth() {
    return {"growth_memory",
            "member",
            {{"of 100k", [] { return heap_of_listing(many); }},
             {"of 1k", [] { return heap_of_listing(few); }, most_growth}}};
}

} // namespace

std::vector<row> listing_rows() {
    return {listing("list_100", 100),
            listing("list_10k", 10'000),
            listing("list_100k", many),
            installing("install_10k", 10'000),
            installing("install_100k", many),
            listing_growth(),
            memory_growth()};
}

} // namespace bench
