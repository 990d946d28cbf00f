#include "asn1/names/issuer_serial.h"

#include "asn1/algorithms/big_integer_traits.h"
#include "asn1/names/general_name_traits.h"
#include "asn1/names/issuer_serial_traits.h"

namespace Orvane::ASN1 {

CIssuerSerial::CIssuerSerial() = default;

CIssuerSerial::CIssuerSerial(const CGeneralNames& issuer, const CBigInteger& serialNumber)
    : issuer_(issuer), serialNumber_(serialNumber) {}

void CIssuerSerial::put_issuer(const CGeneralNames& issuer) {
    issuer_ = issuer;
}

void CIssuerSerial::put_serialNumber(const CBigInteger& serialNumber) {
    serialNumber_ = serialNumber;
}

CBlob CIssuerSerial::encode() const {
    return asn1Encode<ASN1T_IssuerSerial_traits>(*this);
}

void CIssuerSerial::decode(const CBlob& data) {
    asn1Decode<ASN1T_IssuerSerial_traits>(data, *this);
}

bool CIssuerSerial::operator==(const CIssuerSerial& other) const {
    return issuer_ == other.issuer_ && serialNumber_ == other.serialNumber_;
}

void ASN1T_IssuerSerial_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CIssuerSerial& value) {
    ASN1T_GeneralNames_traits::set(ctxt, record.issuer, value.get_issuer());
    record.serial = BigIntegerToASN1String(ctxt, value.get_serialNumber());
}

void ASN1T_IssuerSerial_traits::get(const ASN1_T& record, CIssuerSerial& value) {
    value.put_issuer(valueOf<ASN1T_GeneralNames_traits, CGeneralNames>(record.issuer));
    value.put_serialNumber(valueOf<ASN1T_CertificateSerialNumber_traits, CBigInteger>(record.serial));
}

}  // namespace Orvane::ASN1
