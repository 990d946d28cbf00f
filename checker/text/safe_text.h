// Makes untrusted text from certificates, responders and file names safe to print.
#pragma once

#include <string>
#include <string_view>

#include "export.h"

namespace tallow::text {

/// UTF-8 of a wide text; invalid code points become U+FFFD.
TALLOW_EXPORT std::string utf8(std::wstring_view text);
/// Wide text of UTF-8; invalid octets become U+FFFD.
TALLOW_EXPORT std::wstring wide(std::string_view text);

/// A URL without its user name and password: "http://***@host/". Everything before the last '@' is hidden, even when
/// the text is not a valid URL.
TALLOW_EXPORT std::string withoutLogin(std::string_view url);

/// The same as one line for a terminal.
std::string safeUrl(std::string_view url);

/// One line for a terminal: valid UTF-8, with control characters, all line breaks, bidirectional control characters and
/// characters that look like blanks or nothing (other than spaces) as \u{XX}.
TALLOW_EXPORT std::string safeLine(std::string_view text);

}  // namespace tallow::text
