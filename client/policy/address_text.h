// Addresses as text: what messages may show of them, and in which form two of them are compared.
#pragma once

#include <string>
#include <string_view>

#include "export.h"

namespace Orvane::PKI::OCSP::Client {

/// The address as messages, results and traces may show it: everything that could be a user name or password, up to the
/// last "@", is replaced by "***". Works on texts that are no valid address too, and never shows too much: an "@" in a
/// path hides the host.
[[nodiscard]] std::wstring withoutCredentials(std::wstring_view address);

/// Whether a user name or password precedes the host, also in an address that is not well-formed. An "@" in the path
/// or query does not count.
[[nodiscard]] bool hasCredentials(std::wstring_view address);

/// One form for all spellings of an address, for comparing two of them: the address with scheme and host in lower case,
/// without a default port, a dot after the host or a fragment, and with
/// "/" for an empty path. A text of another form comes back as it is.
[[nodiscard]] std::wstring normalForm(std::wstring_view address);

}  // namespace Orvane::PKI::OCSP::Client
