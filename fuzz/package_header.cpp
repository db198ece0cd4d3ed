#include "fuzz/target.h"

#include "morvanticshared/packageheader.h"

#include <algorithm>
#include <optional>
#include <tuple>

// The header of a package. What the reader takes, the writer writes so that it is read as the same,
// or says why it cannot.

namespace {

using namespace fuzz;
using package::CHeader;

/// What a clone has too.
auto copied_fields(const CHeader& header) {
    return std::tuple(header.stamp_text(), header.aux_value(), header.encryption_type(),
                      header.signature(), header.trailer_text());
}

auto all_fields(const CHeader& header) {
    const package::package_version version = header.version_parts();
    return std::tuple(copied_fields(header), header.kind(), version.version_part_1,
                      version.version_part_2, version.version_part_3, version.version_part_4,
                      header.package_key(), header.package_iv());
}

/// Checks the answer, which must not depend on what stands in front.
std::unique_ptr<CHeader> read(const bytes& block) {
    package::package_fault fault{};
    auto header = package::read_header(*support::deep_stream(block), fault);
    require((header != nullptr) == (fault == package::fault_none), "a refusal has a reason");
    bytes moved = support::to_bytes("before");
    support::append(moved, block);
    const auto stream = support::deep_stream(moved);
    stream->set_pos(moved.size() - block.size());
    stream->mark_begin();
    const auto again = package::read_header(*stream);
    require((again != nullptr) == (header != nullptr) &&
                (!header || all_fields(*again) == all_fields(*header)),
            "a header is the same wherever it stands");
    return header;
}

std::optional<bytes> written(const CHeader& header) {
    try {
        return header_block(header);
    } catch (const core::exception&) {
        return {};
    }
}

} // namespace

void fuzz::take(std::span<const std::uint8_t> input) {
    bytes block(input.begin(), input.end());
    block.resize(std::max(block.size(), package::MVE_PACKAGE_HEADER_SIZE));
    const auto header = read(block);
    if (!header) return;
    require(copied_fields(*header->clone()) == copied_fields(*header), "a clone is the same");
    require(header->to_bytes().size() == package::MVE_PACKAGE_HEADER_SIZE, "headers have one size");
    const std::optional<bytes> canonical = written(*header);
    if (!canonical) return;
    const auto same = read(*canonical);
    require(same && all_fields(*same) == all_fields(*header), "what was written reads the same");
    require(written(*same) == canonical, "and is written the same");
}
