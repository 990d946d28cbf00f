// The result for one certificate as plain data. Printing it decides nothing.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "checker/checker.h"

namespace tallow::cli {

enum class CertificateState { kGood, kRevoked, kUnknown, kError };

/// "good", "revoked", "unknown" or "error".
const char* nameOf(CertificateState state);

struct CheckError {
    std::int32_t code = 0;
    std::string text;  // one line: responder, step, failure and remedy
};

/// The response that a TLS server sent along with its certificate.
struct Staple {
    std::string state;        // "good", "revoked", "unknown", "missing", "expired", "wrong certificate", "not proven"
    std::string text;         // the cause, in one line; empty when good
    bool isRequired = false;  // the certificate says that the server must send one (RFC 7633)
    std::optional<Time> nextUpdate = std::nullopt;  // of a verified one

    /// Whether clients that look at it would refuse the server: it is required but not good, or proves "revoked".
    bool isBad() const { return state == "revoked" || (isRequired && state != "good"); }
};

/// Texts are UTF-8; those from certificates and responders may contain any character and are made safe when printed.
/// Times are ISO 8601 in UTC. Empty means absent.
struct CheckResult {
    std::string file;  // as named by the user; "b.pem#2" for the second certificate in it, "host:443" for a server's
    std::size_t line = 0;  // in the list that names it, from 1; 0: there is none
    std::string subject;
    std::string serial;  // hexadecimal
    CertificateState state = CertificateState::kError;
    std::string responder;  // address
    std::string producedAt;
    std::string thisUpdate;
    std::string nextUpdate;
    std::string revocationTime;
    std::string revocationReason;
    std::string nonce;                // "matched", "not returned" or "not sent"; empty when no response was accepted
    std::string chain;                // "valid" or "invalid"; empty when it was not validated
    std::optional<CheckError> error;  // always with kError
    std::optional<Staple> staple;     // of a server's own certificate
    std::optional<std::chrono::sys_seconds> start;   // notBefore of the certificate
    std::optional<std::chrono::sys_seconds> expiry;  // notAfter
    Verdict verdict;                                 // all that was found out
    std::optional<CheckError> unsaved;               // why request or response were not written to their file
};

/// 1 when one is revoked, else 3 when one has no verified answer, a file could not be written or a staple is bad, else
/// 2 when one is unknown, else 0. An empty list gives 3.
int exitStatusOf(const std::vector<CheckResult>& results);

}  // namespace tallow::cli
