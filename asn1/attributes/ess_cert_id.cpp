#include "asn1/attributes/ess_cert_id.h"

#include <cstring>

#include "asn1/algorithms/algorithm_identifier_traits.h"
#include "asn1/attributes/ess_cert_id_traits.h"
#include "asn1/names/issuer_serial_traits.h"
#include "asn1/text/primitive_traits.h"

namespace Orvane::ASN1 {

namespace {

constexpr const char* kDefaultHash = "2.16.840.1.101.3.4.2.1";  // SHA-256

}  // namespace

struct CESSCertIDImpl {
    CBlob certHash;
    copied_ptr<CIssuerSerial> issuerSerial;  // null when absent
};

struct CESSCertIDv2Impl {
    CAlgorithmIdentifier hashAlgorithm = CAlgorithmIdentifier(kDefaultHash);
    CBlob certHash;
    copied_ptr<CIssuerSerial> issuerSerial;  // null when absent
};

CESSCertID::CESSCertID() : impl_(std::make_unique<CESSCertIDImpl>()) {}

CESSCertID::CESSCertID(const CBlob& certHash) : CESSCertID() {
    put_certHash(certHash);
}

CESSCertID::CESSCertID(const CESSCertID& other) = default;

CESSCertID& CESSCertID::operator=(const CESSCertID& other) = default;

CESSCertID::~CESSCertID() = default;

const CBlob& CESSCertID::get_certHash() const {
    return impl_->certHash;
}

void CESSCertID::put_certHash(const CBlob& certHash) {
    impl_->certHash = certHash;
}

const CIssuerSerial* CESSCertID::get_issuerSerial() const {
    return impl_->issuerSerial.get();
}

void CESSCertID::put_issuerSerial(const CIssuerSerial* issuerSerial) {
    copy_to_auto_ptr(impl_->issuerSerial, issuerSerial);
}

CBlob CESSCertID::encode() const {
    return asn1Encode<ASN1T_ESSCertID_traits>(*this);
}

void CESSCertID::decode(const CBlob& data) {
    asn1Decode<ASN1T_ESSCertID_traits>(data, *this);
}

bool CESSCertID::operator==(const CESSCertID& other) const {
    return get_certHash() == other.get_certHash() && equalOrBothAbsent(get_issuerSerial(), other.get_issuerSerial());
}

CESSCertIDv2::CESSCertIDv2() : impl_(std::make_unique<CESSCertIDv2Impl>()) {}

CESSCertIDv2::CESSCertIDv2(const CBlob& certHash) : CESSCertIDv2() {
    put_certHash(certHash);
}

CESSCertIDv2::CESSCertIDv2(const CBlob& certHash, const CAlgorithmIdentifier& hashAlgorithm) : CESSCertIDv2(certHash) {
    put_hashAlgorithm(hashAlgorithm);
}

CESSCertIDv2::CESSCertIDv2(const CESSCertIDv2& other) = default;

CESSCertIDv2& CESSCertIDv2::operator=(const CESSCertIDv2& other) = default;

CESSCertIDv2::~CESSCertIDv2() = default;

const CAlgorithmIdentifier& CESSCertIDv2::get_hashAlgorithm() const {
    return impl_->hashAlgorithm;
}

void CESSCertIDv2::put_hashAlgorithm(const CAlgorithmIdentifier& hashAlgorithm) {
    impl_->hashAlgorithm = hashAlgorithm;
}

const CBlob& CESSCertIDv2::get_certHash() const {
    return impl_->certHash;
}

void CESSCertIDv2::put_certHash(const CBlob& certHash) {
    impl_->certHash = certHash;
}

const CIssuerSerial* CESSCertIDv2::get_issuerSerial() const {
    return impl_->issuerSerial.get();
}

void CESSCertIDv2::put_issuerSerial(const CIssuerSerial* issuerSerial) {
    copy_to_auto_ptr(impl_->issuerSerial, issuerSerial);
}

CBlob CESSCertIDv2::encode() const {
    return asn1Encode<ASN1T_ESSCertIDv2_traits>(*this);
}

void CESSCertIDv2::decode(const CBlob& data) {
    asn1Decode<ASN1T_ESSCertIDv2_traits>(data, *this);
}

bool CESSCertIDv2::operator==(const CESSCertIDv2& other) const {
    return get_hashAlgorithm() == other.get_hashAlgorithm() && get_certHash() == other.get_certHash() &&
           equalOrBothAbsent(get_issuerSerial(), other.get_issuerSerial());
}

void ASN1T_ESSCertID_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CESSCertID& value) {
    record.m = {};
    ASN1TDynOctStr_traits::set(ctxt, record.certHash, value.get_certHash());
    setIssuerSerial(ctxt, record, value.get_issuerSerial());
}

void ASN1T_ESSCertID_traits::get(const ASN1_T& record, CESSCertID& value) {
    CBlob certHash;
    ASN1TDynOctStr_traits::get(record.certHash, certHash);
    const std::unique_ptr<CIssuerSerial> issuerSerial = getIssuerSerial(record);
    value.put_certHash(certHash);
    value.put_issuerSerial(issuerSerial.get());
}

void ASN1T_ESSCertIDv2_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CESSCertIDv2& value) {
    record.m = {};
    const CAlgorithmIdentifier& hashAlgorithm = value.get_hashAlgorithm();
    // By the identifier alone: to DER, SHA-256 with a NULL is not the default and would have to stay, but receivers
    // know SHA-256 here as an absent field. The NULL is lost.
    if (std::strcmp(hashAlgorithm.get_algorithm(), kDefaultHash) != 0) {
        record.m.hashAlgorithmPresent = 1;
        ASN1T_AlgorithmIdentifier_set(ctxt, record.hashAlgorithm, hashAlgorithm.get_algorithm(),
                                      &hashAlgorithm.get_parameters());
    }
    ASN1TDynOctStr_traits::set(ctxt, record.certHash, value.get_certHash());
    setIssuerSerial(ctxt, record, value.get_issuerSerial());
}

void ASN1T_ESSCertIDv2_traits::get(const ASN1_T& record, CESSCertIDv2& value) {
    CAlgorithmIdentifier hashAlgorithm(kDefaultHash);
    if (record.m.hashAlgorithmPresent != 0) {
        ASN1T_AlgorithmIdentifier_get(hashAlgorithm, record.hashAlgorithm);
    }
    CBlob certHash;
    ASN1TDynOctStr_traits::get(record.certHash, certHash);
    const std::unique_ptr<CIssuerSerial> issuerSerial = getIssuerSerial(record);
    value.put_hashAlgorithm(hashAlgorithm);
    value.put_certHash(certHash);
    value.put_issuerSerial(issuerSerial.get());
}

}  // namespace Orvane::ASN1
