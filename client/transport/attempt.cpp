// One attempt at one responder: exchange, decoding, and the checks of what came back.
//
// Level counts the stages, so that of several failed attempts the one that came closest to an answer is reported:
// 1 address policy, 2 exchange, 3 HTTP status, 4 decoding, 5 response status, 6 producedAt, 7 thisUpdate and beyond.
#include <utility>

#include "asn1/text_conversions.h"
#include "client/policy/response_policy.h"
#include "client/request/request_impl.h"
#include "client/transport/http_exchange.h"
#include "foundation/date_time.h"
#include "foundation/trace.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane::PKI::OCSP::Client {

namespace {

constexpr wchar_t kAgent[] = L"Orvane tallow.dll";

// Tracing never changes behaviour: a text that does not convert is left out of the line.
std::string narrowForTrace(std::wstring const& text) {
    try {
        return ASN1::tostring(text.c_str());
    } catch (...) {
        return {};
    }
}

}  // namespace

void CRequest::Impl::SendOCSPRequest() {
    Level = 1;
    CheckPolicies(true);
    Level = 2;
    if (HTTPParams.OCSPAddress.empty()) {
        ATL::AtlThrowImpl(status::kNoResponder);
    }
    TALLOW_TRACE("SendOCSPRequest", "Sending request to \"%s\"...\n", narrowForTrace(HTTPParams.OCSPAddress).c_str());
    CBlob body = SendRequest(&HTTPParams, kAgent, kOcspHeaders, &Encoded, (Flags & kFlagReserved) != 0,
                             (Flags & kFlagAllowCache) != 0, CacheResync, (Flags & kFlagCacheOnly) != 0);
    Level = 3;
    if (HTTPParams.HTTPStatus != 200) {
        TALLOW_TRACE("SendOCSPRequest", "HTTP STATUS: %lu\n", HTTPParams.HTTPStatus);
        ATL::AtlThrowImpl(status::kHttpStatus);
    }
    ResponseBytes = std::move(body);
    Response.reset();
    Response = std::make_unique<CResponse>();
    Level = 4;
    // Stays raised when the import throws, until the next import succeeds.
    ImportingResponse = true;
    Response->Import(ResponseBytes.pbData(), ResponseBytes.cbData(), &Owner);
    ImportingResponse = false;
    Response->put_CacheResync(CacheResync);
    Level = 5;
    if (Response->get_Status() != 0) {
        ATL::AtlThrowImpl(status::kNotSuccessful);
    }
    Level = 6;
    checkProducedAt();
    Level = 7;
    checkThisUpdates();
}

// A nonce, asked or answered, proves freshness better than a clock: the window counts only without one.
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

// An entry that the response does not contain is no failure here: whoever verifies the response reports it.
void CRequest::Impl::checkThisUpdates() const {
    for (CCertID const& asked : SRCertIDs) {
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

}  // namespace Orvane::PKI::OCSP::Client
