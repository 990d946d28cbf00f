// The identifiers under which certificates say where their responders are (RFC 5280, 4.2.2.1).
#pragma once

namespace Orvane::PKI::OCSP::Client {

inline constexpr char kOidAuthorityInfoAccess[] = "1.3.6.1.5.5.7.1.1";
inline constexpr char kOidAccessMethodOcsp[] = "1.3.6.1.5.5.7.48.1";

}  // namespace Orvane::PKI::OCSP::Client
