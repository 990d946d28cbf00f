#include "fuzz/schema_decode.h"
#include "schema/generated/cmp.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    schemafuzz::run<asn1data::ASN1T_PKIMessage>(asn1data::kType_PKIMessage, data, size);
    return 0;
}
