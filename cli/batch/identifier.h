// A certificate that is known only by its identifier: two hashes of its issuer, and its serial number (CertID, RFC
// 6960, section 4.1.1).
#pragma once

#include <map>
#include <optional>
#include <string>

#include "checker/checker.h"
#include "handles/cert_context.h"

namespace tallow::cli {

struct Identifier {
    std::string hash;                                   // name or OID of the algorithm, as the list says
    std::string issuerNameHash, issuerKeyHash, serial;  // hexadecimal
};

/// The members "hash", "issuerNameHash", "issuerKeyHash" and "serial" of a line or job; nothing when it has none of
/// them. Throws InputError, beginning with `label`, when they are no identifier, or a certificate is given as well.
std::optional<Identifier> identifierIn(std::map<std::string, std::string>& members, const std::string& label);

/// Whether the hashes are those of this certificate.
bool isIssuer(const ATL2::CCertContext& issuer, const Identifier& identifier);

/// As Checker::checkIdentifier takes it.
ReceivedRequest::Asked askedOf(const Identifier& identifier);

}  // namespace tallow::cli
