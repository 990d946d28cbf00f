// Statuses of PKI messages with their texts, information items and revocation announcements.
#include <cstdint>

#include "asn1/status/info_type_and_value.h"
#include "asn1/status/pki_status.h"
#include "asn1/status/rev_ann_content.h"
#include "fuzz/round_trip.h"

using namespace Orvane::ASN1;
using fuzzing::attempt;
using fuzzing::roundTrip;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Orvane::CBlob blob(data, size);
    roundTrip(blob, CPKIFailureInfo(0));
    roundTrip<CInfoTypeAndValueList>(blob);
    roundTrip<CCertId>(blob);
    roundTrip<CRevAnnContent>(blob);
    attempt([&] {
        CPKIStatusInfo info(kStatusAccepted);
        info.decode(blob);
        // A text of language "*" may begin like a tag, and then does not read back as it was.
        attempt([&] {
            CPKIStatusInfo again(kStatusAccepted);
            again.decode(info.encode());
        });
        CPKIFreeText text = info.get_statusString();
        while (!text.empty()) {
            text.remove(text.back().get_language());
        }
    });
    return 0;
}
