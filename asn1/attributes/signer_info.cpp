#include "asn1/attributes/signer_info.h"

#include <utility>

#include "asn1/algorithms/algorithm_identifier_traits.h"
#include "asn1/algorithms/big_integer_traits.h"
#include "asn1/attributes/signer_info_traits.h"
#include "asn1/text/primitive_traits.h"

namespace Orvane::ASN1 {

CSignerInfo::CSignerInfo() = default;

void CSignerInfo::put_version(unsigned int version) {
    version_ = version;
}

void CSignerInfo::put_issuer(const CBlob& issuer) {
    issuer_ = issuer;
}

void CSignerInfo::put_serialNumber(const CBigInteger& serialNumber) {
    serialNumber_ = serialNumber;
}

void CSignerInfo::put_signatureAlgorithm(const CAlgorithmIdentifier& signatureAlgorithm) {
    signatureAlgorithm_ = signatureAlgorithm;
}

void CSignerInfo::put_digestAlgorithm(const CAlgorithmIdentifier& digestAlgorithm) {
    digestAlgorithm_ = digestAlgorithm;
}

void CSignerInfo::put_signature(const CBlob& signature) {
    signature_ = signature;
}

void CSignerInfo::decode(const CBlob& data) {
    asn1Decode<ASN1T_SignerInfo_traits>(data, *this);
}

bool CSignerInfo::operator==(const CSignerInfo& other) const {
    return version_ == other.version_ && issuer_ == other.issuer_ && serialNumber_ == other.serialNumber_ &&
           signatureAlgorithm_ == other.signatureAlgorithm_ && digestAlgorithm_ == other.digestAlgorithm_ &&
           signature_ == other.signature_;
}

void ASN1T_SignerInfo_get(CSignerInfo& value, const asn1data::ASN1T_SignerInfo& record) {
    if (record.sid.t != asn1data::ASN1T_SignerIdentifier::T_issuerAndSerialNumber) {
        ATL::AtlThrowImpl(status::kAsn1Error);
    }
    const asn1data::ASN1T_IssuerAndSerialNumber& sid = *record.sid.u.issuerAndSerialNumber;
    CBlob issuer;
    ASN1TOpenType_traits::get(sid.issuer, issuer);
    CBigInteger serialNumber;
    ASN1StringToBigInteger(sid.serialNumber, serialNumber);
    CAlgorithmIdentifier digestAlgorithm;
    ASN1T_AlgorithmIdentifier_get(digestAlgorithm, record.digestAlgorithm);
    CAlgorithmIdentifier signatureAlgorithm;
    ASN1T_AlgorithmIdentifier_get(signatureAlgorithm, record.signatureAlgorithm);
    CBlob signature;
    ASN1TDynOctStr_traits::get(record.signature, signature);

    value.put_version(static_cast<unsigned int>(record.version));
    value.put_issuer(issuer);
    value.put_serialNumber(serialNumber);
    value.put_digestAlgorithm(digestAlgorithm);
    value.put_signatureAlgorithm(signatureAlgorithm);
    value.put_signature(signature);
}

}  // namespace Orvane::ASN1
