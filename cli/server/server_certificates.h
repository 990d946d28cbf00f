// What a TLS server presents: its certificates, and the OCSP response that it staples (RFC 6066, section 8).
//
//   const ServerCertificates sent = retrieveCertificates({.address = readServerAddress("www.example", 443),
//                                                         .serverName = "www.example"});
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "checker/checker.h"
#include "cli/server/server_address.h"
#include "cli/server/starttls.h"

namespace tallow::cli {

struct ServerToAsk {
    ServerAddress address;
    const StartTlsProtocol* startTls = nullptr;  // null: TLS at once
    std::string serverName;                      // SNI; empty: none
    std::chrono::milliseconds timeout{0};        // of everything: name, connection, dialogue, handshake
};

struct SentCertificate {
    Bytes der;
    bool isSelfSigned = false;
};

struct ServerCertificates {
    std::vector<SentCertificate> chain;  // as sent, at least the certificate of the server, which comes first
    Bytes staple;                        // not verified; empty when none was sent
    bool requiresStaple = false;         // the certificate says that a response must be stapled (RFC 7633)
};

/// Makes a TLS connection and closes it. Nothing is verified, except that the server has the private key of its
/// certificate. TLS 1.2 or later. Throws ServerFailure.
ServerCertificates retrieveCertificates(const ServerToAsk& server);

}  // namespace tallow::cli
