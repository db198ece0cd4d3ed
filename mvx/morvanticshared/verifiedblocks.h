#pragma once

#include "core/inputstream.h"
#include "core_crypto/gmac.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <span>
#include <vector>

namespace package {

/// What the verification of a package leaves for those who read it later: a tag for each block of
/// the payload as stored, by which a block that changed since then is told. Made in one pass and
/// shared from then on by a stream and its clones. The second half may be used by any thread.
class verified_blocks {
public:
    static constexpr std::size_t block_size = 16384; // bytes; the last block may be shorter

    using block = std::vector<std::uint8_t>;

    /// Throws if libcrypto has no random key.
    verified_blocks() = default;

    // While the payload is verified

    /// The next bytes of the payload, in pieces of any size.
    void add(std::span<const std::uint8_t> bytes);

    /// There are no more.
    void finish();

    // From then on

    /// Bytes of payload.
    std::uint64_t size() const noexcept { return m_size; }

    std::size_t length_of(std::uint64_t number) const noexcept;

    /// Whether these are the bytes of that block. False is noted as a refusal.
    bool check(std::uint64_t number, std::span<const std::uint8_t> bytes);

    /// A block that was checked not long ago, or null.
    std::shared_ptr<const block> recent(std::uint64_t number);

    /// Keeps a block that has been checked, in place of the one that was kept longest.
    void keep(std::uint64_t number, std::shared_ptr<const block> checked);

    /// How often a block was refused.
    std::uint64_t refusals() const noexcept { return m_refusals; }

    /// Whether blocks have been refused that nobody has reported on, which the caller now does.
    bool take_unreported();

private:
    struct kept_block {
        std::uint64_t number = 0;
        std::shared_ptr<const block> bytes;
    };

    std::mutex m_mutex;
    core::gmac m_gmac;
    std::vector<core::gmac::tag> m_tags;
    std::uint64_t m_size = 0;
    std::array<kept_block, 8> m_kept;
    std::size_t m_oldest = 0; // of the kept blocks
    std::set<std::uint64_t> m_refused;
    std::size_t m_reported = 0; // of the refused blocks
    std::atomic<std::uint64_t> m_refusals = 0;
};

} // namespace package
