#include "fuzz/schema_decode.h"
#include "schema/generated/ocsp.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    schemafuzz::run<asn1data::ASN1T_OCSPResponse>(asn1data::kType_OCSPResponse, data, size);
    return 0;
}
