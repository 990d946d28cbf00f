#include "asn1/attributes/other_cert_id.h"

#include "asn1/attributes/other_cert_id_traits.h"
#include "asn1/attributes/other_hash_traits.h"
#include "asn1/names/issuer_serial_traits.h"

namespace Orvane::ASN1 {

struct COtherCertIDImpl {
    COtherHash otherCertHash;
    copied_ptr<CIssuerSerial> issuerSerial;  // null when absent
};

COtherCertID::COtherCertID() : impl_(std::make_unique<COtherCertIDImpl>()) {}

COtherCertID::COtherCertID(const CBlob& hash) : COtherCertID() {
    impl_->otherCertHash.put_sha1Hash(hash);
}

COtherCertID::COtherCertID(const CBlob& hash, const CAlgorithmIdentifier& hashAlgorithm) : COtherCertID() {
    impl_->otherCertHash.put_otherHash(COtherHashAlgAndValue(hashAlgorithm, hash));
}

COtherCertID::COtherCertID(const COtherCertID& other) = default;

COtherCertID& COtherCertID::operator=(const COtherCertID& other) = default;

COtherCertID& COtherCertID::operator=(COtherCertID&& other) noexcept {
    impl_.swap(other.impl_);
    return *this;
}

COtherCertID::~COtherCertID() = default;

const COtherHash& COtherCertID::get_otherCertHash() const {
    return impl_->otherCertHash;
}

void COtherCertID::put_otherCertHash(const COtherHash& otherCertHash) {
    impl_->otherCertHash = otherCertHash;
}

const CIssuerSerial* COtherCertID::get_issuerSerial() const {
    return impl_->issuerSerial.get();
}

void COtherCertID::put_issuerSerial(const CIssuerSerial* issuerSerial) {
    copy_to_auto_ptr(impl_->issuerSerial, issuerSerial);
}

CBlob COtherCertID::encode() const {
    return asn1Encode<ASN1T_OtherCertID_traits>(*this);
}

void COtherCertID::decode(const CBlob& data) {
    asn1Decode<ASN1T_OtherCertID_traits>(data, *this);
}

bool COtherCertID::operator==(const COtherCertID& other) const {
    return get_otherCertHash() == other.get_otherCertHash() &&
           equalOrBothAbsent(get_issuerSerial(), other.get_issuerSerial());
}

bool COtherCertID::compare_noHashParam(const COtherCertID& other) const {
    return get_otherCertHash().compare_hashValue(other.get_otherCertHash()) &&
           equalOrBothAbsent(get_issuerSerial(), other.get_issuerSerial());
}

void ASN1T_OtherCertID_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const COtherCertID& value) {
    ASN1T_OtherHash_traits::set(ctxt, record.otherCertHash, value.get_otherCertHash());
    record.m.issuerSerialPresent =
        setIf<ASN1T_IssuerSerial_traits>(ctxt, record.issuerSerial, value.get_issuerSerial());
}

void ASN1T_OtherCertID_traits::get(const ASN1_T& record, COtherCertID& value) {
    value.put_otherCertHash(valueOf<ASN1T_OtherHash_traits, COtherHash>(record.otherCertHash));
    value.put_issuerSerial(
        valueIf<ASN1T_IssuerSerial_traits, CIssuerSerial>(record.m.issuerSerialPresent, record.issuerSerial).get());
}

}  // namespace Orvane::ASN1
