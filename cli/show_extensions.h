// Extensions as shown fields: those of OCSP by name and with their values, others in hexadecimal.
#pragma once

#include "asn1/extensions/extensions.h"
#include "cli/shown.h"

namespace tallow::cli {

Shown showExtensions(const char* field, const Orvane::ASN1::CExtensions& extensions);

}  // namespace tallow::cli
