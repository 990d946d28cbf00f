// Wide text to and from the UTF-8 of schema records.
#pragma once

#include <cstdint>
#include <string>

#include "asn1rt/context.h"

namespace Orvane::ASN1 {

/// The text in UTF-8 in memory from `ctxt`, terminated. Throws `failure` for a character that has no UTF-8 form.
const char* copyUtf8(ASN1CTXT* ctxt, const std::wstring& text, std::int32_t failure);

/// The characters of terminated UTF-8; null reads as empty. Throws `failure` for malformed UTF-8.
std::wstring wideFromUtf8(ASN1CTXT* ctxt, const char* text, std::int32_t failure);

}  // namespace Orvane::ASN1
