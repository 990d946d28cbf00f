// Reads the entries of a response one at a time from their octets, without the schema's records of all of them: a
// response may have ten thousand entries, and a record takes more than a kilobyte.
//
// What this reader accepts, the record codec accepts, too, with the same values. It reads only the form that nearly all
// entries have: DER, times in whole seconds, no extensions. An entry in another form is decoded as one record. Where
// that fails, or where an element does not end with the one around it, read() returns false, and the codec must decode
// the whole response and decide.
#pragma once

#include <cstdint>

#include "asn1/algorithms/algorithm_identifier.h"
#include "asn1/codec/tlv_reader.h"
#include "message/single_response.h"
#include "schema/generated/ocsp.h"

namespace Orvane::PKI::OCSP {

/// The entry as a value. Throws kAsn1Error for times that do not exist.
CSingleResponse singleResponseOf(const asn1data::ASN1T_SingleResponse& record);

class EntryReader {
public:
    /// `ctxt` is bound to the BasicOCSPResponse around the entries, and under `depth` levels of the schema. The reader
    /// moves it and leaves some memory in its heap.
    EntryReader(ASN1CTXT* ctxt, std::uint32_t depth) : ctxt_(ctxt), depth_(depth) {}

    /// Reads the entries of `responses`, the SEQUENCE OF in the message, and appends them to `values` unless that is
    /// null. False where the codec must decide; `values` may then hold a part. Throws kAsn1Error for times that do not
    /// exist, and what failing allocations throw.
    [[nodiscard]] bool read(ASN1::Octets responses, CSingleResponseList* values);

    /// At least the memory that the records of the entries would take in the heap of the codec.
    std::uint64_t sizeRecords() const { return sizeRecords_; }

    /// A time and the octets that it was read from.
    struct ReadTime {
        ASN1::Octets text;
        CDateTime time{0, 0};
    };

private:
    bool readPlain(const ASN1::TlvElement& entry, CSingleResponseList* values);
    bool readRecord(const ASN1::TlvElement& entry, CSingleResponseList* values);
    bool takeAlgorithm(const ASN1::TlvElement& algorithm);

    ASN1CTXT* ctxt_;
    std::uint32_t depth_;
    std::uint64_t sizeRecords_ = 0;
    ASN1::Octets algorithmOctets_;  // what algorithm_ was decoded from: the entries of a response share one
    ASN1::CAlgorithmIdentifier algorithm_;
    std::uint64_t sizeAlgorithm_ = 0;
    // The times of the last entry, of which the next one has mostly the same.
    ReadTime thisUpdate_;
    ReadTime nextUpdate_;
};

}  // namespace Orvane::PKI::OCSP
