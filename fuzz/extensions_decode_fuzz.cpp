// Extension lists, and the typed values inside them.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "asn1/extensions/access_description.h"
#include "asn1/extensions/distribution_point.h"
#include "asn1/extensions/extensions.h"
#include "asn1/extensions/typed_extensions.h"
#include "handles/exception.h"

namespace {

using namespace Orvane::ASN1;

template <class Value>
void decodeTyped(const CExtension& extension, const char* oid) {
    if (std::strcmp(extension.get_extnID(), oid) == 0) {
        try {
            const Value value(extension.get_extnValue());
        } catch (const ATL::CAtlException&) {
        }
    }
}

template <class Value>
void decodePlain(const Orvane::CBlob& data) {
    try {
        Value value;
        value.decode(data);
        Value again;
        again.decode(value.encode());
    } catch (const ATL::CAtlException&) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Orvane::CBlob blob(data, size);
    decodePlain<CAuthorityInfoAccessSyntax>(blob);
    decodePlain<CCRLDistPointsSyntax>(blob);
    CExtensions extensions;
    try {
        extensions.decode(blob);
    } catch (const ATL::CAtlException&) {
        return 0;
    }
    for (const CExtension& extension : extensions) {
        decodeTyped<CExtCRLReason>(extension, "2.5.29.21");
        decodeTyped<CExtHoldInstructionCode>(extension, "2.5.29.23");
        decodeTyped<CExtInvalidityDate>(extension, "2.5.29.24");
        decodeTyped<CExtCertificateIssuer>(extension, "2.5.29.29");
        decodeTyped<CExtPrivateKeyUsagePeriod>(extension, "2.5.29.16");
    }
    try {
        CExtensions again;
        again.decode(extensions.encode());
        if (again.size() != extensions.size()) {
            std::abort();
        }
    } catch (const ATL::CAtlException&) {
    }
    return 0;
}
