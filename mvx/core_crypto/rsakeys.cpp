#include "core_crypto/rsakeys.h"

#include "core/debug.h"
#include "core/text.h"
#include "core_crypto/hashcommon.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>
#include <optional>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace core {

namespace {

constexpr std::array<unsigned, 3> offered_key_lengths = {2048, 3072, 4096};

constexpr mode_t owner_only = 0600;
constexpr mode_t for_everyone = 0644;

[[noreturn]] void fail(const std::wstring& path, const std::string& reason) {
    throw exception(encode_lossy(path) + ": " + reason);
}

[[noreturn]] void fail_with_error_number(const std::wstring& path, int number) {
    fail(path, std::generic_category().message(number != 0 ? number : EIO));
}

std::string encoded(const std::wstring& path) {
    std::optional<std::string> bytes = encode_path(path);
    if (!bytes) fail_with_error_number(path, EILSEQ);
    return *std::move(bytes);
}

/// A file that was not there before, and is gone again unless it is kept.
class new_file {
public:
    new_file(const std::wstring& path, mode_t mode)
        : m_path(path), m_encoded(encoded(path)),
          m_descriptor(open(m_encoded.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode)) {
        if (m_descriptor < 0) fail_with_error_number(path, errno);
    }

    new_file(const new_file&) = delete;
    new_file& operator=(const new_file&) = delete;

    ~new_file() {
        if (m_descriptor >= 0) ::close(m_descriptor);
        if (!m_kept) unlink(m_encoded.c_str());
    }

    /// Runs a function of libcrypto that writes PEM.
    template <class Write>
    void write(Write&& write_pem) {
        errno = 0;
        const bio_handle bio(BIO_new_fd(m_descriptor, BIO_NOCLOSE));
        if (!bio || write_pem(bio.get()) != 1) fail_with_error_number(m_path, errno);
    }

    /// Brings the bytes to the disk.
    void finish() {
        const bool synced = fsync(m_descriptor) == 0 || errno == EINVAL; // not every file can
        const int error = errno;
        const bool closed = ::close(m_descriptor) == 0;
        m_descriptor = -1;
        if (!synced) fail_with_error_number(m_path, error);
        if (!closed) fail_with_error_number(m_path, errno);
    }

    void keep() noexcept { m_kept = true; }

private:
    std::wstring m_path;
    std::string m_encoded;
    int m_descriptor;
    bool m_kept = false;
};

bio_handle open_key_file(const std::wstring& path) {
    const std::string bytes = encoded(path);
    errno = 0;
    bio_handle file(BIO_new_file(bytes.c_str(), "rbe"));
    if (!file) fail_with_error_number(path, errno);
    return file;
}

bool is_rsa(const EVP_PKEY* key) { return key != nullptr && EVP_PKEY_is_a(key, "RSA") == 1; }

std::string hex_bytes(const std::vector<std::uint8_t>& bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        if (!text.empty()) text += ':';
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

} // namespace

bool is_offered_key_length(unsigned bits) noexcept {
    return std::find(offered_key_lengths.begin(), offered_key_lengths.end(), bits) !=
           offered_key_lengths.end();
}

key_handle generate_rsa_key(unsigned bits) {
    if (!is_offered_key_length(bits)) throw exception("A key has 2048, 3072 or 4096 bits.");
    const error_queue_guard guard;
    key_handle key(EVP_RSA_gen(bits));
    if (!key) throw exception("The key could not be made.");
    return key;
}

void save_key_pair(const EVP_PKEY* key, const std::wstring& private_path,
                   const std::wstring& public_path) {
    const error_queue_guard guard;
    new_file private_file(private_path, owner_only);
    new_file public_file(public_path, for_everyone);
    private_file.write([&](BIO* bio) {
        return PEM_write_bio_PrivateKey(bio, key, nullptr, nullptr, 0, nullptr, nullptr);
    });
    public_file.write([&](BIO* bio) { return PEM_write_bio_PUBKEY(bio, key); });
    private_file.finish();
    public_file.finish();
    private_file.keep();
    public_file.keep();
}

key_handle load_private_key(const std::wstring& path) {
    const error_queue_guard guard;
    const bio_handle file = open_key_file(path);
    bool passphrase_wanted = false;
    key_handle key(
        PEM_read_bio_PrivateKey(file.get(), nullptr, refuse_password, &passphrase_wanted));
    if (passphrase_wanted) fail(path, "The private key is protected by a passphrase.");
    if (!is_rsa(key.get())) fail(path, "This is not an RSA private key in PEM form.");
    return key;
}

key_handle load_public_key(const std::wstring& path) {
    const error_queue_guard guard;
    const bio_handle file = open_key_file(path);
    key_handle key(PEM_read_bio_PUBKEY(file.get(), nullptr, refuse_password, nullptr));
    if (!is_rsa(key.get())) fail(path, "This is not an RSA public key in PEM form.");
    return key;
}

std::string public_key_fingerprint(const EVP_PKEY* key) {
    const error_queue_guard guard;
    const int length = i2d_PUBKEY(key, nullptr);
    if (length <= 0) throw exception("The key has no public part.");
    std::vector<std::uint8_t> der(static_cast<std::size_t>(length));
    std::uint8_t* end = der.data();
    i2d_PUBKEY(key, &end);

    CHash hash(hash_sha256);
    hash.init();
    hash.update_bytes(der);
    const std::vector<std::uint8_t> digest = hash.finish();
    if (digest.empty()) throw exception("The fingerprint could not be made.");
    return hex_bytes(digest);
}

} // namespace core
