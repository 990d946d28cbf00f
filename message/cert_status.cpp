#include "message/cert_status.h"

namespace Orvane::PKI::OCSP {

CCertStatus::CCertStatus(CDateTime const& revocationTime, ASN1::CrlReason const* reason)
    : type_(kRevoked), revocationTime_(revocationTime) {
    if (reason != nullptr) {
        reason_ = *reason;
    }
}

}  // namespace Orvane::PKI::OCSP
