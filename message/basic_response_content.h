// What a CBasicResponse holds, and the two ways to read it: entry by entry from their octets, or all at once through
// the record codec, which decides in every doubtful case.
#pragma once

#include <cstdint>
#include <optional>
#include <utility>

#include "asn1/algorithms/algorithm_identifier.h"
#include "asn1/codec/codec.h"
#include "asn1/extensions/extensions.h"
#include "foundation/blob.h"
#include "foundation/date_time.h"
#include "message/responder_id.h"
#include "message/single_response.h"

namespace Orvane::PKI::OCSP {

struct BasicResponseContent {
    std::uint32_t version = 0;
    unsigned long trailingSize = 0;
    CResponderID responderID;
    CDateTime producedAt{0, 0};
    CSingleResponseList responses;
    std::optional<ASN1::CExtensions> responseExtensions;
    ASN1::CAlgorithmIdentifier signatureAlgorithm;
    std::optional<CBlobList> certs;
};

/// Reads a BasicOCSPResponse and leaves the rest of `data`. Throws as CBasicResponse::decode.
BasicResponseContent readBasicResponse(const CBlob& data);

/// The same through the record codec alone. It is the reference: the other never accepts what this one rejects, nor
/// with other values.
BasicResponseContent readBasicResponseByRecords(const CBlob& data);

/// Whether `data`, inside `depth` levels of the schema, is certainly what the record codec accepts as a
/// BasicOCSPResponse. False means only that the codec must decide. Builds no values. Throws as readBasicResponse, also
/// for some messages that the codec accepts or rejects otherwise.
[[nodiscard]] bool isCertainlyBasicResponse(const CBlob& data, std::uint32_t depth);

/// What `direct` returns, an optional. Where that is empty, or an exception, `reference` decides: so of several faults
/// in a message the one is reported that the record codec finds first.
template <class Direct, class Reference>
auto directlyOr(Direct direct, Reference reference) {
    try {
        if (auto value = ASN1::withinFrame(direct)) {
            return std::move(*value);
        }
    } catch (const ATL::CAtlException&) {
        // Also for exhausted memory: it may be the limit for messages of this size, reached only on the direct way.
    }
    return reference();
}

}  // namespace Orvane::PKI::OCSP
