#include "cli/show_values.h"

#include "cli/certificate_text.h"
#include "cli/safe_text.h"
#include "foundation/date_time.h"
#include "handles/cert_context.h"
#include "handles/exception.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::cli {

using namespace Orvane;
using namespace Orvane::ASN1;
using PKI::OCSP::CCertID;
using PKI::OCSP::CReqCert;

namespace {

std::string joined(const char* kind, const std::string& value) {
    return std::string(kind) + ": " + value;
}

std::string addressOf(const CBlob& address) {
    constexpr unsigned long kIpv4Size = 4;
    if (address.cbData() != kIpv4Size) {
        return hexOf(address);
    }
    std::string text;
    for (const unsigned char octet : octetsOf(address)) {
        text += (text.empty() ? "" : ".") + std::to_string(octet);
    }
    return text;
}

std::string reasonsOf(const CReasonFlags& reasons) {
    constexpr const char* kNames[] = {"unused",      "keyCompromise",        "cACompromise",    "affiliationChanged",
                                      "superseded",  "cessationOfOperation", "certificateHold", "privilegeWithdrawn",
                                      "aACompromise"};
    std::string text;
    for (unsigned int bit = 0; bit < std::size(kNames); ++bit) {
        if (reasons.get_bit(bit)) {
            text += std::string(text.empty() ? "" : ", ") + kNames[bit];
        }
    }
    return text;
}

Shown showCertId(const char* field, const CCertID& id) {
    Shown shown = Shown::object(field);
    shown.add("hashAlgorithm", algorithmOf(id.get_hashAlgorithm()));
    shown.add("issuerNameHash", hexOf(id.get_issuerNameHash()));
    shown.add("issuerKeyHash", hexOf(id.get_issuerKeyHash()));
    shown.add("serialNumber", hexOf(id.get_serialNumber()));
    return shown;
}

Shown showPoint(const CDistributionPoint& point) {
    Shown shown = Shown::object("");
    if (const CDistributionPointName* name = point.get_distributionPoint(); name != nullptr) {
        if (const CGeneralNames* fullName = name->get_fullName(); fullName != nullptr) {
            shown.add(showGeneralNames("fullName", *fullName));
        }
    }
    if (point.get_reasons() != nullptr) {
        shown.add("reasons", reasonsOf(*point.get_reasons()));
    }
    if (point.get_cRLIssuer() != nullptr) {
        shown.add(showGeneralNames("cRLIssuer", *point.get_cRLIssuer()));
    }
    return shown;
}

Shown showFields(_CERT_CONTEXT const* certificate) {
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
    const ATL2::CCertContext certificate = ATL2::CCertContext::adopt(
        CertCreateCertificateContext(X509_ASN_ENCODING, der.pbData(), static_cast<DWORD>(der.cbData())));
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

std::string nameOf(const CBlob& name) {
    const std::string text = nameText(name.pbData(), name.cbData());
    return text.empty() ? hexOf(name) : text;
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

std::string generalNameOf(const CGeneralName& name) {
    switch (name.get_type()) {
        case CGeneralName::kRfc822Name:
            return joined("rfc822Name", utf8(name.get_rfc822Name()));
        case CGeneralName::kDNSName:
            return joined("dNSName", utf8(name.get_dNSName()));
        case CGeneralName::kDirectoryName:
            return joined("directoryName", nameOf(*name.get_directoryName()));
        case CGeneralName::kUniformResourceIdentifier:
            return joined("URI", utf8(name.get_uniformResourceIdentifier()));
        case CGeneralName::kIPAddress:
            return joined("iPAddress", addressOf(*name.get_iPAddress()));
        case CGeneralName::kRegisteredID:
            return joined("registeredID", utf8(name.get_registeredID()));
        default:
            return {};
    }
}

std::string generalNameOf(Octets name) {
    try {
        CGeneralName decoded;
        decoded.decode(CBlob(name.data(), name.size()));
        return generalNameOf(decoded);
    } catch (...) {
        return hexOf(name);
    }
}

Shown showReqCert(const char* field, const CReqCert& reqCert) {
    if (const CCertID* id = reqCert.get_certID(); id != nullptr) {
        return showCertId(field, *id);
    }
    constexpr unsigned kFullCertificate = contextTag(0);
    const std::optional<DerElement> element = DerView(octetsOf(*reqCert.get_otherAlternative())).next();
    Shown shown = Shown::object(field);
    shown.add(element && element->is(kFullCertificate) ? "fullCertificate" : "certIdWithSignature",
              hexOf(*reqCert.get_otherAlternative()));
    return shown;
}

Shown showGeneralNames(const char* field, const CGeneralNames& names) {
    Shown shown = Shown::list(field);
    for (const CGeneralName& name : names) {
        shown.add("", generalNameOf(name));
    }
    return shown;
}

Shown showAccess(const char* field, const CAuthorityInfoAccessSyntax& access) {
    constexpr const char* kOcsp = "1.3.6.1.5.5.7.48.1";
    constexpr const char* kCaIssuers = "1.3.6.1.5.5.7.48.2";
    Shown shown = Shown::list(field);
    for (const CAccessDescription& description : access) {
        const std::string oid = description.get_accessMethod();
        Shown entry = Shown::object("");
        entry.add("accessMethod", oid == kOcsp        ? "ocsp (" + oid + ")"
                                  : oid == kCaIssuers ? "caIssuers (" + oid + ")"
                                                      : oid);
        entry.add("accessLocation", generalNameOf(description.get_accessLocation()));
        shown.add(std::move(entry));
    }
    return shown;
}

Shown showDistributionPoints(const char* field, const CCRLDistPointsSyntax& points) {
    Shown shown = Shown::list(field);
    for (const CDistributionPoint& point : points) {
        shown.add(showPoint(point));
    }
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
