#include "morvanticshared/packagefault.h"

namespace package {

const char* fault_text(package_fault fault) noexcept {
    switch (fault) {
    case fault_none:
        return "The package is sound.";
    case fault_too_short:
        return "The file is shorter than a package header.";
    case fault_kind:
        return "This is no package: the file does not begin with a known kind.";
    case fault_version:
        return "The header version is unknown.";
    case fault_header_unreadable:
        return "The header cannot be read.";
    case fault_payload_unreachable:
        return "The payload cannot be reached.";
    case fault_key:
        return "The public key cannot be loaded.";
    case fault_payload_unreadable:
        return "The payload cannot be read to its end.";
    case fault_signature:
        return "The signature does not match.";
    case fault_encryption_unknown:
        return "The encryption type is unknown.";
    }
    return "The package is refused.";
}

} // namespace package
