// AlgorithmIdentifier between value and record.
#pragma once

#include "asn1/algorithms/algorithm_identifier.h"
#include "asn1/codec/codec.h"
#include "schema/generated/algorithms.h"

namespace Orvane::ASN1 {

/// Fills a record from its parts, with memory from `ctxt`; null or empty parameters are left out. Throws kAsn1Error for
/// an identifier that is not dotted decimal text, and for parameters that do not fit a known algorithm.
void ASN1T_AlgorithmIdentifier_set(ASN1CTXT* ctxt, asn1data::ASN1T_AlgorithmIdentifier& record, const char* oid,
                                   const CBlob* parameters);

/// Reads the record through put_algorithm, so that a cached number goes with the identifier it belongs to, and
/// put_parameters.
void ASN1T_AlgorithmIdentifier_get(CAlgorithmIdentifier& value, const asn1data::ASN1T_AlgorithmIdentifier& record);

struct ASN1T_AlgorithmIdentifier_traits
    : RecordTraits<asn1data::ASN1C_AlgorithmIdentifier, asn1data::asn1Copy_AlgorithmIdentifier> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CAlgorithmIdentifier& value) {
        ASN1T_AlgorithmIdentifier_set(ctxt, record, value.get_algorithm(), &value.get_parameters());
    }
    static void get(const ASN1_T& record, CAlgorithmIdentifier& value) { ASN1T_AlgorithmIdentifier_get(value, record); }
};

}  // namespace Orvane::ASN1
