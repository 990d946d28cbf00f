// The HTTP status codes that the services tell apart (RFC 9110, section 15).
#pragma once

namespace tallow::platform {

enum HttpStatus : long {
    kOk = 200,
    kMovedPermanently = 301,
    kFound = 302,
    kSeeOther = 303,
    kTemporaryRedirect = 307,
    kPermanentRedirect = 308,
    kUnauthorized = 401,
    kForbidden = 403,
    kNotFound = 404,
    kProxyAuthenticationRequired = 407,
    kRequestTimeout = 408,
    kGone = 410,
    kBadGateway = 502,
    kServiceUnavailable = 503,
    kGatewayTimeout = 504,
};

}  // namespace tallow::platform
