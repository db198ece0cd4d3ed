#include "core_crypto/cipher.h"

#include "core/inputstream.h"
#include "core/logandrethrow.h"

#include <algorithm>
#include <array>
#include <climits>
#include <optional>
#include <utility>

namespace core {

namespace {

constexpr std::size_t block_size = 16; // of AES
constexpr std::size_t tag_limit = 16;  // of GCM
constexpr std::size_t update_limit = INT_MAX - block_size;

using cipher_getter = const EVP_CIPHER* (*)();

struct mode_row {
    ECipherMode mode;
    cipher_getter by_16_bytes;
    cipher_getter by_24_bytes;
    cipher_getter by_32_bytes;
    cipher_getter by_64_bytes;
};

constexpr std::array modes = {
    mode_row{mode_ecb, EVP_aes_128_ecb, EVP_aes_192_ecb, EVP_aes_256_ecb, nullptr},
    mode_row{mode_cbc, EVP_aes_128_cbc, EVP_aes_192_cbc, EVP_aes_256_cbc, nullptr},
    mode_row{mode_cfb, EVP_aes_128_cfb128, EVP_aes_192_cfb128, EVP_aes_256_cfb128, nullptr},
    mode_row{mode_ctr, EVP_aes_128_ctr, EVP_aes_192_ctr, EVP_aes_256_ctr, nullptr},
    mode_row{mode_gcm, EVP_aes_128_gcm, EVP_aes_192_gcm, EVP_aes_256_gcm, nullptr},
    mode_row{mode_xts, nullptr, nullptr, EVP_aes_128_xts, EVP_aes_256_xts},
};

cipher_getter getter_for(const mode_row& row, std::size_t key_length) noexcept {
    switch (key_length) {
    case 16:
        return row.by_16_bytes;
    case 24:
        return row.by_24_bytes;
    case 32:
        return row.by_32_bytes;
    case 64:
        return row.by_64_bytes;
    default:
        return nullptr;
    }
}

const std::uint8_t* bytes_of(const std::string& text) noexcept {
    return reinterpret_cast<const std::uint8_t*>(text.data());
}

} // namespace

const EVP_CIPHER* cipher_for(ECipherMode mode, std::size_t key_length) noexcept {
    for (const mode_row& row : modes) {
        if (row.mode != mode) continue;
        const cipher_getter getter = getter_for(row, key_length);
        return getter != nullptr ? getter() : nullptr;
    }
    return nullptr;
}

CBaseCipher::CBaseCipher(ECipherOperation operation, ECipherMode mode,
                         std::vector<std::uint8_t> key)
    : m_operation(operation), m_cipher_mode(mode), m_cipher(cipher_for(mode, key.size())),
      m_key(std::move(key)) {}

CBaseCipher::CBaseCipher(ECipherOperation operation, ECipherMode mode, const std::uint8_t* key,
                         std::size_t key_length)
    : CBaseCipher(operation, mode, std::vector<std::uint8_t>(key, key + key_length)) {}

CBaseCipher::CBaseCipher(const CBaseCipher& source)
    : m_operation(source.m_operation), m_cipher_mode(source.m_cipher_mode),
      m_cipher(source.m_cipher), m_key(source.m_key), m_iv(source.m_iv) {
    if (!source.m_context) return;
    log_and_rethrow([&] {
        const error_queue_guard guard;
        m_context.reset(EVP_CIPHER_CTX_new());
        if (!m_context || EVP_CIPHER_CTX_copy(m_context.get(), source.m_context.get()) != 1) {
            throw exception("Failed to copy context");
        }
        if (source.m_cfb) m_cfb.emplace(*source.m_cfb);
    });
}

CBaseCipher::~CBaseCipher() = default;

std::unique_ptr<CBaseCipher> CBaseCipher::clone() const {
    return std::make_unique<make_smart_enabler<CBaseCipher>>(*this);
}

void CBaseCipher::init() {
    if (m_cipher == nullptr) return;
    const error_queue_guard guard;
    if (!begin()) release_context();
}

/// A context that is there has the key already and never left its beginning.
bool CBaseCipher::begin_cfb(const std::uint8_t* iv) noexcept {
    if (m_cfb && m_context) {
        return EVP_CIPHER_CTX_set_padding(m_context.get(), 1) == 1 && m_cfb->begin(m_key, iv);
    }
    m_context.reset(EVP_CIPHER_CTX_new());
    if (!m_context) return false;
    return EVP_DecryptInit_ex(m_context.get(), m_cipher, nullptr, m_key.data(), iv) == 1 &&
           m_cfb.emplace().begin(m_key, iv);
}

bool CBaseCipher::begin() noexcept {
    // libcrypto reads a whole IV, whatever is there.
    const auto iv_length = static_cast<std::size_t>(EVP_CIPHER_get_iv_length(m_cipher));
    if (!m_iv.empty() && m_iv.size() < iv_length) return false;
    const std::uint8_t* iv = m_iv.empty() ? nullptr : m_iv.data();
    if (m_cipher_mode == mode_cfb && m_operation == op_decrypt) return begin_cfb(iv);

    if (!m_context) {
        m_context.reset(EVP_CIPHER_CTX_new());
        if (!m_context) return false;
    } else if (EVP_CIPHER_CTX_reset(m_context.get()) != 1) {
        return false;
    }
    switch (m_operation) {
    case op_encrypt:
        return EVP_EncryptInit_ex(m_context.get(), m_cipher, nullptr, m_key.data(), iv) == 1;
    case op_decrypt:
        return EVP_DecryptInit_ex(m_context.get(), m_cipher, nullptr, m_key.data(), iv) == 1;
    }
    return false;
}

bool CBaseCipher::set_iv(const std::vector<std::uint8_t>& iv) {
    return set_iv(iv.data(), iv.size());
}

bool CBaseCipher::set_iv(const std::uint8_t* iv, std::size_t length) {
    store_iv(iv, length);
    init();
    return m_context != nullptr;
}

bool CBaseCipher::restart_without_iv() { return set_iv(nullptr, 0); }

void CBaseCipher::store_iv(const std::uint8_t* iv, std::size_t length) {
    m_iv.assign(iv, iv + length);
}

bool CBaseCipher::set_padding(bool enabled) {
    if (!m_context) return false;
    const error_queue_guard guard;
    return kept_after(EVP_CIPHER_CTX_set_padding(m_context.get(), enabled ? 1 : 0));
}

bool CBaseCipher::set_aad(const std::string& data) { return set_aad(bytes_of(data), data.size()); }

bool CBaseCipher::set_aad(const std::vector<std::uint8_t>& data) {
    return set_aad(data.data(), data.size());
}

bool CBaseCipher::set_aad(const std::uint8_t* data, std::size_t length) {
    if (length == 0 || length > update_limit || !m_context) return false;
    // In most other modes libcrypto would write its output to the null pointer.
    if (m_cipher_mode != mode_gcm) return false;
    const error_queue_guard guard;
    int taken = 0;
    return kept_after(
        EVP_DecryptUpdate(m_context.get(), nullptr, &taken, data, static_cast<int>(length)));
}

bool CBaseCipher::set_tag(const std::string& tag) { return set_tag(bytes_of(tag), tag.size()); }

bool CBaseCipher::set_tag(const std::vector<std::uint8_t>& tag) {
    return set_tag(tag.data(), tag.size());
}

bool CBaseCipher::set_tag(const std::uint8_t* tag, std::size_t length) {
    if (length == 0 || length > tag_limit || !m_context) return false;
    const error_queue_guard guard;
    std::array<std::uint8_t, tag_limit> copy{}; // the call takes a pointer that it could write to
    std::copy_n(tag, length, copy.begin());
    return kept_after(EVP_CIPHER_CTX_ctrl(m_context.get(), EVP_CTRL_AEAD_SET_TAG,
                                          static_cast<int>(length), copy.data()));
}

bool CBaseCipher::kept_after(int result) noexcept {
    if (result != 1) release_context();
    return result == 1;
}

bool CBaseCipher::has_room(std::size_t out_size, std::size_t in_size) const noexcept {
    const auto block = static_cast<std::size_t>(EVP_CIPHER_get_block_size(m_cipher));
    return out_size >= in_size && out_size - in_size >= (block < 2 ? 0 : block);
}

/// As EVP_DecryptUpdate.
int CBaseCipher::decrypt(std::uint8_t* out, int& produced, const std::uint8_t* in,
                         int count) noexcept {
    if (!m_cfb) return EVP_DecryptUpdate(m_context.get(), out, &produced, in, count);
    if (!m_cfb->decrypt(out, in, static_cast<std::size_t>(count))) return 0;
    produced = count;
    return 1;
}

std::int32_t CBaseCipher::update_into(std::uint8_t* out, std::size_t out_size,
                                      const std::uint8_t* in, std::size_t in_size) {
    return log_and_swallow_all([&]() -> std::int32_t {
        if (m_cipher == nullptr || !m_context) return -1;
        if (!has_room(out_size, in_size)) {
            assertion("false");
            return -1;
        }
        const error_queue_guard guard;
        int produced = 0;
        int result = 0;
        if (in_size <= update_limit) {
            const int count = static_cast<int>(in_size);
            switch (m_operation) {
            case op_encrypt:
                result = EVP_EncryptUpdate(m_context.get(), out, &produced, in, count);
                break;
            case op_decrypt:
                result = decrypt(out, produced, in, count);
                break;
            default:
                release_context();
                return 0;
            }
        }
        if (result == 1) return produced;
        release_context();
        return -1;
    });
}

std::int32_t CBaseCipher::final_into(std::uint8_t* out, std::size_t out_size) {
    const auto produced = log_and_swallow([&]() -> std::optional<std::int32_t> {
        if (m_cipher == nullptr || !m_context) {
            release_context();
            return std::nullopt;
        }
        if (out_size < block_size) {
            assertion("false");
            return std::nullopt;
        }
        const error_queue_guard guard;
        int count = 0;
        int result = 0;
        if (m_operation == op_encrypt) {
            result = EVP_EncryptFinal(m_context.get(), out, &count);
        } else if (m_operation == op_decrypt) {
            result = EVP_DecryptFinal(m_context.get(), out, &count);
        }
        if (result == 1) return count;
        release_context();
        return std::nullopt;
    });
    return produced.value_or(-1);
}

void CBaseCipher::release_context() noexcept {
    m_context.reset();
    m_cfb.reset();
}

CCipher::~CCipher() = default;

std::unique_ptr<CCipher> CCipher::clone() const {
    return std::make_unique<make_smart_enabler<CCipher>>(*this);
}

void CCipher::init() {
    m_output.clear();
    CBaseCipher::init();
}

bool CCipher::append(const std::uint8_t* bytes, std::size_t length) {
    return log_and_swallow_all([&] {
        std::vector<std::uint8_t> room(length + block_size);
        const std::int32_t produced = update_into(room.data(), room.size(), bytes, length);
        if (produced < 0) {
            release_context();
            return false;
        }
        m_output.insert(m_output.end(), room.begin(), room.begin() + produced);
        return true;
    });
}

bool CCipher::append(std::uint8_t byte) { return append(&byte, 1); }

std::vector<std::uint8_t> CCipher::finish() {
    return log_and_swallow_all([&]() -> std::vector<std::uint8_t> {
        std::array<std::uint8_t, 2 * block_size> room{};
        const std::int32_t produced = final_into(room.data(), room.size());
        if (produced < 0) {
            release_context();
            return {};
        }
        m_output.insert(m_output.end(), room.begin(), room.begin() + produced);
        return std::exchange(m_output, {});
    });
}

} // namespace core
