#include "message/cert_status.h"

namespace Orvane::PKI::OCSP {

CCertStatus::CCertStatus(const CDateTime& revocationTime, const ASN1::CrlReason* reason)
    : type_(kRevoked), revocationTime_(revocationTime) {
    if (reason != nullptr) {
        reason_ = *reason;
    }
}

}  // namespace Orvane::PKI::OCSP
