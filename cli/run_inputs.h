// The inputs that all checks of one run share: settings, trusted roots, more certificates and CRLs, issuer, hash.
#pragma once

#include <string>

#include "cli/options.h"
#include "client/request/request.h"
#include "handles/cert_context.h"
#include "handles/cert_store.h"

namespace tallow::cli {

class RunInputs {
public:
    /// Opens the settings and reads every file that an option names. Throws InputError for an unusable one.
    explicit RunInputs(const RunOptions& options);

    /// Store handle of the certificates and CRLs of this run; owned by this object.
    void* store() const { return extra_.get(); }

    void add(const ATL2::CCertContext& certificate);

    /// The given issuer, or the certificate of the run whose key signed `certificate`; empty when there is neither.
    ATL2::CCertContext issuerOf(const _CERT_CONTEXT* certificate) const;

    /// Throws InputError when an issuer is given that is not proven to have signed `certificate`: a responder would
    /// answer about another certificate, the one of that issuer with the same serial number.
    void requireIssuer(const _CERT_CONTEXT* certificate) const;

    /// Names the certificate in the first entry of the request, by its issuer and with the hash of this run. Returns
    /// the issuer: that of issuerOf, else one from the stores or the network. Throws InputError when the given issuer
    /// is not proven to have signed it, kNoSigner when no issuer is found, and what the request throws.
    ATL2::CCertContext name(Orvane::PKI::OCSP::Client::CRequest& request, const _CERT_CONTEXT* certificate) const;

private:
    ATL2::CCertStore extra_;
    ATL2::CCertContext issuer_;
    std::string hashOid_;
};

/// Opens the settings file and the trace that the options name. Throws InputError for a file that cannot be used.
void openSettings(const RunOptions& options);

/// Imports the content of the file `path`. Throws InputError when it is no request.
void importRequest(Orvane::PKI::OCSP::Client::CRequest& request, const Orvane::CBlob& bytes, const std::string& path);

/// The whole DER request, built if needed.
Orvane::CBlob exported(Orvane::PKI::OCSP::Client::CRequest& request);

/// The mistake in the settings file, with line and column; empty when there is none. A value of the wrong type is found
/// when it is read.
std::string settingsMistake();

}  // namespace tallow::cli
