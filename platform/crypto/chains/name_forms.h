// Whether names can be compared with name constraints (RFC 5280 section 4.2.1.10). OpenSSL compares the text unchanged,
// while the software that later connects to the name uses its own parser: a final dot, user information, an escape or a
// quote would make them see two names. If a CA above constrains names of a kind, names of that kind must therefore have
// the plain form, which all software reads alike.
#pragma once

#include "platform/crypto/certificates/certificate.h"

namespace tallow::platform {

// Kinds of names, as bits 1 << GEN_... of OpenSSL: mail addresses, DNS names, URIs and IP addresses.
struct ConstrainedKinds {
    unsigned any = 0;       // with a constraint
    unsigned unusable = 0;  // with one that cannot be compared: no name of the kind can be shown to keep to it
};

// Adds the kinds that the name constraints of a CA limit.
void addConstrainedKinds(const Certificate& ca, ConstrainedKinds& kinds);

// Whether the subject alternative names and the mail addresses in the subject that are of a constrained kind can be
// compared:
//
//   DNS    labels of letters, digits, '-' and '_', without a final dot; the first label may be '*'
//   URI    a scheme, "//", a host as above that is no wildcard and no IP address, perhaps a port, then '/' or the end
//   mail   one '@' with a local part that needs no quotes and a host as above
//   IP     not an IPv4 address that is written as an IPv6 one
bool areNamesComparable(const Certificate& certificate, const ConstrainedKinds& kinds);

}  // namespace tallow::platform
