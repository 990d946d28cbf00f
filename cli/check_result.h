// The result for one certificate as plain data. Printing it decides nothing.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tallow::cli {

enum class CertificateState { kGood, kRevoked, kUnknown, kError };

/// "good", "revoked", "unknown" or "error".
const char* nameOf(CertificateState state);

struct CheckError {
    std::int32_t code = 0;
    std::string text;  // one line: responder, step, failure and remedy
};

/// Texts are UTF-8; those from certificates and responders may contain any character and are made safe when printed.
/// Times are ISO 8601 in UTC. Empty means absent.
struct CheckResult {
    std::string file;
    std::string subject;
    std::string serial;  // hexadecimal
    CertificateState state = CertificateState::kError;
    std::string responder;  // address
    std::string producedAt;
    std::string thisUpdate;
    std::string nextUpdate;
    std::string revocationTime;
    std::string revocationReason;
    std::string nonce;                  // "matched", "not returned" or "not sent"; empty when no response was accepted
    std::string chain;                  // "valid" or "invalid"; empty when it was not validated
    std::optional<CheckError> error;    // always with kError
    std::optional<CheckError> unsaved;  // why request or response were not written to their file
};

/// 1 when one is revoked, else 3 when one has no verified answer (or a file could not be written), else 2 when one is
/// unknown, else 0. An empty list gives 3.
int exitStatusOf(const std::vector<CheckResult>& results);

}  // namespace tallow::cli
