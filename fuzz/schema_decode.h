// Common part of the fuzz targets for schema types: decode, copy, encode the copy, free. The encoding must decode and
// encode to the same octets again.
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
    const std::vector<std::uint8_t> input(data, data + size);  // exact size, so that reads past the end are detected
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
            // Decoded and encoded again only to check memory use. The octets may differ or not decode: a member
            // truncated by its parent's length is decoded without octets, and is missing the next time.
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
