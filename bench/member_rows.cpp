#include "rows.h"

#include "data.h"
#include "zip_peers.h"

#include "core_compress/zipstreamdirectory.h"

// Reading members of archives that are open already: many small ones, single ones of several
// sizes, and places in a large one.

namespace bench {

namespace {

using directory_ptr = std::shared_ptr<core::CZipStreamDirectory>;

/// The archive in a verified package, every block of which is checked once more as it is read.
directory_ptr opened(const std::string& path) {
    return std::make_shared<core::CZipStreamDirectory>(open_package(data::packaged(path)));
}

/// Reads members one after the other, by their names.
work members_by_engine(const std::string& path, const std::vector<std::string>& names,
                       double units) {
    std::vector<std::wstring> wide;
    for (const std::string& name : names)
        wide.push_back(core::decode_path(name));
    return {units, [archive = opened(path), wide, content = bytes()](proof* found) mutable {
                for (const std::wstring& name : wide) {
                    const core::input_stream_ptr stream = archive->open(name);
                    content.resize(stream->size());
                    require(stream->read_impl(content.data(), content.size()) == content.size(),
                            "the engine cannot read a member");
                    if (found != nullptr) found->add(core::encode_lossy(name), content);
                }
            }};
}

work members_by_libzip(const std::string& path, const std::vector<std::string>& names,
                       double units) {
    return {units, [archive = std::make_shared<libzip_archive>(path), names,
                    content = bytes()](proof* found) mutable {
                for (const std::string& name : names) {
                    archive->read(name, content);
                    if (found != nullptr) found->add(name, content);
                }
            }};
}

row all_members() {
    constexpr std::size_t count = 10'000;
    constexpr double units = count;
    const auto by_name = [](auto read) {
        return [read] {
            std::vector<std::string> names;
            for (std::size_t i = 0; i != count; ++i)
                names.push_back(data::member_name(i));
            return read(data::archive(count), names, units);
        };
    };
    const auto in_order = [](auto walk) {
        return [walk] {
            return work{units, [path = data::archive(count), walk](proof* found) {
                            walk(path, true, found);
                        }};
        };
    };
    return {"read_all_10k",
            "member",
            {{"engine", by_name(members_by_engine)},
             {"libzip", by_name(members_by_libzip), 1.01},
             {"minizip", in_order(walk_by_minizip)},
             {"libarchive", in_order(walk_by_libarchive)}},
            6};
}

bytes packed_member(const std::string& member) {
    bytes packed;
    libzip_archive(data::sized_members()).read(member, packed, true);
    return packed;
}

/// One member, in units of which it has so many.
row one_member(const char* row_name, const char* unit, const std::string& member, double units,
               double libzip_aim) {
    return {row_name,
            unit,
            {{"engine", [=] { return members_by_engine(data::sized_members(), {member}, units); }},
             {"libzip", [=] { return members_by_libzip(data::sized_members(), {member}, units); },
              libzip_aim}}};
}

row deflated_member(const char* row_name, const std::string& member, std::size_t size,
                    double libzip_aim, double zlib_aim) {
    const auto zlib = [=] {
        return work{1, [packed = packed_member(member), member,
                        content = bytes(size)](proof* found) mutable {
                        inflate_whole(packed, content);
                        if (found != nullptr) found->add(member, content);
                    }};
    };
    row made = one_member(row_name, "member", member, 1, libzip_aim);
    made.subjects.push_back({"zlib in memory", zlib, zlib_aim});
    return made;
}

// Places in a large member

constexpr std::size_t places_in_a_run = 32;

/// `read` takes a place and a piece to fill.
work reading_places(const std::function<void(std::size_t, bytes&)>& read) {
    return {static_cast<double>(places_in_a_run),
            [read, row = data::places(places_in_a_run),
             content = bytes(data::piece)](proof* found) mutable {
                for (const std::size_t place : row) {
                    read(place, content);
                    if (found != nullptr) found->add("", content);
                }
            }};
}

work places_by_engine() {
    const std::shared_ptr<core::input_stream> stream = opened(data::sized_members())->open(L"64m");
    return reading_places([stream](std::size_t place, bytes& content) {
        require(stream->set_pos(place) &&
                    stream->read_impl(content.data(), content.size()) == content.size(),
                "the engine cannot read a place");
    });
}

work places_by_zlib() {
    const auto packed = std::make_shared<bytes>(packed_member("64m"));
    return reading_places(
        [packed, restarts = restarts_of(*packed, data::large_size, data::mebibyte)](
            std::size_t place, bytes& content) { inflate_at(*packed, restarts, place, content); });
}

} // namespace

std::vector<row> member_rows() {
    return {all_members(),
            deflated_member("member_32k", "32k", 32 << 10, 1.1, 0),
            deflated_member("member_256k", "256k", 256 << 10, 1.1, 0),
            deflated_member("member_1m", "1m", data::mebibyte, 1.1, 0),
            deflated_member("member_4m", "4m", 4 * data::mebibyte, 1.1, 0),
            deflated_member("member_64m", "64m", data::large_size, 0, 2.5),
            {"random_64m",
             "4 KiB",
             {{"engine", places_by_engine}, {"zlib restarts", places_by_zlib, 1.1}}},
            one_member("stored_64m", "MiB", "stored", 64, 0.70)};
}

} // namespace bench
