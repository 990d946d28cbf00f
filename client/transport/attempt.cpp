// One attempt at one responder: exchange, decoding, and the checks of what came back.
//
// Level counts the stages, so that of several failed attempts the one that came closest to an answer is reported:
// 1 address policy, 2 exchange, 3 HTTP status, 4 decoding, 5 response status, 6 producedAt, 7 thisUpdate and beyond.
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

// Tracing never changes behaviour: a text that does not convert is left out of the line.
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

// A certificate says where its responder is, not how to log in there. A login of the caller's is for policy to permit.
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
    } catch (...) {  // the service is C: nothing may be thrown through it
        self.Present.hopRefusal = status::kFail;
    }
    return FALSE;
}

// Records the address that redirects, and holds policy against the one it leads to.
void CRequest::Impl::takeRedirect(const wchar_t* target, DWORD httpStatus) {
    Attempt& redirected = Attempts.emplace_back();
    redirected.kind = kRedirected;
    redirected.address = withoutCredentials(Present.hop.empty() ? HTTPParams.OCSPAddress : Present.hop);
    redirected.status = status::kHttpStatus;
    redirected.level = 3;
    redirected.httpStatus = httpStatus;
    Present.hop = target;
    checkRedirectPolicies(*Policy, {.ocspAddress = target,
                                    .ocspAuthType = static_cast<long>(HTTPParams.OCSPAuthType),
                                    .proxyAddress = HTTPParams.ProxyAddress.c_str(),
                                    .proxyAuthType = static_cast<long>(HTTPParams.ProxyAuthType)});
}

CBlob CRequest::Impl::exchange() {
    // An address that the administrator lists is as good as one that the caller names.
    const bool isListed = Policy->AllowedOCSPs.setted() && Policy->AllowedOCSPs.Find(HTTPParams.OCSPAddress.c_str());
    const ResponderRules rules{
        .isNamed = AddressIsNamed || isListed,
        .authSchemes = permittedAuthSchemes(*Policy, HTTPParams.OCSPAddress.c_str(), false),
        .onRedirect = onRedirect,
        .context = this,
    };
    const NetworkCheck check(downloads(), rules);
    const bool allowCache = (Flags & kFlagAllowCache) != 0 && !WireOnly;
    SetLastError(0);  // what an earlier call left is no error of this attempt
    try {
        CBlob body = SendRequest(&HTTPParams, kAgent, kOcspHeaders, &Encoded, (Flags & kFlagReserved) != 0, allowCache,
                                 CacheResync, (Flags & kFlagCacheOnly) != 0);
        Present.lastError = GetLastError();
        Present.fromCache = check.answeredFromCache();
        return body;
    } catch (...) {
        Present.lastError = GetLastError();
        throw;
    }
}

void CRequest::Impl::SendOCSPRequest() {
    Present = Progress();
    Present.skippedDownloads = Check->skippedDownloads();
    Level = 1;
    CheckPolicies(true);
    requirePermittedLogin();
    Level = 2;
    if (HTTPParams.OCSPAddress.empty()) {
        ATL::AtlThrowImpl(status::kNoResponder);
    }
    TALLOW_TRACE("SendOCSPRequest", "Sending request to \"%s\"...\n", narrowForTrace(HTTPParams.OCSPAddress).c_str());
    CBlob body = exchange();
    Level = 3;
    if (HTTPParams.HTTPStatus != 200) {
        TALLOW_TRACE("SendOCSPRequest", "HTTP STATUS: %lu\n", HTTPParams.HTTPStatus);
        ATL::AtlThrowImpl(status::kHttpStatus);
    }
    // The new response is there before the old one goes: without the resources for it the old one stays, which the walk
    // may have to return.
    auto fresh = std::make_unique<CResponse>();
    ResponseBytes = std::move(body);
    Response.reset(fresh.release());
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

}  // namespace Orvane::PKI::OCSP::Client
