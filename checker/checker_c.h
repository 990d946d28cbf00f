// The complete check for C, and for every language that can call C: <tallow/checker.h> as plain functions.
//
//   tallow_checker* checker = tallow_checker_new();
//   tallow_checker_add_roots(checker, roots, rootsSize);
//   tallow_checker_add_crls(checker, crls, crlsSize);
//   tallow_verdict* verdict = tallow_check(checker, certificate, certificateSize, issuer, issuerSize);
//   puts(tallow_verdict_why(verdict));
//   const bool isGood = tallow_verdict_is_good(verdict);
//   tallow_verdict_free(verdict);
//   tallow_checker_free(checker);
//
// This program needs no further error handling, since no failure on the way can end in "good":
// - A setter that fails makes every later check with its checker unproven; tallow_checker_problem says why.
// - Functions that make an object return null only when memory is exhausted, and every function accepts null. A null
//   verdict is unproven: accessors return 0, false, an empty text or null for it, and -1 for a status or reason.
// - No argument is optional whose absence would weaken a check.
//
// Input is a pointer and a size in octets, and is read only during the call. Certificates and CRLs are DER, or PEM with
// any number of blocks and text between them; requests and responses are DER. A null pointer whose size is not 0 is an
// error. Texts are UTF-8. Statuses are those of docs/errors.md; 0 is success. What an accessor returns belongs to the
// object that was asked, and lives as long; the caller frees objects with the function of their type, never with
// free().
//
// Set up a checker on one thread; then any number of threads may use it. A question is used by one thread at a time.
// Nothing here changes the process, and no C++ exception leaves a function. Do not cancel a thread during a call.
//
// Numbers of enumerators never change. A later version may add some: treat one that you do not know as a failure.
#pragma once

// NOLINTBEGIN(modernize-deprecated-headers, modernize-use-using): a C compiler reads this file too
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#include "export.h"

/// A function whose result is lost when it is ignored.
#define TALLOW_RESULT TALLOW_EXPORT __attribute__((warn_unused_result))

#ifdef __cplusplus
extern "C" {
#endif

typedef struct tallow_checker tallow_checker;
typedef struct tallow_question tallow_question;
typedef struct tallow_verdict tallow_verdict;
typedef struct tallow_verdict_list tallow_verdict_list;
typedef struct tallow_attempt tallow_attempt;
typedef struct tallow_received tallow_received;
typedef struct tallow_body tallow_body;

// ---- Setting up. Each setter returns 0, or a status for an argument that cannot be used; it then changes nothing.
// After the first use of the checker (tallow_check, ask, verify, receive ...) every setter fails.

/// A checker that trusts nothing yet. Everything comes from memory: no stores, no settings, no cache.
TALLOW_RESULT tallow_checker* tallow_checker_new(void);

/// A checker with the machine's trust: the stores ROOT and CA with their CRLs, the system's certificates, and the
/// administrator's policy. They are read at each check, so a change counts at once.
TALLOW_RESULT tallow_checker* tallow_checker_new_system(void);

/// Releases the checker. No call may use it any more; its questions and verdicts remain valid.
TALLOW_EXPORT void tallow_checker_free(tallow_checker* checker);

/// Why checks with this checker are unproven: the text of the first setter that failed. Empty when none did. Valid
/// until tallow_checker_clear_problem.
TALLOW_RESULT const char* tallow_checker_problem(const tallow_checker* checker);

/// Accepts that a setter failed: later checks are made without what it was to set. For input that may be missing, such
/// as one file of many.
TALLOW_EXPORT void tallow_checker_clear_problem(tallow_checker* checker);

/// Roots: self-issued certificates. Input with no such certificate is refused; others in it count as intermediate.
TALLOW_EXPORT int32_t tallow_checker_add_roots(tallow_checker* checker, const void* certificates, size_t size);

/// What the machine trusts as roots now, without its other stores and its policy.
TALLOW_EXPORT int32_t tallow_checker_add_system_roots(tallow_checker* checker);

/// Intermediate certificates. The issuer that is passed to a check is used as well.
TALLOW_EXPORT int32_t tallow_checker_add_certificates(tallow_checker* checker, const void* certificates, size_t size);

/// CRLs, for the chain of responders: they must show that its CAs are not revoked. For tallow_proved_at, those of that
/// time.
TALLOW_EXPORT int32_t tallow_checker_add_crls(tallow_checker* checker, const void* crls, size_t size);

/// Of one call: all responders, redirects and downloads together; 1 or more. By default the setting check_timeout_ms
/// where the policy applies, else 10000.
TALLOW_EXPORT int32_t tallow_checker_set_timeout_ms(tallow_checker* checker, int64_t milliseconds);

/// Asked instead of the addresses in the certificate, in the order in which they are added.
TALLOW_EXPORT int32_t tallow_checker_add_responder(tallow_checker* checker, const char* url);

/// A wrong nonce is always refused.
enum tallow_nonce {
    TALLOW_NONCE_DEFAULT = 0,  ///< what the policy says where it applies, else TALLOW_NONCE_TRY
    TALLOW_NONCE_REQUIRE = 1,  ///< only a response with our nonce counts
    TALLOW_NONCE_TRY = 2,  ///< a response without one counts by its dates: responders that sign in advance have none
    TALLOW_NONCE_OFF = 3
};
/// `nonce`: a number of the enumeration.
TALLOW_EXPORT int32_t tallow_checker_set_nonce(tallow_checker* checker, int32_t nonce);

/// Narrows how old thisUpdate may be: 1 second to 100 years. By default nextUpdate decides, and 7 days (policy:
/// ThisUpdateAccuracy) without it.
TALLOW_EXPORT int32_t tallow_checker_set_max_age_seconds(tallow_checker* checker, int64_t seconds);

/// How far the clock of a responder may be ahead: 0 to 100 years, by default 180 seconds. With policy ResponseAccuracy,
/// if it is set.
TALLOW_EXPORT int32_t tallow_checker_set_clock_skew_seconds(tallow_checker* checker, int64_t seconds);

/// Whether issuers and CRLs are downloaded from addresses in certificates; by default they are.
TALLOW_EXPORT int32_t tallow_checker_set_downloads(tallow_checker* checker, bool isOn);

/// "http://host:port", with a login if needed. Null or empty, as by default: none, or that of the policy.
TALLOW_EXPORT int32_t tallow_checker_set_proxy(tallow_checker* checker, const char* url);

/// Dotted OID of the hash in certificate identifiers. Null or empty, as by default: that of the policy, else SHA-1,
/// which every responder knows. No security depends on it.
TALLOW_EXPORT int32_t tallow_checker_set_hash(tallow_checker* checker, const char* oid);

/// Whether downloaded issuers and CRLs are kept and used again, in the directory of the setting url_cache or by this
/// process where it cannot be written; by default they are not. Responses are always asked for.
TALLOW_EXPORT int32_t tallow_checker_set_cache(tallow_checker* checker, bool isOn);

/// Whether a good certificate must also have a valid chain. By default only its status is checked.
TALLOW_EXPORT int32_t tallow_checker_set_verify_chain(tallow_checker* checker, bool isOn);

/// Whether the administrator's policy applies; by default only with tallow_checker_new_system.
TALLOW_EXPORT int32_t tallow_checker_set_policy(tallow_checker* checker, bool isOn);

/// Posts the request as application/ocsp-request to `url`, passes the body of a response with status 200 to
/// tallow_body_append, in one piece or several, and returns true when it is complete; false: no answer. Called on the
/// threads that check, so possibly on several at once; must return within `milliseconds`, and not by longjmp. A C++
/// exception is no answer.
typedef bool (*tallow_exchange)(void* user, const char* url, const uint8_t* request, size_t requestSize,
                                int64_t milliseconds, tallow_body* body);

/// Replaces the built-in HTTP for requests; null restores it. `user` is passed on and must outlive the checker.
TALLOW_EXPORT int32_t tallow_checker_set_exchange(tallow_checker* checker, tallow_exchange exchange, void* user);

/// Appends a copy of the next octets of the answer. False when memory is exhausted or the answer exceeds 64 MiB; it
/// then counts as no answer, whatever the exchange returns.
TALLOW_EXPORT bool tallow_body_append(tallow_body* body, const void* octets, size_t size);

// ---- Checking. Each of these functions returns a verdict for every outcome. The caller frees it.

/// Asks responders until one answer is verified. "Revoked" ends the search; "unknown" counts if no other responder has
/// a better answer. `issuer` may be null: it is then looked for in the checker, and downloaded if that is permitted.
TALLOW_RESULT tallow_verdict* tallow_check(const tallow_checker* checker, const void* certificate,
                                           size_t certificateSize, const void* issuer, size_t issuerSize);

/// A check without a nonce: its tallow_verdict_response may be given to others, as a server does that staples it.
TALLOW_RESULT tallow_verdict* tallow_fetch_staple(const tallow_checker* checker, const void* certificate,
                                                  size_t certificateSize, const void* issuer, size_t issuerSize);

/// The two halves of a check, for callers with their own HTTP. The response must be judged with the question that was
/// sent, since it contains the nonce. A question that cannot be asked is returned with its cause; judging with it gives
/// unproven.
TALLOW_RESULT tallow_question* tallow_ask(const tallow_checker* checker, const void* certificate,
                                          size_t certificateSize, const void* issuer, size_t issuerSize);
/// Makes every check of tallow_check on the answer, offline unless the responder's chain needs downloads.
TALLOW_RESULT tallow_verdict* tallow_judge(const tallow_checker* checker, const tallow_question* question,
                                           const void* answer, size_t answerSize);

/// POST it with Content-Type application/ocsp-request. Null with size 0 when there is a cause; `size` may be null.
TALLOW_RESULT const uint8_t* tallow_question_request(const tallow_question* question, size_t* size);
/// Where to send it, the best address first; none when the certificate names none.
TALLOW_RESULT size_t tallow_question_responder_count(const tallow_question* question);
/// Empty for an index of tallow_question_responder_count or more.
TALLOW_RESULT const char* tallow_question_responder(const tallow_question* question, size_t index);
/// 0 when the question can be asked.
TALLOW_RESULT int32_t tallow_question_status(const tallow_question* question);
/// In one line; empty when the question can be asked.
TALLOW_RESULT const char* tallow_question_cause(const tallow_question* question);
TALLOW_EXPORT void tallow_question_free(tallow_question* question);

/// What a stored response says about the certificate now, by its dates. Downloads are not used. `issuer` may be null:
/// it is then looked for in the checker.
TALLOW_RESULT tallow_verdict* tallow_verify(const tallow_checker* checker, const void* certificate,
                                            size_t certificateSize, const void* issuer, size_t issuerSize,
                                            const void* response, size_t responseSize);

/// The same; the nonce of the request, if it has one, must be that of the response.
TALLOW_RESULT tallow_verdict* tallow_verify_with_request(const tallow_checker* checker, const void* certificate,
                                                         size_t certificateSize, const void* issuer, size_t issuerSize,
                                                         const void* request, size_t requestSize, const void* response,
                                                         size_t responseSize);

/// What a stored response proves about the certificate at `when`, in seconds since 1970 (UTC): the signer's chain, its
/// revocation and the dates are those of that time. Downloads are not used. A certificate that was revoked after `when`
/// is good, with a time of revocation, unless the responder names an earlier invalidityDate. Nothing is good at a time
/// in the future.
TALLOW_RESULT tallow_verdict* tallow_proved_at(const tallow_checker* checker, int64_t when, const void* certificate,
                                               size_t certificateSize, const void* issuer, size_t issuerSize,
                                               const void* response, size_t responseSize);

/// What a stored response says now about each certificate that it names: at least one verdict. Which certificate a
/// verdict is about, only its serial number tells. `issuer` may be null.
TALLOW_RESULT tallow_verdict_list* tallow_verify_entries(const tallow_checker* checker, const void* issuer,
                                                         size_t issuerSize, const void* response, size_t responseSize);
TALLOW_RESULT size_t tallow_verdict_list_count(const tallow_verdict_list* list);
/// Belongs to the list. Null for an index of tallow_verdict_list_count or more.
TALLOW_RESULT const tallow_verdict* tallow_verdict_list_at(const tallow_verdict_list* list, size_t index);
TALLOW_EXPORT void tallow_verdict_list_free(tallow_verdict_list* list);

// ---- Reading a verdict.

/// What a verified response says about the certificate. TALLOW_UNPROVEN: no response was verified, so nothing is known.
enum tallow_answer { TALLOW_UNPROVEN = 0, TALLOW_GOOD = 1, TALLOW_REVOKED = 2, TALLOW_UNKNOWN = 3 };

/// How far the check got with the responder that came closest to an answer.
enum tallow_step {
    TALLOW_STEP_INPUT = 0,      ///< certificate, issuer and options were read
    TALLOW_STEP_EXCHANGE = 1,   ///< a responder was asked
    TALLOW_STEP_DECODING = 2,   ///< the answer was read: a successful OCSP response in DER (RFC 6960, 4.2.1)
    TALLOW_STEP_NONCE = 3,      ///< the nonce was compared
    TALLOW_STEP_SIGNATURE = 4,  ///< the signer was found and its signature verified
    TALLOW_STEP_SIGNER = 5,     ///< its chain, authorisation and revocation were checked
    TALLOW_STEP_ENTRY = 6,      ///< the entries about the certificate were examined, with their times
    TALLOW_STEP_CHAIN = 7,      ///< the chain of the certificate itself was validated
    TALLOW_STEP_PROVEN = 8      ///< all of these passed
};

/// What shows that the response is not an old one. Without a matching nonce its dates do.
enum tallow_freshness {
    TALLOW_FRESHNESS_NONE = 0,
    TALLOW_FRESHNESS_NONCE_MATCHED = 1,
    TALLOW_FRESHNESS_NONCE_NOT_RETURNED = 2,
    TALLOW_FRESHNESS_NONCE_NOT_SENT = 3
};

/// Why the signer may answer (RFC 6960, 4.2.2.2).
enum tallow_authority {
    TALLOW_AUTHORITY_NONE = 0,      ///< it may not, or was not found
    TALLOW_AUTHORITY_ISSUER = 1,    ///< it issued the certificate
    TALLOW_AUTHORITY_DELEGATE = 2,  ///< the issuer named it as its responder
    TALLOW_AUTHORITY_POLICY = 3     ///< the administrator did (AuthorizedOCSPs)
};

/// True only for TALLOW_GOOD.
TALLOW_RESULT bool tallow_verdict_is_good(const tallow_verdict* verdict);
/// Compare it with an enumerator: as a condition, TALLOW_REVOKED is true as well.
TALLOW_RESULT enum tallow_answer tallow_verdict_answer(const tallow_verdict* verdict);
/// 0 exactly when the certificate is good.
TALLOW_RESULT int32_t tallow_verdict_status(const tallow_verdict* verdict);
/// One sentence for people, never empty: the certificate, what is known, and the cause.
TALLOW_RESULT const char* tallow_verdict_why(const tallow_verdict* verdict);
/// Why the certificate is not proven, in one line; empty when it is.
TALLOW_RESULT const char* tallow_verdict_cause(const tallow_verdict* verdict);
/// TALLOW_STEP_PROVEN exactly when the answer is not TALLOW_UNPROVEN.
TALLOW_RESULT enum tallow_step tallow_verdict_reached(const tallow_verdict* verdict);
TALLOW_EXPORT void tallow_verdict_free(tallow_verdict* verdict);

/// Subject of the certificate (RFC 4514); empty when only its number is known. It may contain control characters.
TALLOW_RESULT const char* tallow_verdict_subject(const tallow_verdict* verdict);
/// Serial number of the certificate, big-endian as in DER. Octets are null with size 0 when absent; `size` may be null.
TALLOW_RESULT const uint8_t* tallow_verdict_serial(const tallow_verdict* verdict, size_t* size);

/// Times of the response and of the entry that counted: false when absent. `seconds` since 1970 (UTC), 0 when absent;
/// it may be null.
TALLOW_EXPORT bool tallow_verdict_produced_at(const tallow_verdict* verdict, int64_t* seconds);
TALLOW_EXPORT bool tallow_verdict_this_update(const tallow_verdict* verdict, int64_t* seconds);
TALLOW_EXPORT bool tallow_verdict_next_update(const tallow_verdict* verdict, int64_t* seconds);
/// Also there for a good verdict of tallow_proved_at on a certificate that was revoked later.
TALLOW_EXPORT bool tallow_verdict_revoked_at(const tallow_verdict* verdict, int64_t* seconds);
/// The reason of the revocation, numbered as in RFC 5280, 5.3.1 (1: keyCompromise); -1 when absent.
TALLOW_RESULT int32_t tallow_verdict_reason(const tallow_verdict* verdict);

/// TALLOW_FRESHNESS_NONE or TALLOW_AUTHORITY_NONE for a null verdict.
TALLOW_RESULT enum tallow_freshness tallow_verdict_freshness(const tallow_verdict* verdict);
TALLOW_RESULT enum tallow_authority tallow_verdict_authority(const tallow_verdict* verdict);
/// Whether the certificate's own chain was validated (tallow_checker_set_verify_chain).
TALLOW_RESULT bool tallow_verdict_is_chain_valid(const tallow_verdict* verdict);
/// The address that answered; empty for a stored response.
TALLOW_RESULT const char* tallow_verdict_responder(const tallow_verdict* verdict);
/// Subject of the certificate that signed the response (RFC 4514; it may contain control characters), and that
/// certificate in DER.
TALLOW_RESULT const char* tallow_verdict_signer(const tallow_verdict* verdict);
TALLOW_RESULT const uint8_t* tallow_verdict_signer_certificate(const tallow_verdict* verdict, size_t* size);

/// What was sent.
TALLOW_RESULT const uint8_t* tallow_verdict_request(const tallow_verdict* verdict, size_t* size);
/// The verified response as received, to be stored or stapled; absent when unproven. Of a list of verdicts only the
/// first that is proven has it.
TALLOW_RESULT const uint8_t* tallow_verdict_response(const tallow_verdict* verdict, size_t* size);
/// The last answer that was refused. For diagnosis only: an attacker may have written it.
TALLOW_RESULT const uint8_t* tallow_verdict_unverified(const tallow_verdict* verdict, size_t* size);

/// One attempt for each responder, or address on the way to it. Null for an index of tallow_verdict_attempt_count or
/// more.
TALLOW_RESULT size_t tallow_verdict_attempt_count(const tallow_verdict* verdict);
TALLOW_RESULT const tallow_attempt* tallow_verdict_attempt(const tallow_verdict* verdict, size_t index);
/// Without user name and password.
TALLOW_RESULT const char* tallow_attempt_url(const tallow_attempt* attempt);
TALLOW_RESULT enum tallow_step tallow_attempt_reached(const tallow_attempt* attempt);
/// 0 when the answer was accepted.
TALLOW_RESULT int32_t tallow_attempt_status(const tallow_attempt* attempt);
/// 0 when no HTTP response came.
TALLOW_RESULT int32_t tallow_attempt_http_status(const tallow_attempt* attempt);
TALLOW_RESULT int64_t tallow_attempt_duration_ms(const tallow_attempt* attempt);
/// Whether this address led to the next one, was not asked because of a limit, or was read from the cache.
TALLOW_RESULT bool tallow_attempt_is_redirect(const tallow_attempt* attempt);
TALLOW_RESULT bool tallow_attempt_is_skipped(const tallow_attempt* attempt);
TALLOW_RESULT bool tallow_attempt_is_from_cache(const tallow_attempt* attempt);
/// Why the answer was not accepted, "signature: ..."; empty when it was.
TALLOW_RESULT const char* tallow_attempt_reason(const tallow_attempt* attempt);

// ---- Received requests.

enum tallow_request_signer {
    TALLOW_REQUEST_UNDECIDED = 0,  ///< the check could not be made, or the certificate was not found
    TALLOW_REQUEST_INVALID = 1,    ///< signature, chain or a critical extension was refused
    TALLOW_REQUEST_UNSIGNED = 2,
    TALLOW_REQUEST_PROVEN = 3
};

/// Whether a request is intact and who signed it. The caller frees the result, which may be null as a verdict may.
TALLOW_RESULT tallow_received* tallow_receive(const tallow_checker* checker, const void* request, size_t requestSize);
TALLOW_RESULT enum tallow_request_signer tallow_received_signer(const tallow_received* received);
/// 0 exactly for TALLOW_REQUEST_UNSIGNED and TALLOW_REQUEST_PROVEN.
TALLOW_RESULT int32_t tallow_received_status(const tallow_received* received);
/// In one line; empty when the status is 0.
TALLOW_RESULT const char* tallow_received_cause(const tallow_received* received);
/// Subject of the signer's certificate, or of one with its name (RFC 4514), and that certificate in DER. Whether it may
/// ask is for the caller to decide.
TALLOW_RESULT const char* tallow_received_requestor(const tallow_received* received);
TALLOW_RESULT const uint8_t* tallow_received_requestor_certificate(const tallow_received* received, size_t* size);
/// Dotted OID; empty for an unsigned request.
TALLOW_RESULT const char* tallow_received_signature_algorithm(const tallow_received* received);
/// How many certificates are asked about; 0 unless the status is 0. Each is named by the hash (dotted OID), the hashes
/// of its issuer's name and key, and its serial number, big-endian as in DER.
TALLOW_RESULT size_t tallow_received_asked_count(const tallow_received* received);
TALLOW_RESULT const char* tallow_received_asked_hash(const tallow_received* received, size_t index);
TALLOW_RESULT const uint8_t* tallow_received_asked_issuer_name_hash(const tallow_received* received, size_t index,
                                                                    size_t* size);
TALLOW_RESULT const uint8_t* tallow_received_asked_issuer_key_hash(const tallow_received* received, size_t index,
                                                                   size_t* size);
TALLOW_RESULT const uint8_t* tallow_received_asked_serial(const tallow_received* received, size_t index, size_t* size);
TALLOW_EXPORT void tallow_received_free(tallow_received* received);

/// What a status means and what to do, in one line; docs/errors.md lists all. Never null and never freed.
TALLOW_RESULT const char* tallow_status_text(int32_t status);

#ifdef __cplusplus
}
#endif
// NOLINTEND(modernize-deprecated-headers, modernize-use-using)
