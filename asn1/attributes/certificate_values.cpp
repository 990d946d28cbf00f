#include "asn1/attributes/certificate_values.h"

#include "asn1/attributes/certificate_values_traits.h"

namespace Orvane::ASN1 {

CCertificateValue::CCertificateValue() = default;

CCertificateValue::CCertificateValue(const CBlob& certificate) : certificate_(certificate) {}

CBlob CCertificateValue::encode() const {
    return asn1Encode<CertificateValueTraits>(*this);
}

void CCertificateValue::decode(const CBlob& data) {
    asn1Decode<CertificateValueTraits>(data, *this);
}

CBlob CCertificateValues::encode() const {
    return asn1Encode<ASN1T_CertificateValues_traits>(*this);
}

void CCertificateValues::decode(const CBlob& data) {
    asn1Decode<ASN1T_CertificateValues_traits>(data, *this);
}

}  // namespace Orvane::ASN1
