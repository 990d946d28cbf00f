// One exchange with a responder over HTTP, through the Crypto service.
#pragma once

#include "client/request/win_http_params.h"
#include "foundation/blob.h"

namespace Orvane::PKI::OCSP::Client {

inline constexpr wchar_t kOcspHeaders[] = L"Content-type: application/ocsp-request";

inline constexpr unsigned long kHttpOk = 200;

/// What HTTPStatus shows when a cached exchange was tried and no answer came.
inline constexpr unsigned long kHttpNoAnswer = 456;

/// Sends `request` to `params->OCSPAddress` and returns the body of the answer. Two ways lead there: the service's URL
/// retrieval, which can answer from its cache and is taken when the setting OcspValiditySeconds asks for a cache, no
/// proxy is named and `headers` are kOcspHeaders; and its plain exchange, the only one that can use a proxy. The status
/// goes into `params->HTTPStatus`; a status other than 200 is no failure here, and the body is what came.
///
/// `allowCache`: an answer may come from the cache. `cacheOnly`: nothing goes to the network; without a cache the
/// result is empty and HTTPStatus stays as it was. `cacheResync`: what was cached before is not used; null for any age.
/// `ignored` is read by nothing. Throws the converted last error when the URL cannot be made, kInvalidData for an
/// answer of other than one block.
CBlob SendRequest(WinHTTPParams* params, const wchar_t* agent, const wchar_t* headers, const CBlob* request,
                  bool ignored, bool allowCache, _FILETIME* cacheResync, bool cacheOnly);

/// Removes what the service's cache keeps as the answer to `request`, if SendRequest goes there at all.
void forgetCachedAnswer(const WinHTTPParams& params, const CBlob& request);

}  // namespace Orvane::PKI::OCSP::Client
