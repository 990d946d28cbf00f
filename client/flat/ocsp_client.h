// The client in three calls that take and return bytes. A program that must tell the outcomes of a check apart, or
// needs a current response, uses the checker (checker/checker.h) instead: the statuses of these calls have several
// meanings.
//
//   unsigned char* response = NULL;
//   unsigned long size = 0;
//   int32_t status = ocspSendRequest(request, requestSize, &response, &size);   /* request: a DER OCSPRequest */
//   if (status == 0)
//       status = ocspVerifyResponse(certificate, response, size, extensions, extensionsSize);  /* of the request */
//   free(response);
//
// A final status of 0 means proven good by a response whose nextUpdate may have passed: neither call compares it with
// the clock. Without the extensions of the request no nonce is compared, and a replayed response is accepted.
//
// Certificates and chains are handles of the Crypto service (platform/crypto/crypto_service.h). Statuses are those of
// handles/status_table.inc, docs/errors.md says what to do about each. No call throws. The calls keep nothing between
// them and may run on several threads at the same time.
#pragma once

// NOLINTBEGIN(modernize-deprecated-headers): a C compiler reads this file too
#include <stdint.h>
// NOLINTEND(modernize-deprecated-headers)

#include "export.h"

struct _CERT_CHAIN_CONTEXT;
struct _CERT_CONTEXT;

/// Makes the compiler warn when a status is ignored.
#if defined(__cplusplus) || (defined(__STDC_VERSION__) && __STDC_VERSION__ >= 202311L)
#define TALLOW_CHECKED [[nodiscard]]
#elif defined(__GNUC__)
#define TALLOW_CHECKED __attribute__((warn_unused_result))
#else
#define TALLOW_CHECKED
#endif

#ifdef __cplusplus
extern "C" {
#endif

/// Always fails: use CRequest to make requests. It was meant to make a request about every certificate of the first
/// simple chain in `chain`, with the DER Extensions in `extensions` (null or size 0: none; only the low 32 bits of the
/// size are used) and without a nonce unless they contain one. But it writes each certificate into entry 0 and adds an
/// empty entry, which cannot be encoded. With a chain the call therefore returns 0x80092004, unless an earlier step
/// fails. This behaviour is kept because callers may rely on it.
///
/// Returns 0x80090020 for a null chain, with the outputs untouched. Otherwise both outputs, which must not be null, are
/// set to null and 0 first; the caller releases *request with free(), which accepts null. The status of the step that
/// failed (a malformed extension: 0x80093101; a nonce extension after another extension: 0x80071392), 0x8007000E when
/// memory is exhausted, 0x80090304 for another internal failure or when the result cannot be allocated.
TALLOW_CHECKED TALLOW_EXPORT int32_t ocspCreateRequest(const struct _CERT_CHAIN_CONTEXT* chain,
                                                       const unsigned char* extensions, unsigned long extensionsSize,
                                                       unsigned char** request, unsigned long* requestSize);

/// Sends a DER OCSPRequest of `requestSize` octets, byte for byte, to the responder in the setting DefaultOCSPURL, and
/// returns the response as received. **A result of 0 proves nothing**: verify the response.
///
/// Both outputs, which must not be null, are set to null and 0 first. On success *response points to *responseSize
/// octets, which the caller releases with free(). Blocks for the time of the exchange.
///
/// Returns 0 for a response whose first entry is good or revoked; 0x80090304 for a response status other than
/// successful, a first entry that is unknown, another internal failure or when the result cannot be allocated;
/// 0x8007000E when memory is exhausted; 0x80091008 for a response without entries; otherwise what
/// CRequest::Import and CRequest::Send report (0x80093101: the bytes are no request, or no response; 0xC2110121: no
/// responder is configured; 0xC2110120: another nonce; 0xC2110100: HTTP status; policy refusals).
TALLOW_CHECKED TALLOW_EXPORT int32_t ocspSendRequest(const unsigned char* request, unsigned long requestSize,
                                                     unsigned char** response, unsigned long* responseSize);

/// Verifies a DER OCSPResponse (or a bare BasicOCSPResponse) about `cert`, which must not be null and remains the
/// caller's: the responder's certificate and its chain, the signature, the times and critical extensions of the entry,
/// and the certificate status. The responder's certificate is searched for in the response, the store of `cert` (which
/// must be open if `cert` came from one) and the user's stores; the issuer of `cert` comes from a chain built for it.
///
/// **The age of the response is not checked**: `producedAt`, `thisUpdate` and `nextUpdate` are not compared with the
/// current time, so a response whose `nextUpdate` has passed years ago can give 0. Only the certificates of the
/// responder must be valid now and at `producedAt`. A caller that needs a current response compares these times itself,
/// or uses the checker.
///
/// `extensions`, when given, are the DER Extensions of the request. A nonce among them must equal the nonce of the
/// response, byte for byte in extnValue; without one no nonce is compared. Only the low 32 bits of `responseSize` are
/// used.
///
/// Returns 0 when the certificate is proven good. **Two statuses have several meanings**, so that neither of them
/// proves a revocation:
/// - 0x80092010: `cert` is revoked; or a certificate in the chain of the responder is, and nothing is known about
///   `cert`;
/// - 0x80092012: the responder does not know `cert`; or the nonces differ; or the revocation state of the responder's
///   chain could not be established.
///
/// Otherwise 0x80090020 when the response has no entry for `cert`; what CResponse::Verify, VerifyCertificate and
/// VerifySR return (0x80090006, 0x800B0101, 0x800B0105, 0x800B0109, 0x800B010A, 0x800B010B, 0x800B0110, 0xC2110124,
/// 0xC2110129); 1 for every other failure: bytes that do not import, a response status other than successful, no
/// responder certificate, a null `cert`, anything thrown.
TALLOW_CHECKED TALLOW_EXPORT int32_t ocspVerifyResponse(const struct _CERT_CONTEXT* cert, const unsigned char* response,
                                                        unsigned long responseSize, const unsigned char* extensions,
                                                        uint32_t extensionsSize);

#ifdef __cplusplus
}  // extern "C"
#endif
