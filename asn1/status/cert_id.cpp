#include "asn1/status/cert_id.h"

#include "asn1/algorithms/big_integer_traits.h"
#include "asn1/names/general_name_traits.h"
#include "asn1/status/cert_id_traits.h"

namespace Orvane::ASN1 {

CCertId::CCertId() = default;

CCertId::CCertId(const CGeneralName& issuer, const CBigInteger& serialNumber)
    : issuer_(issuer), serialNumber_(serialNumber) {}

void CCertId::put_issuer(const CGeneralName& issuer) {
    issuer_ = issuer;
}

void CCertId::put_serialNumber(const CBigInteger& serialNumber) {
    serialNumber_ = serialNumber;
}

CBlob CCertId::encode() const {
    return asn1Encode<ASN1T_CertId_traits>(*this);
}

void CCertId::decode(const CBlob& data) {
    asn1Decode<ASN1T_CertId_traits>(data, *this);
}

bool CCertId::operator==(const CCertId& other) const {
    return issuer_ == other.issuer_ && serialNumber_ == other.serialNumber_;
}

void ASN1T_CertId_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CCertId& value) {
    ASN1T_GeneralName_traits::set(ctxt, record.issuer, value.get_issuer());
    record.serialNumber = BigIntegerToASN1String(ctxt, value.get_serialNumber());
}

void ASN1T_CertId_traits::get(const ASN1_T& record, CCertId& value) {
    value.put_issuer(valueOf<ASN1T_GeneralName_traits, CGeneralName>(record.issuer));
    value.put_serialNumber(valueOf<ASN1T_CertificateSerialNumber_traits, CBigInteger>(record.serialNumber));
}

}  // namespace Orvane::ASN1
