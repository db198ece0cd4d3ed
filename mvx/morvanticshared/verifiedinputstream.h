#pragma once

#include "core/inputstream.h"
#include "morvanticshared/verifiedblocks.h"

#include <cstdint>
#include <memory>
#include <span>

namespace package {

/// A package's payload as stored, of which only those blocks are handed on that are still what was
/// verified. A block that changed, or is no longer there in full, ends every read in front of it,
/// and is noted with the blocks. One thread at a time.
class verified_input_stream : public core::input_stream {
public:
    /// Takes the stream that was verified, with the payload for its view.
    verified_input_stream(core::input_stream_ptr stored, std::shared_ptr<verified_blocks> blocks);
    ~verified_input_stream() override;

    // core::input_stream
    core::input_stream_ptr clone() const override;
    bool is_seekable() const override;
    std::uint64_t read_impl(std::uint8_t* buffer, std::uint64_t count) override;
    std::uint64_t size_impl() const override;
    std::uint64_t pos_impl() const override;
    void reset_impl() override;
    bool set_pos_impl(std::uint64_t position) override;

protected:
    /// Without the stored stream.
    verified_input_stream(const verified_input_stream& source);

private:
    std::uint64_t read_blocks(std::uint8_t* buffer, std::uint64_t count);
    std::uint64_t read_from_block(std::uint8_t* buffer, std::uint64_t count);
    std::shared_ptr<const verified_blocks::block> load(std::uint64_t number);
    std::size_t read_stored(std::uint64_t position, std::span<std::uint8_t> target);

    core::input_stream_ptr m_stored;
    std::shared_ptr<verified_blocks> m_blocks;
    std::shared_ptr<const verified_blocks::block> m_current; // null, or the block m_number
    std::uint64_t m_number = 0;
    std::uint64_t m_position = 0;
};

} // namespace package
