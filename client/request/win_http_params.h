// The connection parameters of a request.
#pragma once

#include <string>

#include "client/request/request.h"

namespace Orvane::PKI::OCSP::Client {

struct WinHTTPParams {
    std::wstring OCSPAddress;
    enumAuthTypes OCSPAuthType = kAuthAnonymous;       // only policy checks read it
    std::wstring OCSPUserName;                         // kept and copied; nothing sends it
    std::wstring OCSPPassword;                         // kept and copied; nothing sends it
    const _CERT_CONTEXT* ClientCertificate = nullptr;  // owned by the request's ClientCertificate; nothing sends it
    std::wstring ProxyAddress;                         // used when not empty
    bool ProxyAddressSet = false;
    std::wstring ReservedText1;
    enumAuthTypes ProxyAuthType = kAuthAnonymous;  // only policy checks read it
    std::wstring ProxyUserName;
    std::wstring ProxyPassword;
    unsigned long HTTPStatus = 0;
    // The three reserved members keep the layout that copies of older records have; nothing reads them.
    bool ReservedFlag = true;
    std::wstring ReservedText2;
};

}  // namespace Orvane::PKI::OCSP::Client
