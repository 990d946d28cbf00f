// Text from certificates, responders and file names is anybody's: made safe before a person or a program sees it.
#pragma once

#include <string>
#include <string_view>

namespace tallow::cli {

/// UTF-8 of a wide text; what is no code point becomes U+FFFD.
std::string utf8(std::wstring_view text);
/// Wide text of UTF-8; what is no UTF-8 becomes U+FFFD.
std::wstring wide(std::string_view text);

/// A URL without the user name and password it may carry: "http://***@host/". Errs on the safe side: what precedes the
/// last '@' is hidden, also where the text is not a proper URL.
std::string withoutLogin(std::string_view url);

/// One line for a terminal: valid UTF-8, with control characters, line breaks of every kind and the characters that
/// turn the direction of writing written as \u{XX}.
std::string safeLine(std::string_view text);

}  // namespace tallow::cli
