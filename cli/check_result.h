// What came out for one certificate, as plain data: whoever prints it decides nothing.
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
    std::string text;  // one line: which responder, which step, what happened, what to do
};

/// Texts are UTF-8; what comes from certificates and responders may hold anything and is made safe when printed. Times
/// are ISO 8601 in UTC. Absent is empty.
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
    std::string chain;                  // "valid" or "invalid"; empty when it was not validated
    std::optional<CheckError> error;    // always with kError
    std::optional<CheckError> unsaved;  // why request or response were not written to the file wanted
};

/// 1 when one is revoked, else 3 when for one no trusted answer was had (or an answer could not be saved as wanted),
/// else 2 when one is unknown, else 0. No result at all is no trusted answer.
int exitStatusOf(const std::vector<CheckResult>& results);

}  // namespace tallow::cli
