#pragma once

#include "harness.h"

#include <memory>

struct zip;

namespace bench {

/// An archive opened by libzip.
class libzip_archive {
public:
    explicit libzip_archive(const std::string& path);

    void list(proof* found) const;

    /// The whole of a member, found by its name; its deflate stream as it is stored if `packed`.
    void read(const std::string& name, bytes& content, bool packed = false) const;

private:
    struct discard {
        void operator()(zip* archive) const noexcept;
    };

    std::unique_ptr<zip, discard> m_archive;
};

// Each opens an archive and goes through its members in their order: minizip finds a name by
// going through all records, libarchive goes through a file once.
void walk_by_minizip(const std::string& path, bool with_contents, proof* found);
void walk_by_libarchive(const std::string& path, bool with_contents, proof* found);

// zlib alone

/// Inflates a bare deflate stream by one call.
void inflate_whole(const bytes& packed, bytes& content);

/// A place in a deflate stream at which inflation can begin.
struct restart {
    std::size_t out = 0;
    std::size_t in = 0;
    int bits = 0; // of the byte before `in` that are still to come
    bytes window{};
};

/// The start, and the first end of a block behind each `span` bytes.
std::vector<restart> restarts_of(const bytes& packed, std::size_t size, std::size_t span);

void inflate_at(const bytes& packed, const std::vector<restart>& restarts, std::size_t place,
                bytes& target);

} // namespace bench
