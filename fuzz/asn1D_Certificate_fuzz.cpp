#include "fuzz/schema_decode.h"
#include "schema/generated/certificates.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    schemafuzz::run<asn1data::ASN1T_Certificate>(asn1data::kType_Certificate, data, size);
    return 0;
}
