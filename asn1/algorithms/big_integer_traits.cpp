#include "asn1/algorithms/big_integer_traits.h"

namespace Orvane::ASN1 {

const char* BigIntegerToASN1String(ASN1CTXT* ctxt, const CBigInteger& value) {
    CBlob text;
    BigIntegerToString(value, text);
    return copyText(ctxt, reinterpret_cast<const char*>(text.pbData()));
}

void ASN1StringToBigInteger(const char* text, CBigInteger& value) {
    StringToBigInteger(text, value);
}

const char* DWORDToASN1BigInteger(ASN1CTXT* ctxt, unsigned int value) {
    const unsigned char bytes[] = {static_cast<unsigned char>(value >> 24), static_cast<unsigned char>(value >> 16),
                                   static_cast<unsigned char>(value >> 8), static_cast<unsigned char>(value)};
    try {
        return BigIntegerToASN1String(ctxt, CBigInteger(bytes, sizeof(bytes)));
    } catch (const ATL::CAtlException&) {
        // The system's status for exhausted memory, not the runtime's: the callers of this function test for it.
        ATL::AtlThrowImpl(status::kOutOfMemory);
    }
}

CBlob CBigInteger::encode() const {
    return asn1Encode<ASN1T_CertificateSerialNumber_traits>(*this);
}

void CBigInteger::decode(const CBlob& data) {
    asn1Decode<ASN1T_CertificateSerialNumber_traits>(data, *this);
}

}  // namespace Orvane::ASN1
