// Attributes and the typed values inside them, references to certificates, and the containers around them.
#include <cstdint>
#include <cstdlib>

#include "asn1/attributes/attribute.h"
#include "asn1/attributes/certificate_values.h"
#include "asn1/attributes/content_info.h"
#include "asn1/attributes/signer_info.h"
#include "asn1/attributes/signing_certificate.h"
#include "asn1/attributes/typed_attributes.h"
#include "fuzz/round_trip.h"

using namespace Orvane::ASN1;
using fuzzing::attempt;
using fuzzing::roundTrip;

namespace {

template <class Typed>
void decodeTyped(const Orvane::CBlob& value) {
    attempt([&] {
        Typed attribute(value);
        attribute.encode();
        const Orvane::CBlob encoded = attribute.get_value();
        attribute.decode();
        attribute.encode();
        if (!(attribute.get_value() == encoded)) {
            std::abort();
        }
    });
}

void decodeEach(const CAttributes& attributes) {
    for (const CAttribute& attribute : attributes) {
        for (const CAttrValue& value : attribute) {
            decodeTyped<CAttrSigningCertificate>(value.get_value());
            decodeTyped<CAttrSigningCertificateV2>(value.get_value());
            decodeTyped<CAttrOtherSigningCertificate>(value.get_value());
            decodeTyped<CAttrSigningTime>(value.get_value());
            decodeTyped<CAttrContentType>(value.get_value());
            decodeTyped<CAttrMessageDigest>(value.get_value());
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Orvane::CBlob blob(data, size);
    roundTrip<CAttributes>(blob);
    roundTrip<CAttribute>(blob);
    roundTrip<CESSCertID>(blob);
    roundTrip<CESSCertIDv2>(blob);
    roundTrip<COtherCertID>(blob);
    roundTrip<CPolicyInformation>(blob);
    roundTrip<CContentInfo>(blob);
    roundTrip<CCertificateValue>(blob);
    roundTrip<CCertificateValues>(blob);
    attempt([&] {
        CSignerInfo signer;
        signer.decode(blob);
    });
    attempt([&] {
        CAttributes attributes;
        attributes.decode(blob);
        decodeEach(attributes);
    });
    return 0;
}
