// Keeps a response for a server that staples it (RFC 6066, section 8).
//
//   std::jthread keeper([&](std::stop_token stop) {
//       try {
//           tallow::keepStapled(checker, certificate, issuer, stop,
//                               [&](const tallow::Bytes& staple, const tallow::Verdict&) { server.setStaple(staple);
//                               });
//       } catch (const tallow::BadInput& mistake) {
//           log(mistake.what());
//       }
//   });
#pragma once

#include <functional>
#include <stop_token>

#include "checker/checker.h"
#include "export.h"

namespace tallow {

/// Calls `use` with verified good responses until `stop`, on this thread: at once, then halfway through each validity
/// period, and after failures with delays that grow from 30 seconds to an hour. `use` gets an empty response when there
/// is none at first, when the last one expired, and when the certificate is no longer good; `last` says why. The octets
/// passed live for the call only. What `use` throws ends the function. Throws BadInput for certificates that cannot be
/// read. The certificates must stay valid until it returns.
TALLOW_EXPORT void keepStapled(const Checker& checker, Input certificate, Input issuer, const std::stop_token& stop,
                               const std::function<void(const Bytes& staple, const Verdict& last)>& use);

}  // namespace tallow
