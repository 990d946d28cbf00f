// The policy flags of the process: whether it has one policy or one for each object, and whether responders named in
// the properties of an issuer are asked.
#pragma once

#include "export.h"

/// 1 when the setting LegacyPolicyReading asks for a policy per object, else 0. The first call in the process reads the
/// setting; a failure to read it means 0 for the rest of the process. Any thread may call.
extern "C" TALLOW_EXPORT int IsLegacyPolicyReading() noexcept;

namespace Orvane::PKI::OCSP::Client {

/// False when the setting IssuerPropAIADisabled forbids to ask responders named in the issuer certificate's properties.
/// Read once per process; true when it cannot be read. Any thread may call.
[[nodiscard]] TALLOW_EXPORT bool IssuerPropAIAEnabled() noexcept;

}  // namespace Orvane::PKI::OCSP::Client
