// What a verdict was made from, in the words of the JSON documents, and what its request contained.
#pragma once

#include <optional>
#include <string>

#include "checker/checker.h"

namespace tallow::cli {

/// "input", "exchange", "decoding", "nonce", "signature", "signer", "entry", "chain" or "proven".
const char* nameOf(Step step);
/// "issuer", "delegate", "policy"; empty for none.
const char* nameOf(Authority authority);
/// "option", "certificate", "issuer properties", "policy" or "job".
const char* nameOf(ResponderSource source);
/// "given", "trust", "store", "download"; empty for none.
const char* nameOf(IssuerSource source);
/// "not checked", "good", "revoked" or "unknown".
const char* nameOf(ChainLink::Revocation revocation);
/// "matched", "not returned" or "not sent"; empty without an answer, and for a stored response without a request.
const char* nonceOf(const Verdict& verdict);
/// "accepted", "failed", "redirect" or "skipped".
const char* statusOf(const Attempt& attempt);

/// Whether a response was verified, even if the chain of the certificate is not valid.
bool hasAnswer(const Verdict& verdict);

/// Hexadecimal texts without a prefix; `hashOid` is dotted.
struct SentRequest {
    std::string hashOid, issuerNameHash, issuerKeyHash, serial;
    std::string nonce;  // empty when none was sent
};

/// What was asked about the certificate; absent when nothing was sent.
std::optional<SentRequest> sentRequestOf(const Verdict& verdict);

/// Upper-case hexadecimal.
std::string hexText(const Bytes& octets);
/// ISO 8601 in UTC; empty for none.
std::string timeText(const std::optional<Time>& time);
/// The serial number of a DER certificate in hexadecimal; empty when it cannot be read.
std::string serialIn(const Bytes& certificate);

}  // namespace tallow::cli
