#include "client/flat/ocsp_client.h"

#include <cstdlib>

#include "client/request/request.h"
#include "client/response/response.h"
#include "handles/exception.h"
#include "handles/status.h"
#include "message/extensions.h"
#include "platform/crypto/crypto_service.h"

namespace {

using namespace Orvane;
using namespace Orvane::PKI::OCSP;
using namespace Orvane::PKI::OCSP::Client;

// What ocspVerifyResponse returns for every failure that is no verdict.
constexpr std::int32_t kNotVerified = 1;

// No exception leaves a plain function.
template <typename Body>
std::int32_t guarded(Body body) noexcept {
    try {
        return body();
    } catch (const ATL::CAtlException& failure) {
        // A service that fails without a last error is thrown as 0, which would read as success here.
        return failure.status() != 0 ? failure.status() : status::kInternalError;
    } catch (...) {
        return status::kInternalError;
    }
}

// Copies the bytes of a request or response into a block that the caller frees, also when the second step fails.
template <typename Message>
void exportTo(Message& message, unsigned char** bytes, unsigned long* size) {
    message.Export(nullptr, size);
    *bytes = static_cast<unsigned char*>(std::malloc(*size));
    if (*bytes == nullptr) {
        ATL::AtlThrowImpl(status::kInternalError);
    }
    message.Export(*bytes, size);
}

// A responder that refuses to answer makes Send throw. The plain function reports that like an unusable response.
CResponse send(CRequest& request) {
    try {
        return request.Send(false);
    } catch (const ATL::CAtlException& failure) {
        ATL::AtlThrowImpl(failure.status() == status::kNotSuccessful ? status::kInternalError : failure.status());
    }
}

// True when the extensions hold no nonce, or that of the response.
bool nonceFits(const CResponse& response, const CBlob& extensions) {
    ASN1::CExtensions list;
    list.decode(extensions);
    const auto nonce = list.find(kOidNonce);
    return nonce == list.end() ||
           response.VerifyNonce(nonce->get_extnValue().pbData(), nonce->get_extnValue().cbData());
}

std::int32_t verdictOn(const CResponse& response, const _CERT_CONTEXT* cert) {
    void* store = cert->hCertStore;
    const unsigned long index = response.get_SRIndexByCert(cert, nullptr);
    if (index == CResponse::kNoIndex) {
        return status::kNteFail;
    }
    const _CERT_CONTEXT* responder =
        store != nullptr ? response.get_OCSPCertificate(&store, 1) : response.get_OCSPCertificate(nullptr, 0);
    if (const std::int32_t verdict = response.Verify(responder, nullptr); verdict != 0) {
        return verdict;
    }
    if (const std::int32_t verdict = response.VerifyCertificate(responder, false, nullptr, 0); verdict != 0) {
        return verdict;
    }
    if (const std::int32_t verdict = response.VerifySR(index, nullptr, nullptr); verdict != 0) {
        return verdict;
    }
    switch (response.get_SRStatus(index)) {
        case CCertStatus::kUnknown:
            return status::kNoRevocationCheck;
        case CCertStatus::kRevoked:
            return status::kCryptRevoked;
        default:
            return status::kOk;
    }
}

}  // namespace

std::int32_t ocspCreateRequest(const _CERT_CHAIN_CONTEXT* chain, const unsigned char* extensions,
                               unsigned long extensionsSize, unsigned char** request, unsigned long* requestSize) {
    if (chain == nullptr) {
        return status::kNteFail;
    }
    *request = nullptr;
    *requestSize = 0;
    return guarded([&] {
        CRequest built;
        built.put_UseNonce(false);  // so that a nonce among the extensions is taken over
        for (DWORD i = 0; chain->cChain != 0 && i < chain->rgpChain[0]->cElement; ++i) {
            // Always entry 0, and always one more empty entry, so the build below fails at the first empty one. This is
            // kept on purpose: with a correct index the function would return something else to existing callers.
            built.put_SRCertIDFromCert(chain->rgpChain[0]->rgpElement[i]->pCertContext, nullptr, 0, nullptr);
            built.AddSingleRequest();
        }
        if (const auto size = static_cast<std::uint32_t>(extensionsSize); extensions != nullptr && size != 0) {
            ASN1::CExtensions list;
            list.decode(CBlob(extensions, size));
            built.put_AdditionalExtensions(&list);
        }
        exportTo(built, request, requestSize);
        return status::kOk;
    });
}

std::int32_t ocspSendRequest(const unsigned char* request, unsigned long requestSize, unsigned char** response,
                             unsigned long* responseSize) {
    *response = nullptr;
    *responseSize = 0;
    return guarded([&] {
        CRequest imported;
        imported.Import(request, requestSize);
        const CResponse received = send(imported);
        if (received.get_Status() != 0 || received.get_SRStatus(0) >= CCertStatus::kUnknown) {
            return status::kInternalError;
        }
        exportTo(received, response, responseSize);
        return status::kOk;
    });
}

std::int32_t ocspVerifyResponse(const _CERT_CONTEXT* cert, const unsigned char* response, unsigned long responseSize,
                                const unsigned char* extensions, std::uint32_t extensionsSize) {
    try {
        CResponse received;
        received.Import(response, static_cast<std::uint32_t>(responseSize), nullptr);
        if (received.get_Status() != 0 || cert == nullptr) {
            return kNotVerified;
        }
        if (extensions != nullptr && extensionsSize != 0 && !nonceFits(received, CBlob(extensions, extensionsSize))) {
            return status::kNoRevocationCheck;
        }
        return verdictOn(received, cert);
    } catch (...) {
        return kNotVerified;
    }
}
