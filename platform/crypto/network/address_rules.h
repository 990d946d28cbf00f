// Which network addresses an exchange may contact when neither the caller nor the policy named them.
//
// A certificate is untrusted input: its addresses could point into the network of the machine that checks it. The rules
// hold for the address that a name resolves to, so a harmless name does not get around them.
#pragma once

#include <sys/socket.h>

#include <string>

namespace tallow::platform {

enum class AddressClass {
    kPublic,
    kPrivate,  // loopback, RFC 1918, carrier-grade NAT (RFC 6598), unique local and site-local IPv6
    kSpecial,  // unspecified, link-local, multicast, broadcast, reserved: no responder can have one of these
};

// The class of an IPv4 or IPv6 address; kSpecial for any other family. An IPv6 address that carries an IPv4 address
// (mapped, compatible, NAT64, 6to4, Teredo) has the stricter of both classes.
AddressClass classOf(const sockaddr& address) noexcept;

// The class of a host as it appears in a URL: an address in text form (IPv6 in brackets) or "localhost". kPublic for
// other names: what they resolve to is not known here.
AddressClass classOfHost(const std::string& host);

}  // namespace tallow::platform
