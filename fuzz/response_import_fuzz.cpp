// CResponse::Import and every operation on an imported response that needs no network, with default policies.
#include <cstdint>
#include <cstdlib>

#include "client/response/response.h"
#include "handles/exception.h"
#include "platform/support/support_service.h"

namespace {

using namespace Orvane;
using namespace Orvane::PKI::OCSP;
using namespace Orvane::PKI::OCSP::Client;

// Settings from an empty file, not from the machine.
const int kSettings = support_settings_open("/dev/null");

template <class Action>
void attempt(Action action) {
    try {
        action();
    } catch (const ATL::CAtlException&) {
    }
}

void readEntry(const CResponse& response, unsigned long index) {
    const CCertID id = response.get_SRCertID(index);
    if (response.get_SRIndexByCertID(id) > index) {
        std::abort();  // the entry itself names that certificate
    }
    response.get_SRStatus(index);
    response.get_SRRevTime(index);
    response.get_SRRevReason(index);
    response.get_SRThisUpdate(index);
    response.get_SRNextUpdate(index);
    response.get_SRHistoricalRequest(index);
    response.get_SRArchiveCutoff(index);
    response.get_SRCRLReference(index);
    response.get_SRAdditionalExtensions(index);
    bool authorized = true;
    static_cast<void>(response.VerifySR(index, "1.2.3", &authorized));
}

void read(const CResponse& response) {
    response.get_ProducedAt();
    response.get_responderIDType();
    response.get_responderID();
    response.get_HasNonce();
    response.get_SignatureAlgorithm();
    response.get_SignatureAlgorithmOID();
    response.get_SignatureAlgorithmParameters();
    response.get_AdditionalExtensions();
    response.get_Certificates();
    for (unsigned long index = 0; index < response.get_SRNumber() && index < 8; ++index) {
        attempt([&] { readEntry(response, index); });
    }
    attempt([&] {
        if (const _CERT_CONTEXT* responder = response.get_OCSPCertificate(nullptr, 0); responder != nullptr) {
            static_cast<void>(response.Verify(responder, nullptr));
        }
    });
    attempt([&] { CResponse copy(response); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (kSettings != 0) {
        std::abort();
    }
    static CResponse response;  // reused: an import must not depend on the one before
    attempt([&] {
        response.Import(data, size, nullptr);
        if (response.get_Status() == 0) {
            read(response);
        }
    });
    return 0;
}
