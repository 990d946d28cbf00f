// What all checks of one run share: settings, trusted roots, further certificates and CRLs, the issuer, the hash.
#pragma once

#include <string>

#include "cli/options.h"
#include "client/request/request.h"
#include "handles/cert_context.h"
#include "handles/cert_store.h"

namespace tallow::cli {

class RunInputs {
public:
    /// Opens the settings and reads every file named by an option. Throws InputError for one that cannot be used.
    explicit RunInputs(const RunOptions& options);

    /// Store handle of the certificates and CRLs of this run; owned by this object.
    void* store() const { return extra_.get(); }

    void add(const ATL2::CCertContext& certificate);

    /// The issuer given, or the one among the certificates of the run whose key signed `certificate`; empty when there
    /// is neither.
    ATL2::CCertContext issuerOf(const _CERT_CONTEXT* certificate) const;

    /// Throws InputError unless the issuer given, if one was given, is proven to have signed `certificate`: a responder
    /// would speak about a certificate of that issuer with the same serial number, and that is another one.
    void requireIssuer(const _CERT_CONTEXT* certificate) const;

    /// Names the certificate in the first entry of the request, by its issuer and with the hash of this run, and
    /// returns the issuer: as issuerOf, else from the stores or the network. Throws InputError when the issuer given is
    /// not proven to have signed it, kNoSigner when no issuer is found, and what the request throws.
    ATL2::CCertContext name(Orvane::PKI::OCSP::Client::CRequest& request, const _CERT_CONTEXT* certificate) const;

private:
    ATL2::CCertStore extra_;
    ATL2::CCertContext issuer_;
    std::string hashOid_;
};

/// Opens the settings file and the trace that the options name. Throws InputError for a file that cannot be used.
void openSettings(const RunOptions& options);

/// Takes in what was read from the file `path`. Throws InputError when it is no request.
void importRequest(Orvane::PKI::OCSP::Client::CRequest& request, const Orvane::CBlob& bytes, const std::string& path);

/// The whole DER request, built if needed.
Orvane::CBlob exported(Orvane::PKI::OCSP::Client::CRequest& request);

/// What is wrong with the settings file, with its line and column; empty when nothing is. A value of the wrong kind
/// shows only when it has been read.
std::string settingsMistake();

}  // namespace tallow::cli
