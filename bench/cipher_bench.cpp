// Reading a file of AES-256 cipher text in CFB mode, in order and at random places, beside
// libcrypto's own decryption in the same blocks over the same file. Run with
//
//     cipher_bench --benchmark_repetitions=9 --benchmark_enable_random_interleaving=true

#include "support/temp_folder.h"
#include "support/test_streams.h"

#include "core/winapifileinputstream.h"
#include "core_crypto/aes_cfb_inputstream.h"
#include "core_crypto/cryptohandles.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <random>
#include <stdexcept>
#include <unistd.h>
#include <vector>

namespace {

using bytes = std::vector<std::uint8_t>;

constexpr std::size_t block = core::CAESCFBInputStream::buffer_size;
constexpr std::size_t cipher_block = 16;
constexpr std::size_t file_size = 64 << 20;
constexpr std::size_t piece = 4096; // of a random read

const bytes key(32, 7);
const bytes iv(cipher_block, 9);

void require(bool done) {
    if (!done) throw std::runtime_error("A step of the benchmark failed.");
}

/// The cipher text of so many counted bytes.
class encrypted_file {
public:
    encrypted_file() {
        core::CBaseCipher cipher(core::op_encrypt, core::mode_cfb, key);
        bytes content = support::counted_bytes(file_size);
        require(cipher.set_iv(iv));
        require(cipher.update_into(content.data(), content.size(), content.data(),
                                   content.size()) == static_cast<int>(file_size));
        m_folder.write("encrypted", content);
    }

    std::wstring wide_path() const { return m_folder.wide_file("encrypted"); }

    int open() const { return ::open(m_folder.file("encrypted").c_str(), O_RDONLY | O_CLOEXEC); }

private:
    support::temp_folder m_folder;
};

const encrypted_file& file() {
    static const encrypted_file made;
    return made;
}

std::unique_ptr<core::input_stream> engine_stream() {
    return std::make_unique<core::CAESCFBInputStream>(
        std::make_unique<core::CWApiFileInputStream>(file().wide_path()), key, iv, false);
}

/// libcrypto as any user would call it: a context made anew for each place to begin at.
class plain_reader {
public:
    plain_reader() : m_number(file().open()) {}

    plain_reader(const plain_reader&) = delete;
    plain_reader& operator=(const plain_reader&) = delete;

    ~plain_reader() { ::close(m_number); }

    void begin_at(std::size_t place) {
        bytes start = iv;
        m_position = place - place % cipher_block;
        if (m_position != 0) {
            m_position -= cipher_block;
            require(read(start.data(), cipher_block) == cipher_block);
        }
        m_context.reset(EVP_CIPHER_CTX_new());
        require(EVP_DecryptInit_ex(m_context.get(), EVP_aes_256_cfb128(), nullptr, key.data(),
                                   start.data()) == 1);
    }

    /// The next block in clear; 0 at the end.
    std::size_t next(bytes& clear) {
        const std::size_t got = read(m_input.data(), block);
        int count = 0;
        require(EVP_DecryptUpdate(m_context.get(), clear.data(), &count, m_input.data(),
                                  static_cast<int>(got)) == 1);
        return got;
    }

private:
    std::size_t read(std::uint8_t* target, std::size_t count) {
        const ssize_t got = ::pread(m_number, target, count, static_cast<off_t>(m_position));
        require(got >= 0);
        m_position += static_cast<std::size_t>(got);
        return static_cast<std::size_t>(got);
    }

    int m_number;
    std::size_t m_position = 0;
    core::cipher_context m_context;
    bytes m_input = bytes(block);
};

void in_order_engine(benchmark::State& state) {
    bytes clear(block);
    for (auto _ : state) {
        const core::input_stream_ptr stream = engine_stream();
        std::uint64_t total = 0;
        while (const std::uint64_t got = stream->read_impl(clear.data(), clear.size()))
            total += got;
        require(total == file_size && clear.back() == (file_size - 1) % 251);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(file_size));
}

void in_order_libcrypto(benchmark::State& state) {
    bytes clear(block);
    plain_reader reader;
    for (auto _ : state) {
        reader.begin_at(0);
        std::size_t total = 0;
        while (const std::size_t got = reader.next(clear))
            total += got;
        require(total == file_size && clear.back() == (file_size - 1) % 251);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(file_size));
}

/// A place to read from, the same row of them for each reader.
class places {
public:
    std::size_t next() { return m_random() % (file_size - piece); }

private:
    std::mt19937 m_random{1};
};

void at_random_engine(benchmark::State& state) {
    bytes clear(piece);
    const core::input_stream_ptr stream = engine_stream();
    places row;
    for (auto _ : state) {
        const std::size_t place = row.next();
        require(stream->set_pos(place) && stream->read_impl(clear.data(), piece) == piece);
        require(clear.front() == place % 251);
    }
    state.SetItemsProcessed(state.iterations());
}

void at_random_libcrypto(benchmark::State& state) {
    bytes clear(block);
    plain_reader reader;
    places row;
    for (auto _ : state) {
        const std::size_t place = row.next();
        reader.begin_at(place);
        require(reader.next(clear) != 0);
        require(clear[place % cipher_block] == place % 251);
    }
    state.SetItemsProcessed(state.iterations());
}

BENCHMARK(in_order_engine)->Unit(benchmark::kMillisecond);
BENCHMARK(in_order_libcrypto)->Unit(benchmark::kMillisecond);
BENCHMARK(at_random_engine)->Unit(benchmark::kMicrosecond);
BENCHMARK(at_random_libcrypto)->Unit(benchmark::kMicrosecond);

} // namespace
