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
    value.put_version(static_cast<unsigned int>(record.version));
    value.put_issuer(valueOf<ASN1TOpenType_traits, CBlob>(sid.issuer));
    value.put_serialNumber(valueOf<ASN1T_CertificateSerialNumber_traits, CBigInteger>(sid.serialNumber));
    value.put_digestAlgorithm(valueOf<ASN1T_AlgorithmIdentifier_traits, CAlgorithmIdentifier>(record.digestAlgorithm));
    value.put_signatureAlgorithm(
        valueOf<ASN1T_AlgorithmIdentifier_traits, CAlgorithmIdentifier>(record.signatureAlgorithm));
    value.put_signature(valueOf<ASN1TDynOctStr_traits, CBlob>(record.signature));
}

}  // namespace Orvane::ASN1
