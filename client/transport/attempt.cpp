// One attempt at one responder: exchange, decoding, the checks of what came back, the handlers, and the record of it.
//
// Level is set before each stage begins, so it names the stage at which a failed attempt ended. Of several failed
// attempts, the one that came closest to an answer is reported (send.cpp).
#include <utility>

#include "asn1/text/text_conversions.h"
#include "client/policy/address_masks.h"
#include "client/policy/address_text.h"
#include "client/policy/response_policy.h"
#include "client/request/request_impl.h"
#include "client/response/response.h"
#include "client/transport/http_exchange.h"
#include "foundation/date_time.h"
#include "foundation/trace.h"
#include "handles/exception.h"
#include "handles/status.h"
#include "platform/crypto/crypto_service.h"

namespace Orvane::PKI::OCSP::Client {

namespace {

constexpr wchar_t kAgent[] = L"Orvane tallow.dll";

// Tracing never changes behaviour: a text that cannot be converted is left out.
std::string narrowForTrace(const std::wstring& address) {
    try {
        return ASN1::tostring(withoutCredentials(address).c_str());
    } catch (...) {
        return {};
    }
}

}  // namespace

void ResponseDelete::operator()(CResponse* response) const noexcept {
    delete response;
}

// A certificate names its responder, but must not bring a login. For a login of the caller, policy decides.
void CRequest::Impl::requirePermittedLogin() const {
    if (!hasCredentials(HTTPParams.OCSPAddress)) {
        return;
    }
    if (!AddressIsNamed) {
        ATL::AtlThrowImpl(status::kAddressHasCredentials);
    }
    if ((permittedAuthSchemes(*Policy, HTTPParams.OCSPAddress.c_str(), false) & CRYPTO_AUTH_ALL) == 0) {
        ATL::AtlThrowImpl(status::kResponderAuthRefused);
    }
}

BOOL CRequest::Impl::onRedirect(void* request, const wchar_t* target, DWORD httpStatus) {
    auto& self = *static_cast<Impl*>(request);
    try {
        self.takeRedirect(target, httpStatus);
        return TRUE;
    } catch (const ATL::CAtlException& refusal) {
        self.Present.hopRefusal = refusal.status();
    } catch (...) {  // no exception may pass through the service, which is C
        self.Present.hopRefusal = status::kFail;
    }
    return FALSE;
}

// Records the address that redirects, and checks the target against policy.
void CRequest::Impl::takeRedirect(const wchar_t* target, DWORD httpStatus) {
    Attempt& redirected = Attempts.emplace_back();
    redirected.kind = kRedirected;
    redirected.address = withoutCredentials(Present.hop.empty() ? HTTPParams.OCSPAddress : Present.hop);
    redirected.status = status::kHttpStatus;
    redirected.stage = AttemptStage::kHttpStatus;
    redirected.httpStatus = httpStatus;
    Present.hop = target;
    checkRedirectPolicies(*Policy, {.ocspAddress = target,
                                    .ocspAuthType = static_cast<long>(HTTPParams.OCSPAuthType),
                                    .proxyAddress = HTTPParams.ProxyAddress.c_str(),
                                    .proxyAuthType = static_cast<long>(HTTPParams.ProxyAuthType)});
}

CBlob CRequest::Impl::exchange() {
    // An address in the administrator's list is trusted like one that the caller names.
    const bool isListed = Policy->AllowedOCSPs.setted() && Policy->AllowedOCSPs.Find(HTTPParams.OCSPAddress.c_str());
    const ResponderRules rules{
        .isNamed = AddressIsNamed || isListed,
        .authSchemes = permittedAuthSchemes(*Policy, HTTPParams.OCSPAddress.c_str(), false),
        .onRedirect = onRedirect,
        .context = this,
    };
    const NetworkCheck check(downloads(), rules);
    const bool allowCache = (Flags & kFlagAllowCache) != 0 && !WireOnly;
    SetLastError(0);  // an error of an earlier call is not one of this attempt
    try {
        CBlob body = IsCacheOff ? SendRequestPastCache(HTTPParams, kAgent, Encoded)
                                : SendRequest(&HTTPParams, kAgent, kOcspHeaders, &Encoded, (Flags & kFlagReserved) != 0,
                                              allowCache, CacheResync, (Flags & kFlagCacheOnly) != 0);
        Present.lastError = GetLastError();
        Present.fromCache = check.answeredFromCache();
        return body;
    } catch (...) {
        Present.lastError = GetLastError();
        throw;
    }
}

CBlob CRequest::Impl::askForBody() {
    Present = Progress();
    Present.skippedDownloads = Check->skippedDownloads();
    Level = AttemptStage::kAddressPolicy;
    CheckPolicies(true);
    requirePermittedLogin();
    Level = AttemptStage::kExchange;
    if (HTTPParams.OCSPAddress.empty()) {
        ATL::AtlThrowImpl(status::kNoResponder);
    }
    TALLOW_TRACE("SendOCSPRequest", "Sending request to \"%s\"...\n", narrowForTrace(HTTPParams.OCSPAddress).c_str());
    CBlob body = exchange();
    Level = AttemptStage::kHttpStatus;
    if (HTTPParams.HTTPStatus != kHttpOk) {
        TALLOW_TRACE("SendOCSPRequest", "HTTP STATUS: %lu\n", HTTPParams.HTTPStatus);
        ATL::AtlThrowImpl(status::kHttpStatus);
    }
    return body;
}

void CRequest::Impl::SendOCSPRequest() {
    importReceived(askForBody());
    Level = AttemptStage::kResponseStatus;
    if (Response->get_Status() != 0) {
        ATL::AtlThrowImpl(status::kNotSuccessful);
    }
    Level = AttemptStage::kProducedAt;
    checkProducedAt();
    Level = AttemptStage::kVerification;
    checkThisUpdates();
}

void CRequest::Impl::importReceived(CBlob body) {
    // The new response is made before the old one is deleted: if memory runs out, the old one stays, which the walk may
    // have to return.
    auto fresh = std::make_unique<CResponse>();
    ResponseBytes = std::move(body);
    Response.reset(fresh.release());
    Level = AttemptStage::kDecoding;
    ImportingResponse = true;
    Response->importFor(Owner, ResponseBytes.pbData(), ResponseBytes.cbData(), true);
    ImportingResponse = false;
    Response->put_CacheResync(CacheResync);
}

// A nonce on either side proves freshness better than a clock, so the window is checked only without one.
void CRequest::Impl::checkProducedAt() const {
    const long accuracy = Policy->ResponseAccuracy;
    if (Response->get_HasNonce() || Nonce.cbData() != 0 || accuracy == 0 || DisableProducedAtCheck) {
        return;
    }
    const CDateTime now = CDateTime::Now();
    // The product is taken in 32 bits, so above 429496 milliseconds the window wraps to a smaller one.
    const CDateTimeSpan window(0, static_cast<unsigned int>(accuracy) * 1000U);
    const CDateTime producedAt = Response->get_ProducedAt();
    if (producedAt < now - window || producedAt > now + window) {
        ATL::AtlThrowImpl(status::kNotCurrent);
    }
}

// A missing entry is no failure here: verifying the response reports it.
void CRequest::Impl::checkThisUpdates() const {
    for (const CCertID& asked : SRCertIDs) {
        const unsigned long index = Response->get_SRIndexByCertID(asked);
        if (index == CResponse::kNoIndex || Response->get_SRHistoricalRequest(index) != nullptr) {
            continue;
        }
        const CDateTime limit =
            thisUpdateLimit(Policy->ThisUpdateAccuracy, Policy->ThisUpdateAccuracyUnits, CDateTime::Now());
        if (Response->get_SRThisUpdate(index) < limit) {
            ATL::AtlThrowImpl(status::kThisUpdateTooOld);
        }
    }
}

// ---- The outcome of an attempt --------------------------------------------------------------------------------------

template <typename Step>
void CRequest::Impl::recordFailureOf(Step step) {
    try {
        step();
    } catch (const ATL::CAtlException& failure) {
        recordAttempt(failure.status());
        throw;
    } catch (...) {
        recordAttempt(status::kFail);
        throw;
    }
}

CBlob CRequest::Impl::askForBodyRecorded() {
    CBlob body;
    recordFailureOf([&] { body = askForBody(); });
    return body;
}

void CRequest::Impl::attemptDirectly() {
    recordFailureOf([this] { SendOCSPRequest(); });
}

std::int32_t CRequest::Impl::attempt() {
    // "%S" is what the trace service takes for wide text; as a printf format it is an extension.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"
    TALLOW_TRACE("Send", "Sending request to \"%S\"...\n", withoutCredentials(HTTPParams.OCSPAddress).c_str());
#pragma GCC diagnostic pop
    try {
        SendOCSPRequest();
    } catch (const ATL::CAtlException& failure) {
        TALLOW_TRACE("Send", "Error occurred: 0x%X. Level: %lu\n", static_cast<unsigned int>(failure.status()),
                     static_cast<unsigned long>(Level));
        // Policy that is read anew for each response and cannot be read throws a positive number.
        return failure.status() < 0 ? failure.status() : status::kFail;
    } catch (...) {
        TALLOW_TRACE("Send", "Unknown error occurred. Level: %lu\n", static_cast<unsigned long>(Level));
        return status::kFail;
    }
    return 0;
}

std::int32_t CRequest::Impl::askHandlers(bool verify) {
    std::int32_t refusal = 0;
    recordFailureOf([&] {
        refusal = verify ? VerifyingHandler.OnResponse(*Response) : 0;
        if (refusal == 0 && ResponseHandler != nullptr) {
            refusal = ResponseHandler->OnResponse(*Response);
        }
    });
    recordAttempt(refusal);
    Proven = verify && refusal == 0;
    return refusal;
}

void CRequest::Impl::recordAttempt(std::int32_t outcome) {
    const bool wasHopRefused = Present.hopRefusal != 0;
    Attempt& attempt = Attempts.emplace_back();
    attempt.address = withoutCredentials(Present.hop.empty() ? HTTPParams.OCSPAddress : Present.hop);
    attempt.status = wasHopRefused ? Present.hopRefusal : outcome;
    attempt.stage = wasHopRefused ? AttemptStage::kAddressPolicy : Level;
    // Until the exchange has ended, HTTPStatus is still that of the exchange before.
    const bool answered = Level > AttemptStage::kExchange && HTTPParams.HTTPStatus != kHttpNoAnswer;
    attempt.httpStatus = answered ? HTTPParams.HTTPStatus : 0;
    attempt.lastError = attempt.httpStatus == 0 ? Present.lastError : 0;
    attempt.fromCache = Present.fromCache;
    attempt.skippedDownloads = Check->skippedDownloads() - Present.skippedDownloads;
}

void CRequest::Impl::recordSkipped(const wchar_t* address) {
    Attempt& skipped = Attempts.emplace_back();
    skipped.kind = kSkipped;
    skipped.address = withoutCredentials(address);
    skipped.status = status::kNotAsked;
    TALLOW_TRACE("Send", "Not asked, the limits of one check were reached.\n");
}

// "Revoked" is a verified answer and stays in the cache. A revocation status that could not be established says nothing
// against the answer, so it stays too, but a fresh one may have another signer.
bool CRequest::Impl::forgetRefusedAnswer(std::int32_t outcome) const {
    if (outcome == status::kOk || Level < AttemptStage::kDecoding || outcome == status::kCertificateRevoked ||
        outcome == status::kHandlerRevoked) {
        return false;
    }
    if (outcome != status::kNoRevocationCheck && outcome != status::kRevocationOffline) {
        forgetCachedAnswer(HTTPParams, Encoded);
    }
    return Present.fromCache && (Flags & kFlagCacheOnly) == 0;
}

}  // namespace Orvane::PKI::OCSP::Client
