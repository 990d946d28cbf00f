// Reading what the C functions return. Of null every accessor returns what says nothing.
#include "checker/checker_c.h"
#include "checker/checker_c_impl.h"
#include "handles/lasting_default.h"
#include "handles/status.h"

namespace {

using tallow::Attempt;
using tallow::Bytes;
using tallow::ReceivedRequest;
using tallow::Time;
using tallow::Verdict;

const tallow::LastingDefault<Verdict> kNoVerdict;
const tallow::LastingDefault<ReceivedRequest> kNoReceived;
const tallow::LastingDefault<ReceivedRequest::Asked> kNothingAsked;
const tallow::LastingDefault<Attempt> kNoAttempt;
const tallow::LastingDefault<Bytes> kNoOctets;

const Verdict& verdictOf(const tallow_verdict* verdict) {
    return verdict == nullptr ? kNoVerdict.value : verdict->verdict;
}

const ReceivedRequest& requestOf(const tallow_received* received) {
    return received == nullptr ? kNoReceived.value : received->request;
}

const ReceivedRequest::Asked& askedOf(const tallow_received* received, std::size_t index) {
    const std::vector<ReceivedRequest::Asked>& asked = requestOf(received).asked;
    return index < asked.size() ? asked[index] : kNothingAsked.value;
}

const Attempt& attemptOf(const tallow_attempt* attempt) {
    return attempt == nullptr ? kNoAttempt.value : *reinterpret_cast<const Attempt*>(attempt);
}

const std::uint8_t* octetsOf(const Bytes& bytes, std::size_t* size) {
    if (size != nullptr) {
        *size = bytes.size();
    }
    return bytes.empty() ? nullptr : bytes.data();
}

bool put(const std::optional<Time>& time, std::int64_t* seconds) {
    if (seconds != nullptr) {
        *seconds = time ? std::chrono::floor<std::chrono::seconds>(*time).time_since_epoch().count() : 0;
    }
    return time.has_value();
}

// The numbers of both interfaces are the same.
template <typename Number, typename Value>
constexpr Number numberOf(Value value) {
    return static_cast<Number>(static_cast<int>(value));
}

template <typename Number, typename Value>
constexpr bool isSame(Number number, Value value) {
    return numberOf<Number>(value) == number;
}

using tallow::Answer;
using tallow::Authority;
using tallow::Freshness;
using tallow::Step;
using Signer = ReceivedRequest::Signer;
static_assert(isSame(TALLOW_UNPROVEN, Answer::kUnproven) && isSame(TALLOW_GOOD, Answer::kGood) &&
              isSame(TALLOW_REVOKED, Answer::kRevoked) && isSame(TALLOW_UNKNOWN, Answer::kUnknown));
static_assert(isSame(TALLOW_STEP_INPUT, Step::kInput) && isSame(TALLOW_STEP_EXCHANGE, Step::kExchange) &&
              isSame(TALLOW_STEP_DECODING, Step::kDecoding) && isSame(TALLOW_STEP_NONCE, Step::kNonce) &&
              isSame(TALLOW_STEP_SIGNATURE, Step::kSignature) && isSame(TALLOW_STEP_SIGNER, Step::kSigner) &&
              isSame(TALLOW_STEP_ENTRY, Step::kEntry) && isSame(TALLOW_STEP_CHAIN, Step::kChain) &&
              isSame(TALLOW_STEP_PROVEN, Step::kProven));
static_assert(isSame(TALLOW_FRESHNESS_NONE, Freshness::kNone) &&
              isSame(TALLOW_FRESHNESS_NONCE_MATCHED, Freshness::kNonceMatched) &&
              isSame(TALLOW_FRESHNESS_NONCE_NOT_RETURNED, Freshness::kNonceNotReturned) &&
              isSame(TALLOW_FRESHNESS_NONCE_NOT_SENT, Freshness::kNonceNotSent));
static_assert(isSame(TALLOW_AUTHORITY_NONE, Authority::kNone) && isSame(TALLOW_AUTHORITY_ISSUER, Authority::kIssuer) &&
              isSame(TALLOW_AUTHORITY_DELEGATE, Authority::kDelegate) &&
              isSame(TALLOW_AUTHORITY_POLICY, Authority::kPolicy));
static_assert(isSame(TALLOW_REQUEST_UNDECIDED, Signer::kUndecided) &&
              isSame(TALLOW_REQUEST_INVALID, Signer::kInvalid) && isSame(TALLOW_REQUEST_UNSIGNED, Signer::kUnsigned) &&
              isSame(TALLOW_REQUEST_PROVEN, Signer::kProven));

}  // namespace

const std::uint8_t* tallow_question_request(const tallow_question* question, std::size_t* size) {
    return octetsOf(question == nullptr || !question->question ? kNoOctets.value : question->question->request(), size);
}

std::size_t tallow_question_responder_count(const tallow_question* question) {
    return question == nullptr || !question->question ? 0 : question->question->responders().size();
}

const char* tallow_question_responder(const tallow_question* question, std::size_t index) {
    return index < tallow_question_responder_count(question) ? question->question->responders()[index].c_str() : "";
}

std::int32_t tallow_question_status(const tallow_question* question) {
    return question == nullptr ? -1 : question->status;
}

const char* tallow_question_cause(const tallow_question* question) {
    return question == nullptr ? "" : question->cause.c_str();
}

void tallow_question_free(tallow_question* question) {
    delete question;
}

std::size_t tallow_verdict_list_count(const tallow_verdict_list* list) {
    return list == nullptr ? 0 : list->verdicts.size();
}

const tallow_verdict* tallow_verdict_list_at(const tallow_verdict_list* list, std::size_t index) {
    return index < tallow_verdict_list_count(list) ? &list->verdicts[index] : nullptr;
}

void tallow_verdict_list_free(tallow_verdict_list* list) {
    delete list;
}

bool tallow_verdict_is_good(const tallow_verdict* verdict) {
    return verdictOf(verdict).answer == Answer::kGood;
}

tallow_answer tallow_verdict_answer(const tallow_verdict* verdict) {
    return numberOf<tallow_answer>(verdictOf(verdict).answer);
}

std::int32_t tallow_verdict_status(const tallow_verdict* verdict) {
    return verdictOf(verdict).status;
}

const char* tallow_verdict_why(const tallow_verdict* verdict) {
    return verdict == nullptr ? "The certificate is not proven good: there is no verdict, since memory is exhausted."
                              : verdict->why.c_str();
}

const char* tallow_verdict_cause(const tallow_verdict* verdict) {
    return verdictOf(verdict).cause.c_str();
}

tallow_step tallow_verdict_reached(const tallow_verdict* verdict) {
    return numberOf<tallow_step>(verdictOf(verdict).reached);
}

void tallow_verdict_free(tallow_verdict* verdict) {
    delete verdict;
}

const char* tallow_verdict_subject(const tallow_verdict* verdict) {
    return verdictOf(verdict).subject.c_str();
}

const std::uint8_t* tallow_verdict_serial(const tallow_verdict* verdict, std::size_t* size) {
    return octetsOf(verdictOf(verdict).serial, size);
}

bool tallow_verdict_produced_at(const tallow_verdict* verdict, std::int64_t* seconds) {
    return put(verdictOf(verdict).producedAt, seconds);
}

bool tallow_verdict_this_update(const tallow_verdict* verdict, std::int64_t* seconds) {
    return put(verdictOf(verdict).thisUpdate, seconds);
}

bool tallow_verdict_next_update(const tallow_verdict* verdict, std::int64_t* seconds) {
    return put(verdictOf(verdict).nextUpdate, seconds);
}

bool tallow_verdict_revoked_at(const tallow_verdict* verdict, std::int64_t* seconds) {
    return put(verdictOf(verdict).revokedAt, seconds);
}

std::int32_t tallow_verdict_reason(const tallow_verdict* verdict) {
    const std::optional<tallow::Reason>& reason = verdictOf(verdict).reason;
    return reason ? static_cast<std::int32_t>(*reason) : -1;
}

tallow_freshness tallow_verdict_freshness(const tallow_verdict* verdict) {
    return numberOf<tallow_freshness>(verdictOf(verdict).freshness);
}

tallow_authority tallow_verdict_authority(const tallow_verdict* verdict) {
    return numberOf<tallow_authority>(verdictOf(verdict).authority);
}

bool tallow_verdict_is_chain_valid(const tallow_verdict* verdict) {
    return verdictOf(verdict).isChainValid;
}

const char* tallow_verdict_responder(const tallow_verdict* verdict) {
    return verdictOf(verdict).responder.c_str();
}

const char* tallow_verdict_signer(const tallow_verdict* verdict) {
    return verdictOf(verdict).signer.c_str();
}

const std::uint8_t* tallow_verdict_signer_certificate(const tallow_verdict* verdict, std::size_t* size) {
    return octetsOf(verdictOf(verdict).signerCertificate, size);
}

const std::uint8_t* tallow_verdict_request(const tallow_verdict* verdict, std::size_t* size) {
    return octetsOf(verdictOf(verdict).request, size);
}

const std::uint8_t* tallow_verdict_response(const tallow_verdict* verdict, std::size_t* size) {
    return octetsOf(verdictOf(verdict).response, size);
}

const std::uint8_t* tallow_verdict_unverified(const tallow_verdict* verdict, std::size_t* size) {
    return octetsOf(verdictOf(verdict).unverified, size);
}

std::size_t tallow_verdict_attempt_count(const tallow_verdict* verdict) {
    return verdictOf(verdict).attempts.size();
}

const tallow_attempt* tallow_verdict_attempt(const tallow_verdict* verdict, std::size_t index) {
    const std::vector<Attempt>& attempts = verdictOf(verdict).attempts;
    return index < attempts.size() ? reinterpret_cast<const tallow_attempt*>(&attempts[index]) : nullptr;
}

const char* tallow_attempt_url(const tallow_attempt* attempt) {
    return attemptOf(attempt).url.c_str();
}

tallow_step tallow_attempt_reached(const tallow_attempt* attempt) {
    return numberOf<tallow_step>(attemptOf(attempt).reached);
}

std::int32_t tallow_attempt_status(const tallow_attempt* attempt) {
    return attemptOf(attempt).status;
}

std::int32_t tallow_attempt_http_status(const tallow_attempt* attempt) {
    return attemptOf(attempt).httpStatus;
}

std::int64_t tallow_attempt_duration_ms(const tallow_attempt* attempt) {
    return attemptOf(attempt).duration.count();
}

bool tallow_attempt_is_redirect(const tallow_attempt* attempt) {
    return attemptOf(attempt).isRedirect;
}

bool tallow_attempt_is_skipped(const tallow_attempt* attempt) {
    return attemptOf(attempt).isSkipped;
}

bool tallow_attempt_is_from_cache(const tallow_attempt* attempt) {
    return attemptOf(attempt).isFromCache;
}

const char* tallow_attempt_reason(const tallow_attempt* attempt) {
    return attemptOf(attempt).reason.c_str();
}

tallow_request_signer tallow_received_signer(const tallow_received* received) {
    return numberOf<tallow_request_signer>(requestOf(received).signer);
}

std::int32_t tallow_received_status(const tallow_received* received) {
    return requestOf(received).status;
}

const char* tallow_received_cause(const tallow_received* received) {
    return requestOf(received).cause.c_str();
}

const char* tallow_received_requestor(const tallow_received* received) {
    return requestOf(received).requestor.c_str();
}

const std::uint8_t* tallow_received_requestor_certificate(const tallow_received* received, std::size_t* size) {
    return octetsOf(requestOf(received).requestorCertificate, size);
}

const char* tallow_received_signature_algorithm(const tallow_received* received) {
    return requestOf(received).signatureAlgorithm.c_str();
}

std::size_t tallow_received_asked_count(const tallow_received* received) {
    return requestOf(received).asked.size();
}

const char* tallow_received_asked_hash(const tallow_received* received, std::size_t index) {
    return askedOf(received, index).hashOid.c_str();
}

const std::uint8_t* tallow_received_asked_issuer_name_hash(const tallow_received* received, std::size_t index,
                                                           std::size_t* size) {
    return octetsOf(askedOf(received, index).issuerNameHash, size);
}

const std::uint8_t* tallow_received_asked_issuer_key_hash(const tallow_received* received, std::size_t index,
                                                          std::size_t* size) {
    return octetsOf(askedOf(received, index).issuerKeyHash, size);
}

const std::uint8_t* tallow_received_asked_serial(const tallow_received* received, std::size_t index,
                                                 std::size_t* size) {
    return octetsOf(askedOf(received, index).serial, size);
}

void tallow_received_free(tallow_received* received) {
    delete received;
}

const char* tallow_status_text(std::int32_t status) {
    const char* const text = status::text(status);
    return text != nullptr ? text : "a status of the system without a text of its own; look its number up";
}
