// The inputs that all checks of one run share: settings, trusted roots, more certificates and CRLs, issuer, hash.
#pragma once

#include <string>
#include <vector>

#include "checker/checker.h"
#include "cli/options.h"
#include "foundation/blob.h"
#include "handles/cert_context.h"

namespace tallow::cli {

class RunInputs {
public:
    /// Opens the settings and reads every file that an option names. Throws InputError for an unusable one.
    explicit RunInputs(const RunOptions& options);

    /// The machine's trust with the roots, certificates and CRLs of the options.
    const Trust& trust() const { return trust_; }
    /// The given issuer in DER; empty when none was given. Of several in its file the one that the certificate names,
    /// else the first.
    Input issuerOf(const ATL2::CCertContext& certificate) const;
    /// The same for a certificate in DER; empty as well when it cannot be read.
    Input issuerOf(Input der) const;
    /// Dotted text; empty when no hash was given.
    const std::string& hashOid() const { return hashOid_; }
    /// Stands for the contents of all files that the options name, whatever their names are.
    const std::string& fingerprint() const { return fingerprint_; }

    /// More certificates for chains, and CRLs in DER.
    void add(const std::vector<ATL2::CCertContext>& certificates, const std::vector<std::string>& crls);
    /// A certificate in DER for issuers and chains, never a root. Throws BadInput.
    void addCertificate(Input der) { trust_.addCertificates(der); }

private:
    void note(const char* option, const std::vector<ATL2::CCertContext>& certificates,
              const std::vector<std::string>& crls);

    std::string fingerprint_;
    Trust trust_ = Trust::system();
    std::vector<ATL2::CCertContext> issuers_;
    std::string hashOid_;
};

/// Opens the settings file and the trace that the options name. Throws InputError for a file that cannot be used. Keys
/// that have no effect are reported in one line on standard error, once in a run.
void openSettings(const RunOptions& options);
/// The same without that line.
void openSettingsFile(const RunOptions& options);

/// How many certificates a request asks about. Throws InputError, with its path, for octets that are no request.
unsigned long requireRequest(const Orvane::CBlob& bytes, const std::string& path);

/// The encoding of a certificate; valid as long as the certificate.
Input encodingOf(const ATL2::CCertContext& certificate);

/// The certificate among these that issued this one, else one with the issuer's name, else the first; empty for none.
Input issuerAmong(const std::vector<ATL2::CCertContext>& issuers, const ATL2::CCertContext& certificate);

/// Adds the certificate in PEM. Each addition to a Trust copies it, so that many are added at once, as one text.
void appendPem(std::string& text, const ATL2::CCertContext& certificate);

/// The name of a hash as the service knows it, "sha256", of what people write: "SHA-256".
std::string plainHashName(const std::string& name);

/// The mistake in the settings file, with line and column; empty when there is none. A value of the wrong type is found
/// when it is read.
std::string settingsMistake();

}  // namespace tallow::cli
