#include "asn1/attributes/other_hash.h"

#include "asn1/algorithms/algorithm_identifier_traits.h"
#include "asn1/attributes/other_hash_traits.h"
#include "asn1/codec/owned_ptr.h"
#include "asn1/text/primitive_traits.h"

namespace Orvane::ASN1 {

const ChoiceValueTraits* COtherHashImpl::findTraits(unsigned int type) const {
    switch (type) {
        case kSha1Hash:
            return &ChoiceValueTraitsT<CBlob, kSha1Hash>::instance;
        case kOtherHash:
            return &ChoiceValueTraitsT<COtherHashAlgAndValue, kOtherHash>::instance;
        default:
            return &NoChoiceValue::instance;
    }
}

COtherHashAlgAndValue::COtherHashAlgAndValue() = default;

COtherHashAlgAndValue::COtherHashAlgAndValue(const CAlgorithmIdentifier& hashAlgorithm, const CBlob& hashValue)
    : hashAlgorithm_(hashAlgorithm), hashValue_(hashValue) {}

void COtherHashAlgAndValue::put_hashAlgorithm(const CAlgorithmIdentifier& hashAlgorithm) {
    hashAlgorithm_ = hashAlgorithm;
}

void COtherHashAlgAndValue::put_hashValue(const CBlob& hashValue) {
    hashValue_ = hashValue;
}

CBlob COtherHashAlgAndValue::encode() const {
    return asn1Encode<ASN1T_OtherHashAlgAndValue_traits>(*this);
}

void COtherHashAlgAndValue::decode(const CBlob& data) {
    asn1Decode<ASN1T_OtherHashAlgAndValue_traits>(data, *this);
}

bool COtherHashAlgAndValue::operator==(const COtherHashAlgAndValue& other) const {
    return hashAlgorithm_ == other.hashAlgorithm_ && compare_hashValue(other);
}

bool COtherHashAlgAndValue::compare_hashValue(const COtherHashAlgAndValue& other) const {
    return hashValue_ == other.hashValue_;
}

COtherHash::COtherHash() = default;

COtherHash::COtherHash(const CBlob& sha1Hash) {
    put_sha1Hash(sha1Hash);
}

COtherHash::COtherHash(const COtherHashAlgAndValue& otherHash) {
    put_otherHash(otherHash);
}

COtherHash::COtherHash(const COtherHash& other) {
    copyHolder(impl_, other.impl_);
}

COtherHash::COtherHash(COtherHash&& other) noexcept = default;

COtherHash& COtherHash::operator=(const COtherHash& other) {
    copyHolder(impl_, other.impl_);
    return *this;
}

COtherHash& COtherHash::operator=(COtherHash&& other) noexcept = default;

COtherHash::~COtherHash() = default;

void COtherHash::clear() {
    impl_.reset();
}

unsigned int COtherHash::get_type() const {
    return heldType(impl_);
}

const CBlob* COtherHash::get_sha1Hash() const {
    return heldValue<CBlob>(impl_, kSha1Hash);
}

const COtherHashAlgAndValue* COtherHash::get_otherHash() const {
    return heldValue<COtherHashAlgAndValue>(impl_, kOtherHash);
}

void COtherHash::put_sha1Hash(const CBlob& sha1Hash) {
    putValue(impl_, kSha1Hash, &sha1Hash);
}

void COtherHash::put_otherHash(const COtherHashAlgAndValue& otherHash) {
    putValue(impl_, kOtherHash, &otherHash);
}

CBlob COtherHash::encode() const {
    return asn1Encode<ASN1T_OtherHash_traits>(*this);
}

void COtherHash::decode(const CBlob& data) {
    asn1Decode<ASN1T_OtherHash_traits>(data, *this);
}

bool COtherHash::operator==(const COtherHash& other) const {
    return get_type() == other.get_type() && equalOrBothAbsent(get_sha1Hash(), other.get_sha1Hash()) &&
           equalOrBothAbsent(get_otherHash(), other.get_otherHash());
}

bool COtherHash::compare_hashValue(const COtherHash& other) const {
    if (get_type() == kOtherHash && other.get_type() == kOtherHash) {
        return get_otherHash()->compare_hashValue(*other.get_otherHash());
    }
    return *this == other;
}

void ASN1T_OtherHashAlgAndValue_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const COtherHashAlgAndValue& value) {
    ASN1T_AlgorithmIdentifier_traits::set(ctxt, record.hashAlgorithm, value.get_hashAlgorithm());
    ASN1TDynOctStr_traits::set(ctxt, record.hashValue, value.get_hashValue());
}

void ASN1T_OtherHashAlgAndValue_traits::get(const ASN1_T& record, COtherHashAlgAndValue& value) {
    value.put_hashAlgorithm(valueOf<ASN1T_AlgorithmIdentifier_traits, CAlgorithmIdentifier>(record.hashAlgorithm));
    value.put_hashValue(valueOf<ASN1TDynOctStr_traits, CBlob>(record.hashValue));
}

void ASN1T_OtherHash_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const COtherHash& value) {
    if (const CBlob* sha1Hash = value.get_sha1Hash()) {
        record.t = kSha1Hash;
        record.u.sha1Hash = allocateRecord<ASN1TDynOctStr>(ctxt);
        ASN1TDynOctStr_traits::set(ctxt, *record.u.sha1Hash, *sha1Hash);
    } else if (const COtherHashAlgAndValue* otherHash = value.get_otherHash()) {
        record.t = kOtherHash;
        record.u.otherHash = allocateRecord<asn1data::ASN1T_OtherHashAlgAndValue>(ctxt);
        ASN1T_OtherHashAlgAndValue_traits::set(ctxt, *record.u.otherHash, *otherHash);
    }
}

void ASN1T_OtherHash_traits::get(const ASN1_T& record, COtherHash& value) {
    switch (record.t) {
        case kSha1Hash:
            value.put_sha1Hash(valueOf<ASN1TDynOctStr_traits, CBlob>(*record.u.sha1Hash));
            break;
        case kOtherHash:
            value.put_otherHash(valueOf<ASN1T_OtherHashAlgAndValue_traits, COtherHashAlgAndValue>(*record.u.otherHash));
            break;
        default:
            ATL::AtlThrowImpl(status::kAsn1Error);
    }
}

}  // namespace Orvane::ASN1
