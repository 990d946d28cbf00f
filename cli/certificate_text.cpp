#include "cli/certificate_text.h"

#include <cstdio>

#include "asn1/name.h"
#include "cli/safe_text.h"
#include "foundation/blob.h"

namespace tallow::cli {

std::string subjectOf(_CERT_CONTEXT const* certificate) {
    CERT_NAME_BLOB const& subject = certificate->pCertInfo->Subject;
    try {
        Orvane::ASN1::CName name;
        name.decode(Orvane::CBlob(subject.pbData, subject.cbData));
        return utf8(name.toString().c_str());
    } catch (...) {
        return {};
    }
}

std::string serialOf(_CERT_CONTEXT const* certificate) {
    CRYPT_INTEGER_BLOB const& serial = certificate->pCertInfo->SerialNumber;
    Orvane::CBlob octets(serial.pbData, serial.cbData);
    octets.reverse();
    return octets.writeToHexString(0).c_str();
}

std::string iso8601(const Orvane::CDateTime* time) {
    if (time == nullptr) {
        return {};
    }
    char text[32];
    std::snprintf(text, sizeof text, "%04u-%02u-%02uT%02u:%02u:%02uZ", time->year(), time->month(), time->day(),
                  time->hour(), time->minute(), time->second());
    return text;
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

}  // namespace tallow::cli
