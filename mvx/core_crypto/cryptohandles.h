#pragma once

#include "core/handle.h"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>

// Owners of what libcrypto hands out, and the manners of a guest in the host's process.

namespace core {

using bio_handle = handle<BIO, BIO_free>;
using cipher_context = handle<EVP_CIPHER_CTX, EVP_CIPHER_CTX_free>;
using digest_context = handle<EVP_MD_CTX, EVP_MD_CTX_free>;
using key_handle = handle<EVP_PKEY, EVP_PKEY_free>;

/// Takes back what its scope adds to the thread's error queue, which belongs to the host.
class error_queue_guard {
public:
    error_queue_guard() noexcept { ERR_set_mark(); }

    error_queue_guard(const error_queue_guard&) = delete;
    error_queue_guard& operator=(const error_queue_guard&) = delete;

    ~error_queue_guard() { ERR_pop_to_mark(); }
};

/// Password callback for key files. Without one libcrypto asks on the terminal and waits. `asked`
/// is null or a bool that becomes true.
inline int refuse_password(char* /*buffer*/, int /*room*/, int /*writing*/, void* asked) noexcept {
    if (asked != nullptr) *static_cast<bool*>(asked) = true;
    return -1;
}

} // namespace core
