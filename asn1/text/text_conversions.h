// Narrow text to wide and back by code page 0, which is UTF-8 here, and numbers to text.
#pragma once

#include <string>

#include "export.h"

namespace Orvane::ASN1 {

/// Null counts as empty text. A text that does not convert throws the converted last error of the Support service.
TALLOW_EXPORT std::string tostring(const wchar_t* text);
/// The same from 16-bit characters, each widened by itself.
TALLOW_EXPORT std::string tostring(const unsigned short* text);
TALLOW_EXPORT std::wstring towstring(const char* text);

/// The number in decimal.
TALLOW_EXPORT std::string tostring(int number);
TALLOW_EXPORT std::wstring towstring(int number);

}  // namespace Orvane::ASN1
