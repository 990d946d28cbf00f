#include "checker/text/certificate_text.h"

#include "checker/text/name_text.h"
#include "foundation/blob.h"

namespace tallow::text {

std::string subjectOf(const _CERT_CONTEXT* certificate) {
    const CERT_NAME_BLOB& subject = certificate->pCertInfo->Subject;
    return nameText(Octets(subject.pbData, subject.cbData));
}

std::string issuerNameOf(const _CERT_CONTEXT* certificate) {
    const CERT_NAME_BLOB& issuer = certificate->pCertInfo->Issuer;
    return nameText(Octets(issuer.pbData, issuer.cbData));
}

std::string thumbprintOf(const _CERT_CONTEXT* certificate) {
    unsigned char hash[64];
    DWORD size = sizeof hash;
    if (!CertGetCertificateContextProperty(certificate, CERT_SHA1_HASH_PROP_ID, hash, &size)) {
        return {};
    }
    return Orvane::CBlob(hash, size).writeToHexString(0).c_str();
}

std::string serialOf(const _CERT_CONTEXT* certificate) {
    const CRYPT_INTEGER_BLOB& serial = certificate->pCertInfo->SerialNumber;
    Orvane::CBlob octets(serial.pbData, serial.cbData);
    octets.reverse();
    return octets.writeToHexString(0).c_str();
}

std::string reasonText(const Orvane::ASN1::CrlReason* reason) {
    constexpr const char* kNames[] = {"unspecified",   "keyCompromise",        "cACompromise",    "affiliationChanged",
                                      "superseded",    "cessationOfOperation", "certificateHold", "7",
                                      "removeFromCRL", "privilegeWithdrawn",   "aACompromise"};
    if (reason == nullptr) {
        return {};
    }
    const auto number = static_cast<std::size_t>(*reason);
    return number < std::size(kNames) ? kNames[number] : std::to_string(number);
}

std::string responseStatusText(std::uint32_t status) {
    constexpr const char* kNames[] = {"successful", "malformedRequest", "internalError", "tryLater",
                                      "4",          "sigRequired",      "unauthorized"};
    return status < std::size(kNames) ? kNames[status] : std::to_string(status);
}

}  // namespace tallow::text
