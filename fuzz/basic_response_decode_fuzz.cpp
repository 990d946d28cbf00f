// CBasicResponse::decode, every getter after it, and the signature check with the certificates carried.
#include <cstdint>
#include <cstdlib>

#include "handles/exception.h"
#include "message/basic_response.h"

namespace {

using namespace Orvane;
using namespace Orvane::PKI::OCSP;

void readEntries(const CBasicResponse& response) {
    for (const CSingleResponse& entry : response.get_responses()) {
        const CReqCert& reqCert = entry.get_reqCert();
        const CCertStatus& status = entry.get_certStatus();
        if ((reqCert.get_certID() == nullptr) == (reqCert.get_otherAlternative() == nullptr) ||
            (status.get_type() == CCertStatus::kRevoked) != (status.get_revocationTime() != nullptr)) {
            std::abort();
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        CBasicResponse response;
        response.decode(CBlob(data, size));
        readEntries(response);
        CBasicResponse copy(response);
        copy = response;
        if (const CBlobList* certs = copy.get_certs(); certs != nullptr) {
            for (const CBlob& cert : *certs) {
                if (CResponderID::fromCert(copy.get_responderID().get_type(), cert) == copy.get_responderID()) {
                    static_cast<void>(copy.verify(cert));
                }
            }
        }
    } catch (const ATL::CAtlException&) {
    }
    return 0;
}
