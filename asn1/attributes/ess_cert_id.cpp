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

CESSCertID& CESSCertID::operator=(CESSCertID&& other) noexcept {
    impl_.swap(other.impl_);
    return *this;
}

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

CESSCertIDv2& CESSCertIDv2::operator=(CESSCertIDv2&& other) noexcept {
    impl_.swap(other.impl_);
    return *this;
}

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
    ASN1TDynOctStr_traits::set(ctxt, record.certHash, value.get_certHash());
    record.m.issuerSerialPresent =
        setIf<ASN1T_IssuerSerial_traits>(ctxt, record.issuerSerial, value.get_issuerSerial());
}

void ASN1T_ESSCertID_traits::get(const ASN1_T& record, CESSCertID& value) {
    value.put_certHash(valueOf<ASN1TDynOctStr_traits, CBlob>(record.certHash));
    value.put_issuerSerial(
        valueIf<ASN1T_IssuerSerial_traits, CIssuerSerial>(record.m.issuerSerialPresent, record.issuerSerial).get());
}

void ASN1T_ESSCertIDv2_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CESSCertIDv2& value) {
    const CAlgorithmIdentifier& hashAlgorithm = value.get_hashAlgorithm();
    // Only the identifier is compared. In DER, SHA-256 with NULL parameters differs from the default and would be
    // written, but receivers expect an absent field for SHA-256. The NULL is lost.
    const bool isDefault = std::strcmp(hashAlgorithm.get_algorithm(), kDefaultHash) == 0;
    record.m.hashAlgorithmPresent =
        setIf<ASN1T_AlgorithmIdentifier_traits>(ctxt, record.hashAlgorithm, isDefault ? nullptr : &hashAlgorithm);
    ASN1TDynOctStr_traits::set(ctxt, record.certHash, value.get_certHash());
    record.m.issuerSerialPresent =
        setIf<ASN1T_IssuerSerial_traits>(ctxt, record.issuerSerial, value.get_issuerSerial());
}

void ASN1T_ESSCertIDv2_traits::get(const ASN1_T& record, CESSCertIDv2& value) {
    CAlgorithmIdentifier hashAlgorithm(kDefaultHash);
    if (record.m.hashAlgorithmPresent != 0) {
        ASN1T_AlgorithmIdentifier_get(hashAlgorithm, record.hashAlgorithm);
    }
    value.put_hashAlgorithm(hashAlgorithm);
    value.put_certHash(valueOf<ASN1TDynOctStr_traits, CBlob>(record.certHash));
    value.put_issuerSerial(
        valueIf<ASN1T_IssuerSerial_traits, CIssuerSerial>(record.m.issuerSerialPresent, record.issuerSerial).get());
}

}  // namespace Orvane::ASN1
