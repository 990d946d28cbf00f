// What programs and libraries say about the same octets.
#pragma once

#include <string>

#include "proof/forgeries/materials.h"
#include "proof/forgeries/model.h"

namespace proof {

/// `tallow::Checker::verify`, for the leaf, with the request.
Answer byLibrary(const Materials& materials, std::string& why);

/// `tallow verify`, by its exit status. With `mayRefuseIssuer` the refusal of --issuer counts as unproven.
Answer byCommand(const std::string& command, const Materials& materials, bool mayRefuseIssuer, std::string& output);

/// OCSP_basic_verify with the trusted root, then the nonce on request, then the first entry and its dates.
Answer byOpenSsl(const Materials& materials, bool comparesNonce, std::string& why);

/// `openssl ocsp` with the same, but without a nonce.
Answer byOpenSslCommand(const Materials& materials, std::string& output);

/// Whether `ocsptool` of GnuTLS finds the response authentic, with the issuer trusted: the signature and the signer,
/// not the entries.
bool isAuthenticForGnuTls(const Materials& materials, std::string& output);

/// Whether that program is installed.
bool hasGnuTls();

}  // namespace proof
