// The extensions of CRLs and of their entries (RFC 5280, sections 5.2 and 5.3).
#pragma once

#include <vector>

#include "platform/crypto/certificates/crl.h"

namespace tallow::platform {

struct CrlExtension {
    ByteView oid;  // content octets
    bool critical = false;
    ByteView value;
};

struct EntryExtensions {
    std::uint8_t reason = 0;
    ByteView issuer;  // GeneralNames; empty when the entry does not name an issuer
};

// Reads the content of an Extensions value. False when malformed. An empty list, one of more than 32, and one with an
// identifier twice are defects, as are the faults found by the other functions; the first one stays in `defect`.
bool readCrlExtensions(ByteView content, std::vector<CrlExtension>& extensions, const char*& defect);

// Fills the fields of `crl` that come from its extensions. `crl.issuer` must be set before.
void applyCrlExtensions(const std::vector<CrlExtension>& extensions, Crl& crl);

EntryExtensions readEntryExtensions(const std::vector<CrlExtension>& extensions, const char*& defect);

}  // namespace tallow::platform
