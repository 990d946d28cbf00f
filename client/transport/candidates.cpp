// Where a request can be sent: the certificate's own addresses, those kept for its issuer, and the policy's.
#include "client/policy/policy_reading.h"
#include "client/request/request_impl.h"
#include "client/transport/ocsp_access.h"
#include "platform/crypto/crypto_service.h"

namespace Orvane::PKI::OCSP::Client {

ASN1::CAuthorityInfoAccessSyntax CRequest::Impl::gatherCandidates() const {
    ASN1::CAuthorityInfoAccessSyntax candidates;
    CERT_INFO const& info = *SRCertificates.front()->pCertInfo;
    if (info.cExtension != 0) {
        CERT_EXTENSION const* access = CertFindExtension(kOidAuthorityInfoAccess, info.cExtension, info.rgExtension);
        if (access != nullptr) {
            candidates.decode(CBlob(access->Value.pbData, access->Value.cbData));
        }
    }
    if (IssuerPropAIAEnabled()) {
        ASN1::CAuthorityInfoAccessSyntax ofIssuer = GetOCSPAddressFromIssuerCertProp();
        candidates.splice(candidates.end(), ofIssuer);
    }
    if (!Policy->DefaultOCSPURL.empty()) {
        ASN1::CGeneralName location;
        location.put_uniformResourceIdentifier(Policy->DefaultOCSPURL.c_str());
        candidates.emplace_back(kOidAccessMethodOcsp, location);
    }
    return candidates;
}

}  // namespace Orvane::PKI::OCSP::Client
