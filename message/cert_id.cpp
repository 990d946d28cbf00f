#include "message/cert_id.h"

#include <cstring>
#include <utility>

#include "message/cert_id_traits.h"
#include "message/certificate_key.h"
#include "message/issuer_hashes.h"

namespace Orvane::PKI::OCSP {

CCertID::CCertID() = default;
CCertID::CCertID(const CCertID&) = default;
CCertID::CCertID(CCertID&&) noexcept = default;
CCertID& CCertID::operator=(const CCertID&) = default;
CCertID& CCertID::operator=(CCertID&&) noexcept = default;
CCertID::~CCertID() = default;

CCertID::CCertID(const ASN1::CAlgorithmIdentifierEx& hashAlgorithm, const CBlob& certificate,
                 const CBlob& issuerCertificate)
    : CCertID(ASN1::withinFrame([&] {
          const ATL2::CCertContext subject = openCertificate(certificate);
          const ATL2::CCertContext issuer = openCertificate(issuerCertificate);
          return identifierOf(hashAlgorithm, *subject->pCertInfo, *issuer->pCertInfo);
      })) {}

void CCertID::put_hashAlgorithm(const ASN1::CAlgorithmIdentifier& value) {
    hashAlgorithm_ = value;
}

void CCertID::put_issuerNameHash(const CBlob& value) {
    issuerNameHash_ = value;
}

void CCertID::put_issuerKeyHash(const CBlob& value) {
    issuerKeyHash_ = value;
}

void CCertID::put_serialNumber(const ASN1::CBigInteger& value) {
    serialNumber_ = value;
}

namespace {

bool isSameNumber(const ASN1::CBigInteger& left, const ASN1::CBigInteger& right) {
    const unsigned long size = left.cbData();
    if (size == 0 || size != right.cbData()) {
        return left == right;
    }
    return std::memcmp(left.pbData(), right.pbData(), size) == 0;
}

}  // namespace

// The serial number first: the entries of a response mostly have the same issuer.
bool namesSameCertificate(const CCertID& left, const CCertID& right) {
    return isSameNumber(left.get_serialNumber(), right.get_serialNumber()) &&
           left.get_issuerKeyHash() == right.get_issuerKeyHash() &&
           left.get_issuerNameHash() == right.get_issuerNameHash();
}

CReqCert::CReqCert() = default;
CReqCert::CReqCert(const CCertID& certID) : certID_(certID) {}
CReqCert::CReqCert(CCertID&& certID) noexcept : certID_(std::move(certID)) {}
CReqCert::CReqCert(const CReqCert&) = default;
CReqCert::CReqCert(CReqCert&&) noexcept = default;
CReqCert& CReqCert::operator=(const CReqCert&) = default;
CReqCert& CReqCert::operator=(CReqCert&&) noexcept = default;
CReqCert::~CReqCert() = default;

CReqCert CReqCert::fromOtherAlternative(CBlob encoded) {
    CReqCert reqCert;
    reqCert.encoded_ = std::move(encoded);
    return reqCert;
}

// ---- To and from the schema records ---------------------------------------------------------------------------------

void CertIdTraits::set(ASN1CTXT* ctxt, ASN1_T& record, const CCertID& value) {
    ASN1::ASN1T_AlgorithmIdentifier_traits::set(ctxt, record.hashAlgorithm, value.get_hashAlgorithm());
    ASN1::ASN1TDynOctStr_traits::set(ctxt, record.issuerNameHash, value.get_issuerNameHash());
    ASN1::ASN1TDynOctStr_traits::set(ctxt, record.issuerKeyHash, value.get_issuerKeyHash());
    record.serialNumber = ASN1::BigIntegerToASN1String(ctxt, value.get_serialNumber());
}

void CertIdTraits::get(const ASN1_T& record, CCertID& value) {
    ASN1::ASN1T_AlgorithmIdentifier_traits::get(record.hashAlgorithm, value.hashAlgorithm_);
    ASN1::ASN1TDynOctStr_traits::get(record.issuerNameHash, value.issuerNameHash_);
    ASN1::ASN1TDynOctStr_traits::get(record.issuerKeyHash, value.issuerKeyHash_);
    ASN1::ASN1StringToBigInteger(record.serialNumber, value.serialNumber_);
}

CCertID CertIdTraits::make(const ASN1::CAlgorithmIdentifier& hashAlgorithm, ASN1::Octets issuerNameHash,
                           ASN1::Octets issuerKeyHash, ASN1::Octets serialNumber) {
    CCertID value;
    value.hashAlgorithm_ = hashAlgorithm;
    value.issuerNameHash_.assign(issuerNameHash.data(), issuerNameHash.size());
    value.issuerKeyHash_.assign(issuerKeyHash.data(), issuerKeyHash.size());
    value.serialNumber_.assign(serialNumber.data(), serialNumber.size());
    return value;
}

void ReqCertTraits::set(ASN1CTXT* ctxt, ASN1_T& record, const CReqCert& value) {
    if (const CCertID* certID = value.get_certID(); certID != nullptr) {
        record.u.certID = ASN1::allocateRecord<asn1data::ASN1T_CertID>(ctxt);
        record.t = ASN1_T::T_certID;
        CertIdTraits::set(ctxt, *record.u.certID, *certID);
    } else {
        ASN1::asn1DecodeT<ReqCertTraits>(*value.get_otherAlternative(), ctxt, record);
    }
}

CReqCert ReqCertTraits::get(const ASN1_T& record) {
    if (record.t != ASN1_T::T_certID) {
        return CReqCert::fromOtherAlternative(ASN1::asn1EncodeT<ReqCertTraits>(record));
    }
    CCertID certID;
    CertIdTraits::get(*record.u.certID, certID);
    return CReqCert(std::move(certID));
}

}  // namespace Orvane::PKI::OCSP
