#include "checker/text/certificate_text.h"

#include <algorithm>
#include <new>
#include <string_view>

#include "checker/text/name_text.h"
#include "checker/text/safe_text.h"
#include "foundation/blob.h"

namespace tallow::text {

using Orvane::ASN1::TlvElement;
using Orvane::ASN1::TlvReader;

namespace {

constexpr std::uint32_t kUri = TlvElement::context(6);  // of GeneralName
constexpr std::size_t kMostAddresses = 4;               // as many as are asked

// The contents of the SEQUENCE in the extension; nothing when there is none.
TlvReader extensionOf(const _CERT_CONTEXT* certificate, const char* oid) {
    const CERT_INFO& info = *certificate->pCertInfo;
    const CERT_EXTENSION* const found =
        info.cExtension == 0 ? nullptr : CertFindExtension(oid, info.cExtension, info.rgExtension);
    return TlvReader(found == nullptr ? std::nullopt
                                      : TlvReader(Octets(found->Value.pbData, found->Value.cbData)).next());
}

void addAddress(const std::optional<TlvElement>& name, std::vector<std::string>& addresses) {
    if (!name || name->tag != kUri || addresses.size() == kMostAddresses) {
        return;
    }
    const std::string url(name->content.begin(), name->content.end());
    constexpr std::string_view kHttp = "http";
    const bool isHttp = url.size() > kHttp.size() && std::equal(kHttp.begin(), kHttp.end(), url.begin(),
                                                                [](char a, char b) { return a == (b | 0x20); });
    if (isHttp) {
        addresses.push_back(safeUrl(url));
    }
}

bool isOid(const std::optional<TlvElement>& element, const char* oid) {
    return element && element->tag == TlvElement::kObjectIdentifier && oidText(element->content) == oid;
}

}  // namespace

std::string certificateNamed(const _CERT_CONTEXT* certificate) {
    const std::string subject = subjectOf(certificate);
    return "certificate " + (subject.empty() ? "with serial number " + serialOf(certificate) : safeLine(subject));
}

std::string authorityKeyOf(const _CERT_CONTEXT* certificate) {
    const std::optional<TlvElement> key = extensionOf(certificate, "2.5.29.35").nextIf(TlvElement::context(0));
    return !key || key->content.empty()
               ? std::string()
               : Orvane::CBlob(key->content.data(), key->content.size()).writeToHexString(0).c_str();
}

std::vector<std::string> issuerAddressesOf(const _CERT_CONTEXT* certificate) {
    std::vector<std::string> addresses;
    TlvReader access = extensionOf(certificate, "1.3.6.1.5.5.7.1.1");
    while (const std::optional<TlvElement> description = access.next()) {
        TlvReader fields(description);
        if (isOid(fields.next(), "1.3.6.1.5.5.7.48.2")) {
            addAddress(fields.next(), addresses);
        }
    }
    return addresses;
}

std::vector<std::string> crlAddressesOf(const _CERT_CONTEXT* certificate) {
    std::vector<std::string> addresses;
    TlvReader points = extensionOf(certificate, "2.5.29.31");
    while (const std::optional<TlvElement> point = points.next()) {
        // distributionPoint [0] { fullName [0] GeneralNames }
        TlvReader names(TlvReader(TlvReader(point).nextIf(TlvElement::context(0))).nextIf(TlvElement::context(0)));
        while (const std::optional<TlvElement> name = names.next()) {
            addAddress(name, addresses);
        }
    }
    return addresses;
}

bool hasOcspSigning(const _CERT_CONTEXT* certificate) {
    TlvReader usages = extensionOf(certificate, "2.5.29.37");
    while (const std::optional<TlvElement> usage = usages.next()) {
        if (isOid(usage, "1.3.6.1.5.5.7.3.9")) {
            return true;
        }
    }
    return false;
}

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
        throw std::bad_alloc();  // nothing else can keep the service from hashing what it has read
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
