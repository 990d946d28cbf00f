// Narrow text to wide and back, and numbers to text. Narrow text is in code page 0 of the Support service, which is
// UTF-8 here; a wide character has 32 bits.
//
//   std::wstring wide = ASN1::towstring("ocsp.example");
//   std::string narrow = ASN1::tostring(wide.c_str());
//
// A text ends at its terminator. Since invalid input becomes U+FFFD, different inputs can give one result: compare the
// inputs where it matters. All throw std::bad_alloc.
#pragma once

#include <string>

#include "export.h"

namespace Orvane::ASN1 {

/// Null counts as empty text. What cannot be converted character by character becomes U+FFFD; when the Support service
/// rejects the whole text, its converted last error is thrown.
TALLOW_EXPORT std::string tostring(const wchar_t* text);
/// The same from 16-bit characters up to the terminator, each converted separately: surrogate pairs are not joined.
TALLOW_EXPORT std::string tostring(const unsigned short* text);
/// Narrow to wide; null and failures as above.
TALLOW_EXPORT std::wstring towstring(const char* text);

/// The number in decimal, with '-' if it is negative, independent of the locale.
TALLOW_EXPORT std::string tostring(int number);
TALLOW_EXPORT std::wstring towstring(int number);

}  // namespace Orvane::ASN1
