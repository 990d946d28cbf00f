#include "message/responder_id.h"

#include "handles/exception.h"
#include "handles/status.h"
#include "message/certificate_key.h"

namespace Orvane::PKI::OCSP {

CResponderID CResponderID::fromCert(Type type, const CBlob& certificate) {
    const ATL2::CCertContext context = openCertificate(certificate);
    const CERT_INFO& info = *context->pCertInfo;
    switch (type) {
        case kByName:
            return {type, CBlob(info.Subject.pbData, info.Subject.cbData)};
        case kByKey: {
            // Always SHA-1 (RFC 6960, 4.2.1), whatever the message is signed with: it names the key and protects
            // nothing.
            const CRYPT_BIT_BLOB& key = info.SubjectPublicKeyInfo.PublicKey;
            return {type, hashOf(CALG_SHA1, key.pbData, key.cbData)};
        }
    }
    ATL::AtlThrowImpl(status::kInvalidArgument);
}

bool operator==(const CResponderID& left, const CResponderID& right) {
    return left.get_type() == right.get_type() && left.get_value() == right.get_value();
}

}  // namespace Orvane::PKI::OCSP
