#include "morvanticshared/verifiedblocks.h"

#include "core/logandrethrow.h"

#include <algorithm>
#include <openssl/crypto.h>
#include <utility>

namespace package {

void verified_blocks::add(std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const auto filled = static_cast<std::size_t>(m_size % block_size);
        if (filled == 0) m_gmac.start(m_tags.size());
        const std::size_t step = std::min(bytes.size(), block_size - filled);
        m_gmac.update(bytes.first(step));
        bytes = bytes.subspan(step);
        m_size += step;
        if (filled + step == block_size) m_tags.push_back(m_gmac.finish());
    }
}

void verified_blocks::finish() {
    if (m_size % block_size != 0) m_tags.push_back(m_gmac.finish());
}

std::size_t verified_blocks::length_of(std::uint64_t number) const noexcept {
    return static_cast<std::size_t>(
        std::min<std::uint64_t>(block_size, m_size - number * block_size));
}

bool verified_blocks::check(std::uint64_t number, std::span<const std::uint8_t> bytes) {
    const std::scoped_lock guard(m_mutex);
    const bool same = core::log_and_swallow([&] {
        if (bytes.size() != length_of(number)) return false;
        m_gmac.start(number);
        m_gmac.update(bytes);
        const core::gmac::tag found = m_gmac.finish();
        return CRYPTO_memcmp(found.data(), m_tags[number].data(), found.size()) == 0;
    });
    if (same) return true;
    ++m_refusals;
    m_refused.insert(number);
    return false;
}

std::shared_ptr<const verified_blocks::block> verified_blocks::recent(std::uint64_t number) {
    const std::scoped_lock guard(m_mutex);
    const auto found = std::find_if(m_kept.begin(), m_kept.end(), [&](const kept_block& kept) {
        return kept.bytes && kept.number == number;
    });
    return found != m_kept.end() ? found->bytes : nullptr;
}

void verified_blocks::keep(std::uint64_t number, std::shared_ptr<const block> checked) {
    const std::scoped_lock guard(m_mutex);
    m_kept[m_oldest] = {number, std::move(checked)};
    m_oldest = (m_oldest + 1) % m_kept.size();
}

bool verified_blocks::take_unreported() {
    const std::scoped_lock guard(m_mutex);
    return std::exchange(m_reported, m_refused.size()) != m_refused.size();
}

} // namespace package
