#include "fuzz/target.h"

#include <cstdio>
#include <cstdlib>

// What a fuzzing engine calls, by names of its own choice.

namespace fuzz {

namespace {

std::uint64_t inputs_taken = 0;
std::uint64_t inputs_out_of_fuel = 0;
bool ran_out_of_fuel = false; // the input that is being taken

void print_counts() {
    std::fprintf(stderr, "out of fuel: %llu of %llu inputs\n",
                 static_cast<unsigned long long>(inputs_out_of_fuel),
                 static_cast<unsigned long long>(inputs_taken));
}

} // namespace

void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

void note_out_of_fuel() noexcept { ran_out_of_fuel = true; }

bytes read_all(core::input_stream& stream, std::size_t piece) {
    const std::uint64_t coming = stream.remaining();
    bytes content;
    bytes buffer(piece);
    while (const std::uint64_t got = stream.read_impl(buffer.data(), buffer.size())) {
        require(got <= piece && got <= coming - content.size(), "no stream has more than its size");
        const auto end = buffer.begin() + static_cast<std::ptrdiff_t>(got);
        content.insert(content.end(), buffer.begin(), end);
    }
    return content;
}

std::uint64_t choices::operator()(std::uint64_t last) {
    std::uint64_t number = 0;
    for (std::uint64_t room = last; room != 0; room >>= 8) {
        if (m_rest.empty()) break;
        number = number << 8 | m_rest.front();
        m_rest = m_rest.subspan(1);
    }
    return number % (last + 1);
}

} // namespace fuzz

extern "C" {

int LLVMFuzzerInitialize(int* /*count*/, char*** /*arguments*/) {
    return std::atexit(fuzz::print_counts);
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::ran_out_of_fuel = false;
    fuzz::fenced([&] { fuzz::take({data, size}); });
    ++fuzz::inputs_taken;
    if (fuzz::ran_out_of_fuel) ++fuzz::inputs_out_of_fuel;
    return 0;
}

// The sanitizers ask for these. A length that no data stand behind must fail at once, as it does
// where nothing is sanitized.

const char* __asan_default_options() {
    return "allocator_may_return_null=1:max_allocation_size_mb=32:malloc_context_size=8";
}

const char* __ubsan_default_options() { return "print_stacktrace=1"; }

const char* __lsan_default_options() {
    return "print_suppressions=0:suppressions=" LEAK_SUPPRESSIONS;
}
}
