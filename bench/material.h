// What all contenders use: roots, certificates, responses, and any number of responders that no contender has seen.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "foundation/blob.h"
#include "tests/support/bytes.h"
#include "tests/support/ocsp_builder.h"
#include "tests/support/pki.h"
#include "tests/support/settings_file.h"
#include "tests/support/temp_dir.h"

namespace bench {

using testkit::Bytes;
using testkit::KeyKind;

/// A root, a certificate under it and a delegated responder with the no-check extension, all with keys of one kind.
struct Pki {
    KeyKind kind;
    testkit::Identity root;
    testkit::Identity leaf;
    testkit::Identity responder;

    /// kRsa2048 or kEcP256; made on first use.
    static const Pki& of(KeyKind kind);

    /// A further responder, with a key and a certificate of its own.
    testkit::Identity freshResponder() const;
    /// Certificates of further responders.
    std::vector<Bytes> freshCertificates(std::size_t count) const;
};

/// Entries of a response: the last one is about the leaf.
std::vector<testkit::EntrySpec> entriesOf(const Pki& pki, unsigned count);

/// An OCSPResponse by `signer`, with its certificate unless `includeSigner` is false.
Bytes responseOf(const testkit::Identity& signer, std::vector<testkit::EntrySpec> entries, bool includeSigner = true);

/// While it exists, the library uses only this root, and this CRL, and a cache of its own.
class Machine {
public:
    explicit Machine(const testkit::Identity& root, const std::optional<Bytes>& crl = std::nullopt);

    std::string file(const std::string& name) const { return folder_.file(name); }
    const testkit::TempDir& folder() const { return folder_; }
    const std::string& settings() const { return settings_.path(); }

private:
    testkit::TempDir folder_;
    testkit::SettingsFile settings_;
};

inline Orvane::CBlob blob(const Bytes& bytes) {
    return {bytes.data(), bytes.size()};
}

}  // namespace bench
