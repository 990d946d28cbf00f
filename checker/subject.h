// The certificate of a check and its issuer. Private to the library.
#pragma once

#include <optional>
#include <vector>

#include "checker/call.h"
#include "checker/rules/entry_rules.h"
#include "handles/cert_context.h"

namespace tallow {

/// A certificate to check, with the issuer that is proven to have signed it, or whose hashes its identifier has.
struct CertificateToCheck {
    ATL2::CCertContext certificate;                // empty with an identifier
    std::optional<Orvane::PKI::OCSP::CCertID> id;  // when nothing else is known of the certificate
    ATL2::CCertContext issuer;
    std::vector<ATL2::CCertContext> above;  // more certificates that were passed with it
    IssuerSource issuerSource = IssuerSource::kNone;

    /// What entries are compared with. Throws what CCertID throws.
    [[nodiscard]] rules::Subject subject() const {
        return id ? rules::Subject{*id, nullptr, issuer.get()} : rules::subjectFor(certificate.get(), issuer.get());
    }
};

/// Reads the certificate: the first one of the input; the others may be above it and become part of the call. Writes
/// its names into the verdict. Throws BadInput.
CertificateToCheck readCertificate(Call& call, Input certificate, Verdict& verdict);

/// Reads an identifier in place of a certificate, with its issuer. Throws BadInput for an issuer that does not fit.
CertificateToCheck readIdentifier(Call& call, const ReceivedRequest::Asked& identifier, Input issuer, Verdict& verdict);

/// Finds its issuer: given, else from the certificates of the call, else from the machine's stores or a download, as
/// the rules of the call permit. It becomes part of the call. Throws BadInput when there is none, or when the given one
/// did not sign the certificate.
void findIssuer(Call& call, CertificateToCheck& target, Input issuer);

/// Writes the issuer into the evidence of the call.
void noteIssuer(Call& call, const CertificateToCheck& target);

/// Writes subject and serial number into the verdict.
void name(Verdict& verdict, const _CERT_CONTEXT* certificate);

}  // namespace tallow
