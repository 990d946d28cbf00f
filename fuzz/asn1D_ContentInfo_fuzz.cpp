#include "fuzz/schema_decode.h"
#include "schema/generated/cms.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    schemafuzz::run<asn1data::ASN1T_ContentInfo>(asn1data::kType_ContentInfo, data, size);
    return 0;
}
