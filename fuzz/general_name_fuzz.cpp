// General names, distinguished names, algorithm identifiers, times and numbers: what decodes must encode to what
// decodes to the same.
#include <cstdint>

#include "asn1/algorithms/algorithm_identifier.h"
#include "asn1/algorithms/big_integer.h"
#include "asn1/codec/octet_string.h"
#include "asn1/names/general_name.h"
#include "asn1/names/issuer_serial.h"
#include "asn1/names/name.h"
#include "asn1/text/char_string.h"
#include "asn1/text/time_choice.h"
#include "fuzz/round_trip.h"

using namespace Orvane::ASN1;
using fuzzing::attempt;
using fuzzing::roundTrip;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Orvane::CBlob blob(data, size);
    roundTrip<CGeneralNames>(blob);
    roundTrip<CGeneralName>(blob);
    roundTrip<CName>(blob);
    roundTrip<CAlgorithmIdentifier>(blob);
    roundTrip<CIssuerSerial>(blob);
    roundTrip<CBigInteger>(blob);
    roundTrip<CTimeChoice>(blob);
    attempt([&] {
        CGeneralName name;
        name.decode(blob);
        name.toString();
    });
    attempt([&] {
        CName name;
        name.decode(blob);
        name.toString();
    });
    attempt([&] { decodeCharString(blob); });
    attempt([&] { fromOctetString(blob); });
    return 0;
}
