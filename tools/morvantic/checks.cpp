#include "checks.h"

#include "failure.h"

#include "core/debug.h"
#include "core_crypto/rsakeys.h"

#include <string_view>

namespace tool {

namespace {

/// The reader of a key puts the path in front of its message; that may be a path of our own.
template <class Load>
core::key_handle load_key(const input_file& key, Load&& load) {
    try {
        return load(key.wide_path());
    } catch (const core::exception& error) {
        std::string_view reason = error.what();
        if (reason.starts_with(key.path())) reason.remove_prefix(key.path().size());
        fail_input(key.name() + std::string(reason));
    }
}

const char* advice(package::package_fault fault) {
    switch (fault) {
    case package::fault_too_short:
    case package::fault_payload_unreachable:
    case package::fault_payload_unreadable:
    case package::fault_header_unreadable:
        return "Fetch the package again.";
    case package::fault_kind:
        return "Is this the right file?";
    case package::fault_version:
    case package::fault_encryption_unknown:
        return "It was made for another version of the engine, or it is damaged.";
    case package::fault_signature:
        return "The package was changed on its way, or it was signed with another key.";
    default:
        return "";
    }
}

} // namespace

const char* check_name(package::package_fault fault) noexcept {
    switch (fault) {
    case package::fault_none:
        return "none";
    case package::fault_too_short:
        return "size";
    case package::fault_kind:
        return "kind";
    case package::fault_version:
        return "header_version";
    case package::fault_header_unreadable:
        return "header";
    case package::fault_payload_unreachable:
    case package::fault_payload_unreadable:
        return "payload";
    case package::fault_key:
        return "key";
    case package::fault_signature:
        return "signature";
    case package::fault_encryption_unknown:
        return "encryption_type";
    }
    return "unknown";
}

std::string fault_message(package::package_fault fault, const input_file& package) {
    const std::string sentence = package.name() + ": " + package::fault_text(fault);
    const std::string more = advice(fault);
    return more.empty() ? sentence : sentence + ' ' + more;
}

std::string fault_message(package::package_fault fault, const input_file& package,
                          const input_file& key) {
    if (fault == package::fault_key) {
        try {
            public_key_of(key);
        } catch (const failure& reason) {
            return reason.what();
        }
    }
    return fault_message(fault, package);
}

core::key_handle private_key_of(const input_file& key) {
    return load_key(key, core::load_private_key);
}

core::key_handle public_key_of(const input_file& key) {
    return load_key(key, core::load_public_key);
}

} // namespace tool
