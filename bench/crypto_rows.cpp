// libcrypto's older functions for RSA keys are the ones that the engine loads keys with.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "rows.h"

#include "data.h"

#include "core_crypto/aes_cfb_inputstream.h"
#include "core_crypto/cryptohandles.h"
#include "morvanticshared/packageinputstream.h"

#include <algorithm>
#include <fcntl.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <unistd.h>

// Verifying packages, beside one pass of the digest over the file and one RSA operation; and
// reading cipher text of AES-256 in CFB mode, beside libcrypto's own decryption in the same blocks.

namespace bench {

namespace {

constexpr std::size_t block = 16384;

/// A file as any user would read it.
class plain_file {
public:
    explicit plain_file(const std::string& path)
        : m_number(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
        require(m_number >= 0, "cannot open a file");
    }

    plain_file(const plain_file&) = delete;
    plain_file& operator=(const plain_file&) = delete;

    ~plain_file() { ::close(m_number); }

    /// 0 at the end.
    std::size_t read(std::uint8_t* target, std::size_t count, std::size_t place) const {
        const ssize_t got = ::pread(m_number, target, count, static_cast<off_t>(place));
        require(got >= 0, "cannot read a file");
        return static_cast<std::size_t>(got);
    }

private:
    int m_number;
};

// Verification

core::key_handle load_key(const std::string& path) {
    const core::bio_handle file(BIO_new_file(path.c_str(), "rbe"));
    core::handle<RSA, RSA_free> rsa(PEM_read_bio_RSA_PUBKEY(file.get(), nullptr, nullptr, nullptr));
    core::key_handle key(EVP_PKEY_new());
    require(rsa && EVP_PKEY_assign(key.get(), EVP_PKEY_RSA, rsa.get()) == 1, "no public key");
    static_cast<void>(rsa.release());
    return key;
}

row verifying(const char* name, std::string (*package)(), double aim, double most_calls = 0) {
    const auto engine = [package] {
        return work{1, [path = package()](proof*) { open_package(path); }};
    };
    const auto floor = [package] {
        return work{
            1, [path = package(), key = data::public_key()](proof*) { verify_barely(path, key); }};
    };
    return {name, "package", {{"engine", engine}, {"bare digest", floor, aim}}, most_calls};
}

// Decryption

/// Takes a target, a count and a place, and gives how many bytes came.
using source = std::function<std::size_t(std::uint8_t*, std::size_t, std::size_t)>;

source from_file() {
    return [file = std::make_shared<plain_file>(data::cipher_text())](
               std::uint8_t* target, std::size_t count, std::size_t place) {
        return file->read(target, count, place);
    };
}

source from_memory() {
    bytes content(data::large_size);
    plain_file(data::cipher_text()).read(content.data(), content.size(), 0);
    return
        [content = std::move(content)](std::uint8_t* target, std::size_t count, std::size_t place) {
            const std::size_t got = std::min(count, content.size() - place);
            std::copy_n(content.data() + place, got, target);
            return got;
        };
}

/// libcrypto as any user would call it: a context made anew for each place to begin at.
class plain_decryption {
public:
    explicit plain_decryption(source from) : m_read(std::move(from)) {}

    void begin_at(std::size_t place) {
        bytes iv = data::cipher_iv();
        m_place = place - place % iv.size();
        if (m_place != 0) m_read(iv.data(), iv.size(), m_place - iv.size());
        m_context.reset(EVP_CIPHER_CTX_new());
        require(EVP_DecryptInit_ex(m_context.get(), EVP_aes_256_cfb128(), nullptr,
                                   data::cipher_key().data(), iv.data()) == 1,
                "libcrypto cannot begin");
    }

    /// The next block in clear; 0 at the end.
    std::size_t next(bytes& clear) {
        const std::size_t got = m_read(m_input.data(), block, m_place);
        int count = 0;
        require(EVP_DecryptUpdate(m_context.get(), clear.data(), &count, m_input.data(),
                                  static_cast<int>(got)) == 1,
                "libcrypto cannot decrypt");
        m_place += got;
        return got;
    }

private:
    source m_read;
    std::size_t m_place = 0;
    core::cipher_context m_context;
    bytes m_input = bytes(block);
};

std::unique_ptr<core::input_stream> decrypting_stream() {
    return std::make_unique<core::CAESCFBInputStream>(open_file(data::cipher_text()),
                                                      data::cipher_key(), data::cipher_iv(), false);
}

work in_order_by_engine() {
    return {64, [clear = bytes(block)](proof* found) mutable {
                const core::input_stream_ptr stream = decrypting_stream();
                while (stream->read_impl(clear.data(), clear.size()) != 0)
                    if (found != nullptr) found->add("", clear);
            }};
}

work in_order_plainly(source from) {
    return {64, [reader = std::make_shared<plain_decryption>(std::move(from)),
                 clear = bytes(block)](proof* found) mutable {
                reader->begin_at(0);
                while (reader->next(clear) != 0)
                    if (found != nullptr) found->add("", clear);
            }};
}

constexpr std::size_t places_in_a_run = 256;

work at_random_by_engine() {
    return {static_cast<double>(places_in_a_run),
            [stream = std::shared_ptr<core::input_stream>(decrypting_stream()),
             row = data::places(places_in_a_run),
             clear = bytes(data::piece)](proof* found) mutable {
                for (const std::size_t place : row) {
                    require(stream->set_pos(place) &&
                                stream->read_impl(clear.data(), clear.size()) == clear.size(),
                            "the engine cannot read a place");
                    if (found != nullptr) found->add("", clear);
                }
            }};
}

work at_random_plainly() {
    return {static_cast<double>(places_in_a_run),
            [reader = std::make_shared<plain_decryption>(from_file()),
             row = data::places(places_in_a_run), clear = bytes(block)](proof* found) mutable {
                for (const std::size_t place : row) {
                    reader->begin_at(place);
                    reader->next(clear);
                    if (found != nullptr) found->add("", {clear.data() + place % 16, data::piece});
                }
            }};
}

} // namespace

void verify_barely(const std::string& package, const std::string& key_path) {
    constexpr std::size_t header_size = 1024;
    constexpr std::size_t stamp_offset = 14;
    constexpr std::size_t stamp_length = 13;
    constexpr std::size_t signature_offset = 48;

    const plain_file file(package);
    bytes header(header_size);
    require(file.read(header.data(), header.size(), 0) == header_size, "no package");
    const core::key_handle key = load_key(key_path);
    const core::digest_context context(EVP_MD_CTX_new());
    EVP_DigestVerifyInit(context.get(), nullptr, EVP_sha512(), nullptr, key.get());
    bytes buffer(block);
    std::size_t place = header_size;
    while (const std::size_t got = file.read(buffer.data(), buffer.size(), place)) {
        EVP_DigestVerifyUpdate(context.get(), buffer.data(), got);
        place += got;
    }
    EVP_DigestVerifyUpdate(context.get(), header.data() + stamp_offset, stamp_length);
    const auto length = static_cast<std::size_t>(EVP_PKEY_get_size(key.get()));
    require(EVP_DigestVerifyFinal(context.get(), header.data() + signature_offset, length) == 1,
            "a package does not verify");
}

std::unique_ptr<core::input_stream> open_package(const std::string& path) {
    auto stream = std::make_unique<package::CPackageInputStream>(
        open_file(path), core::decode_path(data::public_key()));
    require(stream->size() != 0, "the engine refuses a package");
    return stream;
}

std::vector<row> crypto_rows() {
    return {verifying("verify_clear", data::large_package, 1.08, 5000),
            verifying("verify_aes", data::large_encrypted_package, 0),
            verifying("verify_small", data::small_package, 1.3),
            {"aes_sequence",
             "MiB",
             {{"engine", in_order_by_engine},
              {"libcrypto", [] { return in_order_plainly(from_file()); }, 0.35},
              {"libcrypto mem", [] { return in_order_plainly(from_memory()); }}}},
            {"aes_seek",
             "4 KiB",
             {{"engine", at_random_by_engine}, {"libcrypto", at_random_plainly, 0.35}}}};
}

} // namespace bench
