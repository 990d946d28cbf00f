#include "asn1/algorithms/algorithm_identifier.h"

#include <cstring>
#include <utility>

#include "asn1/algorithms/algorithm_identifier_traits.h"
#include "asn1/text/object_id_text.h"
#include "asn1/text/primitive_traits.h"

namespace Orvane::ASN1 {

CAlgorithmIdentifier::CAlgorithmIdentifier() : algorithm_(nullptr) {}

CAlgorithmIdentifier::CAlgorithmIdentifier(const char* algorithm)
    : algorithm_(withinFrame([algorithm] { return CStringProxy(algorithm); })) {}

CAlgorithmIdentifier::CAlgorithmIdentifier(const CAlgorithmIdentifier& other)
    : algorithm_(withinFrame([&] { return CStringProxy(other.algorithm_); })),
      parameters_(withinFrame([&] { return CBlob(other.parameters_); })) {}

CAlgorithmIdentifier::CAlgorithmIdentifier(CAlgorithmIdentifier&& other) noexcept = default;

CAlgorithmIdentifier& CAlgorithmIdentifier::operator=(const CAlgorithmIdentifier& other) {
    if (this != &other) {
        CAlgorithmIdentifier copy(other);
        swap(copy);
    }
    return *this;
}

CAlgorithmIdentifier& CAlgorithmIdentifier::operator=(CAlgorithmIdentifier&& other) noexcept = default;

CAlgorithmIdentifier::~CAlgorithmIdentifier() = default;

void CAlgorithmIdentifier::assign(const CAlgorithmIdentifier& other) {
    algorithm_ = other.algorithm_;
    parameters_ = other.parameters_;
}

void CAlgorithmIdentifier::swap(CAlgorithmIdentifier& other) noexcept {
    std::swap(algorithm_, other.algorithm_);
    parameters_.swap(other.parameters_);
}

void CAlgorithmIdentifier::put_algorithm(const char* algorithm) {
    algorithm_ = CStringProxy(algorithm);
}

void CAlgorithmIdentifier::put_parameters(const CBlob& parameters) {
    parameters_ = parameters;
}

void CAlgorithmIdentifier::put_parameters(CBlob&& parameters) noexcept {
    parameters_ = std::move(parameters);
}

CBlob CAlgorithmIdentifier::encode() const {
    return asn1Encode<ASN1T_AlgorithmIdentifier_traits>(*this);
}

void CAlgorithmIdentifier::decode(const CBlob& data) {
    CAlgorithmIdentifier decoded;
    asn1Decode<ASN1T_AlgorithmIdentifier_traits>(data, decoded);
    // Not by assignment: in a derived object, put_algorithm resets the cached number.
    withinFrame([&] { put_algorithm(decoded.get_algorithm()); });
    put_parameters(std::move(decoded.parameters_));
}

bool CAlgorithmIdentifier::operator==(const CAlgorithmIdentifier& other) const {
    return std::strcmp(get_algorithm(), other.get_algorithm()) == 0 && parameters_ == other.parameters_;
}

CAlgorithmIdentifierEx::CAlgorithmIdentifierEx() = default;

CAlgorithmIdentifierEx::CAlgorithmIdentifierEx(const char* algorithm) : CAlgorithmIdentifier(algorithm) {}

CAlgorithmIdentifierEx::CAlgorithmIdentifierEx(const CAlgorithmIdentifier& other) : CAlgorithmIdentifier(other) {}

CAlgorithmIdentifierEx::~CAlgorithmIdentifierEx() = default;

void CAlgorithmIdentifierEx::assign(const CAlgorithmIdentifierEx& other) {
    CAlgorithmIdentifier::assign(other);
    algId_ = other.algId_;
}

void CAlgorithmIdentifierEx::swap(CAlgorithmIdentifierEx& other) noexcept {
    CAlgorithmIdentifier::swap(other);
    std::swap(algId_, other.algId_);
}

void CAlgorithmIdentifierEx::put_algorithm(const char* algorithm) {
    if (std::strcmp(get_algorithm(), algorithm != nullptr ? algorithm : "") == 0) {
        return;
    }
    algId_ = 0;
    CAlgorithmIdentifier::put_algorithm(algorithm);
}

void ASN1T_AlgorithmIdentifier_set(ASN1CTXT* ctxt, asn1data::ASN1T_AlgorithmIdentifier& record, const char* oid,
                                   const CBlob* parameters) {
    record.m = {};
    if (str2oid(oid, &record.algorithm) != 0) {
        ATL::AtlThrowImpl(status::kAsn1Error);
    }
    if (parameters == nullptr || parameters->cbData() == 0) {
        return;
    }
    record.m.parametersPresent = 1;
    ASN1TOpenType_traits::set(ctxt, record.parameters, *parameters);
    resolveOpenType<asn1data::asn1DTC_AlgorithmIdentifier>(ctxt, record);
}

void ASN1T_AlgorithmIdentifier_get(CAlgorithmIdentifier& value, const asn1data::ASN1T_AlgorithmIdentifier& record) {
    CBlob parameters;
    if (record.m.parametersPresent != 0) {
        ASN1TOpenType_traits::get(record.parameters, parameters);
    }
    value.put_algorithm(toOID(record.algorithm).c_str());
    value.put_parameters(std::move(parameters));
}

}  // namespace Orvane::ASN1
