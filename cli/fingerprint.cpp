#include "cli/fingerprint.h"

#include <new>

#include "cli/evidence_text.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::cli {

void Fingerprint::add(std::string_view text) {
    octets_ += std::to_string(text.size()) + ':';
    octets_ += text;
}

std::string Fingerprint::text() const {
    Bytes hash(32);
    auto size = static_cast<DWORD>(hash.size());
    if (CryptHashCertificate(0, CALG_SHA_256, 0, reinterpret_cast<const BYTE*>(octets_.data()),
                             static_cast<DWORD>(octets_.size()), hash.data(), &size) == 0) {
        throw std::bad_alloc();
    }
    return hexText(hash);
}

}  // namespace tallow::cli
