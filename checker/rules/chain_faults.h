// The faults of a certificate in a chain, as the bits of its trust status name them.
#pragma once

#include <cstdint>

#include "platform/crypto/crypto_service.h"

namespace tallow::rules {

struct ChainFault {
    DWORD bits;  // CERT_TRUST_... error bits
    std::int32_t code;
    const char* text;    // what is wrong with the certificate
    const char* remedy;  // one
};

inline constexpr DWORD kUnknownRevocation = CERT_TRUST_REVOCATION_STATUS_UNKNOWN | CERT_TRUST_IS_OFFLINE_REVOCATION;

/// The most serious fault among the error bits; null when there is none.
const ChainFault* worstFault(DWORD errors);

}  // namespace tallow::rules
