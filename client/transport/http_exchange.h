// One exchange with a responder over HTTP, through the Crypto service.
#pragma once

#include "client/request/win_http_params.h"
#include "foundation/blob.h"

namespace Orvane::PKI::OCSP::Client {

inline constexpr wchar_t kOcspHeaders[] = L"Content-type: application/ocsp-request";

inline constexpr unsigned long kHttpOk = 200;

/// What HTTPStatus shows when a cached exchange was tried and no answer came.
inline constexpr unsigned long kHttpNoAnswer = 456;

/// Sends `request` to `params->OCSPAddress` and returns the body of the answer. It uses the service's URL retrieval,
/// which can answer from its cache, when the setting OcspValiditySeconds enables the cache, no proxy is set and
/// `headers` are kOcspHeaders; otherwise the service's plain exchange, the only one that can use a proxy. The HTTP
/// status is written to `params->HTTPStatus`; a status other than 200 is no failure here, and the body is returned as
/// received.
///
/// `allowCache`: an answer may come from the cache. `cacheOnly`: the network is not used; without a cache the
/// result is empty and HTTPStatus stays as it was. `cacheResync`: what was cached before is not used; null for any age.
/// `ignored` is read by nothing. Throws the converted last error when the URL cannot be made, kInvalidData for an
/// answer of other than one block.
CBlob SendRequest(WinHTTPParams* params, const wchar_t* agent, const wchar_t* headers, const CBlob* request,
                  bool ignored, bool allowCache, _FILETIME* cacheResync, bool cacheOnly);

/// The plain exchange, whatever the settings say about the cache.
CBlob SendRequestPastCache(WinHTTPParams& params, const wchar_t* agent, const CBlob& request);

/// Removes the answer to `request` from the service's cache, if SendRequest uses the cache.
void forgetCachedAnswer(const WinHTTPParams& params, const CBlob& request);

}  // namespace Orvane::PKI::OCSP::Client
