#include "fuzz/target.h"
#include "support/inflating_stream.h"
#include "support/stream_operations.h"
#include "support/zip_builder.h"

#include "core/bufferedinputstream.h"
#include "core_crypto/aes_cfb_inputstream.h"

#include <map>

// Streams on top of each other. The input chooses which, and then the operations that are held
// against the plain bytes.

namespace {

using namespace fuzz;
using core::CAESCFBInputStream;
using core::input_stream_ptr;

constexpr std::uint64_t whole = 1 << 20; // more than any content
constexpr std::uint64_t buffer_sizes[] = {1, 2, 3, 7, 16, 100, 16384};

/// What a stream in the middle makes the content of.
enum middle_kind : std::uint8_t { middle_none, middle_inflating, middle_decrypting };

struct stored_content {
    bytes plain;
    std::map<middle_kind, bytes> stored;
};

const bytes aes_key = support::counted_bytes(16);
const bytes aes_iv = support::counted_bytes(16);

/// Made once for each size.
const stored_content& content_of(std::size_t size) {
    static std::map<std::size_t, stored_content> made;
    stored_content& content = made[size];
    if (!content.stored.empty()) return content;
    content.plain = support::counted_bytes(size);
    const auto* text = reinterpret_cast<const char*>(content.plain.data());
    core::CCipher cipher(core::op_encrypt, core::mode_cfb, aes_key);
    cipher.set_iv(aes_iv);
    cipher.append(content.plain.data(), size);
    content.stored = {{middle_none, content.plain},
                      {middle_inflating, support::deflated({text, size})},
                      {middle_decrypting, cipher.finish()}};
    return content;
}

input_stream_ptr buffered(input_stream_ptr inner, std::uint64_t size) {
    return std::make_unique<core::buffered_input_stream>(std::move(inner), size);
}

} // namespace

void fuzz::take(std::span<const std::uint8_t> input) {
    choices choose(input);
    const stored_content& content = content_of(choose.of({0U, 1U, 300U, 16384U, 40000U}));
    const auto middle = choose.of({middle_none, middle_inflating, middle_decrypting});
    const std::uint64_t piece = choose.of<std::uint64_t>({1, 3, 100, whole});
    support::stream_class stack;
    // Only the inflating stream goes on asking for what a short read leaves out.
    input_stream_ptr stream = std::make_unique<support::trickle_stream>(
        content.stored.at(middle), middle == middle_inflating ? piece : whole);
    if (choose(1) != 0) stream = buffered(std::move(stream), choose.of(buffer_sizes));
    if (middle == middle_inflating) {
        stream = std::make_unique<support::ready_cloning_stream>(
            std::move(stream), core::InflaterInputStream::raw_window_bits, choose(0xFFFF));
    } else if (middle == middle_decrypting) {
        stream = std::make_unique<CAESCFBInputStream>(std::move(stream), aes_key, aes_iv, false);
    }
    stack.read_stops_at_view = middle != middle_none;
    stack.block = 1; // somewhere, a block ends
    for (std::uint64_t layers = choose(2); layers != 0; --layers) {
        stream = buffered(std::move(stream), choose.of(buffer_sizes));
        stack.read_stops_at_view = false;
    }
    support::stream_comparison compared(stack, *stream, content.plain, choose(3) == 0,
                                        [&](std::uint64_t last) { return choose(last); });
    while (!choose.rest().empty())
        compared.step();
}
