#include "support/stream_contract.h"
#include "support/temp_folder.h"

#include "core/bufferedinputstream.h"
#include "core/winapifileinputstream.h"

#include <map>

namespace support {

namespace {

const temp_folder& files() {
    static const temp_folder folder;
    return folder;
}

core::input_stream_ptr file_stream(const bytes& content) {
    static int number = 0;
    const std::string name = std::to_string(number++);
    files().write(name, content);
    return std::make_unique<core::CWApiFileInputStream>(files().wide_file(name));
}

core::input_stream_ptr buffered_file(const bytes& content, std::size_t buffer_size) {
    return std::make_unique<core::buffered_input_stream>(file_stream(content), buffer_size);
}

/// A shallow stream's buffer has to outlive it: the contents stay for the run.
core::input_stream_ptr shallow_stream(const bytes& content) {
    static std::map<std::size_t, bytes> kept;
    const bytes& lasting = kept.try_emplace(content.size(), content).first->second;
    return std::make_unique<core::CShallowByteArrayInputStream>(lasting.data(), lasting.size());
}

stream_class in_memory(std::string name, std::function<core::input_stream_ptr(const bytes&)> make) {
    stream_class row{std::move(name), std::move(make)};
    row.seeks_to_end = false;
    row.failed_read_stays = true;
    row.short_words = "Out of range.";
    return row;
}

stream_class buffered(std::size_t size) {
    stream_class row{"Buffered" + std::to_string(size),
                     [=](const bytes& content) { return buffered_file(content, size); }};
    row.read_stops_at_view = false;
    row.block = size;
    return row;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Core, StreamContract,
                         testing::Values(stream_class{"File", file_stream},
                                         in_memory("Shallow", shallow_stream),
                                         in_memory("Deep", deep_stream), buffered(7), buffered(16),
                                         buffered(16384)),
                         row_name);

} // namespace support
