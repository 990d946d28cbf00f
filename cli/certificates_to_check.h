// What the files named as CERT contain: which certificates are asked about, and which only help.
#pragma once

#include <exception>
#include <string>
#include <vector>

#include "handles/cert_context.h"

namespace tallow::cli {

/// The most certificates that one run asks about.
inline constexpr std::size_t kMostToCheck = 10000;

/// One certificate to ask about, or a file that cannot be used.
struct ToCheck {
    std::string label;                // the file; "FILE#2" for the second one in a file with several
    ATL2::CCertContext certificate;   // empty when `failure` is set
    std::exception_ptr failure = {};  // why the file cannot be used
};

struct CertificateFiles {
    std::vector<ToCheck> toCheck;                  // in the order of the files and within them; at least one
    std::vector<ATL2::CCertContext> certificates;  // all of all files, each once; some may be issuers
    std::vector<std::string> crls;                 // DER
};

/// Reads the files, at least one.
///
/// Of a file, the certificates that are no CA and issued no other one in it are to be checked; if it holds only CAs,
/// those that issued no other one. A file that holds only CAs, one of which issued a certificate to be checked from
/// another file, is a chain file: nothing in it is checked. Equal certificates in a file count once. Whether one issued
/// another is decided by name and signature. A mistake in one file does not affect the others.
CertificateFiles readCertificateFiles(const std::vector<std::string>& paths);

/// The same for the octets of one file, which `name` stands for.
CertificateFiles certificatesToCheckIn(const std::string& name, const std::string& octets);

}  // namespace tallow::cli
