#include "cli/show_values.h"

#include "checker/text/certificate_text.h"
#include "checker/text/safe_text.h"
#include "checker/text/times.h"
#include "foundation/date_time.h"
#include "handles/cert_context.h"
#include "handles/certificate_in.h"
#include "handles/exception.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::cli {

using namespace text;

using namespace Orvane;
using namespace Orvane::ASN1;
using PKI::OCSP::CCertID;
using PKI::OCSP::CReqCert;

namespace {

Shown showCertId(const char* field, const CCertID& id) {
    Shown shown = Shown::object(field);
    shown.add("hashAlgorithm", algorithmOf(id.get_hashAlgorithm()));
    shown.addForJson("hashOid", id.get_hashAlgorithm().get_algorithm());
    shown.add("issuerNameHash", hexOf(id.get_issuerNameHash()));
    shown.add("issuerKeyHash", hexOf(id.get_issuerKeyHash()));
    shown.add("serialNumber", hexOf(id.get_serialNumber()));
    return shown;
}

Shown showFields(const _CERT_CONTEXT* certificate) {
    Shown shown = Shown::object("");
    shown.add("subject", subjectOf(certificate));
    shown.add("issuer", issuerNameOf(certificate));
    shown.add("serialNumber", serialOf(certificate));
    const CDateTime notBefore(certificate->pCertInfo->NotBefore);
    const CDateTime notAfter(certificate->pCertInfo->NotAfter);
    shown.add("notBefore", iso8601(&notBefore));
    shown.add("notAfter", iso8601(&notAfter));
    shown.add("thumbprint", thumbprintOf(certificate));
    return shown;
}

Shown showCertificate(const CBlob& der) {
    const ATL2::CCertContext certificate = ATL2::certificateIn(der.pbData(), der.cbData());
    try {
        return certificate ? showFields(certificate.get()) : Shown::field("", hexOf(der));
    } catch (const ATL::CAtlException&) {
        return Shown::field("", hexOf(der));  // a date outside of the calendar
    }
}

}  // namespace

Octets octetsOf(const CBlob& blob) {
    return {blob.pbData(), blob.cbData()};
}

std::string hexOf(const CBlob& octets) {
    return octets.writeToHexString(0).c_str();
}

std::string hexOf(Octets octets) {
    return hexOf(CBlob(octets.data(), octets.size()));
}

std::string algorithmOf(const CAlgorithmIdentifier& algorithm) {
    constexpr unsigned char kNull[] = {0x05, 0x00};
    std::string oid = algorithm.get_algorithm();
    PCCRYPT_OID_INFO info = CryptFindOIDInfo(CRYPT_OID_INFO_OID_KEY, oid.data(), 0);
    std::string text = info == nullptr ? oid : utf8(info->pwszName) + " (" + oid + ")";
    const CBlob& parameters = algorithm.get_parameters();
    if (parameters.cbData() != 0 && !(parameters == CBlob(kNull, sizeof kNull))) {
        text += " with parameters " + hexOf(parameters);
    }
    return text;
}

Shown showReqCert(const char* field, const CReqCert& reqCert) {
    if (const CCertID* id = reqCert.get_certID(); id != nullptr) {
        return showCertId(field, *id);
    }
    constexpr unsigned kFullCertificate = TlvElement::context(0);
    const std::optional<TlvElement> element = TlvReader(*reqCert.get_otherAlternative()).next();
    Shown shown = Shown::object(field);
    shown.add(element && element->tag == kFullCertificate ? "fullCertificate" : "certIdWithSignature",
              hexOf(*reqCert.get_otherAlternative()));
    return shown;
}

Shown showCertificates(const char* field, const CBlobList& certificates) {
    Shown shown = Shown::list(field);
    for (const CBlob& der : certificates) {
        shown.add(showCertificate(der));
    }
    return shown;
}

}  // namespace tallow::cli
