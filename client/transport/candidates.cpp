// The addresses of a request's responders: the certificate's own, those stored for its issuer, and the policy's.
#include "client/policy/policy_reading.h"
#include "client/request/request_impl.h"
#include "client/shared/ocsp_access.h"
#include "platform/crypto/crypto_service.h"

namespace Orvane::PKI::OCSP::Client {

CRequest::Impl::Candidates CRequest::Impl::gatherCandidates() const {
    Candidates gathered;
    ASN1::CAuthorityInfoAccessSyntax& candidates = gathered.list;
    const CERT_INFO& info = *SRCertificates.front()->pCertInfo;
    if (info.cExtension != 0) {
        const CERT_EXTENSION* access = CertFindExtension(kOidAuthorityInfoAccess, info.cExtension, info.rgExtension);
        if (access != nullptr) {
            candidates.decode(CBlob(access->Value.pbData, access->Value.cbData));
        }
    }
    gathered.numOwn = candidates.size();
    if (IssuerPropAIAEnabled()) {
        ASN1::CAuthorityInfoAccessSyntax ofIssuer = GetOCSPAddressFromIssuerCertProp();
        candidates.splice(candidates.end(), ofIssuer);
    }
    if (!Policy->DefaultOCSPURL.empty()) {
        ASN1::CGeneralName location;
        location.put_uniformResourceIdentifier(Policy->DefaultOCSPURL.c_str());
        candidates.emplace_back(kOidAccessMethodOcsp, location);
    }
    return gathered;
}

}  // namespace Orvane::PKI::OCSP::Client
