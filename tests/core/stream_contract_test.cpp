#include "support/stream_contract.h"
#include "support/temp_folder.h"

#include "core/bufferedinputstream.h"
#include "core/winapifileinputstream.h"

#include <map>

namespace support {

namespace {

core::input_stream_ptr file_stream(const bytes& content) {
    const temp_folder folder;
    folder.write("content", content);
    return std::make_unique<core::CWApiFileInputStream>(folder.wide_file("content"));
}

/// A shallow stream's buffer has to outlive it: the contents stay for the run.
core::input_stream_ptr shallow_stream(const bytes& content) {
    static std::map<std::size_t, bytes> kept;
    const bytes& lasting = kept.try_emplace(content.size(), content).first->second;
    return std::make_unique<core::CShallowByteArrayInputStream>(lasting.data(), lasting.size());
}

stream_class buffered(std::size_t size) {
    return {.name = "Buffered" + std::to_string(size),
            .make =
                [=](const bytes& content) {
                    return std::make_unique<core::buffered_input_stream>(file_stream(content),
                                                                         size);
                },
            .read_stops_at_view = false,
            .block = size};
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Core, StreamContract,
                         testing::Values(stream_class{.name = "File", .make = file_stream},
                                         stream_class{"Shallow", shallow_stream, true},
                                         stream_class{"Deep", deep_stream, true}, buffered(7),
                                         buffered(16), buffered(16384)),
                         row_name);

} // namespace support
