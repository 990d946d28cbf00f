/* The header read by a C compiler, and every function called with null for every pointer. Each function returns the
 * line of the first failure, 0 without one. */
#include "checker_c.h"

#define REQUIRE(condition)   \
    do {                     \
        if (!(condition)) {  \
            return __LINE__; \
        }                    \
    } while (0)
#define COUNT(array) (sizeof(array) / sizeof *(array))

static int settersFail(void) {
    const int32_t statuses[] = {
        tallow_checker_add_roots(NULL, NULL, 0),
        tallow_checker_add_system_roots(NULL),
        tallow_checker_add_certificates(NULL, NULL, 0),
        tallow_checker_add_crls(NULL, NULL, 0),
        tallow_checker_set_timeout_ms(NULL, 1),
        tallow_checker_add_responder(NULL, NULL),
        tallow_checker_set_nonce(NULL, TALLOW_NONCE_REQUIRE),
        tallow_checker_set_max_age_seconds(NULL, 1),
        tallow_checker_set_clock_skew_seconds(NULL, 1),
        tallow_checker_set_downloads(NULL, false),
        tallow_checker_set_proxy(NULL, NULL),
        tallow_checker_set_hash(NULL, NULL),
        tallow_checker_set_cache(NULL, true),
        tallow_checker_set_verify_chain(NULL, true),
        tallow_checker_set_policy(NULL, true),
        tallow_checker_set_exchange(NULL, NULL, NULL),
    };
    for (size_t i = 0; i < COUNT(statuses); ++i) {
        REQUIRE(statuses[i] != 0);
    }
    tallow_checker_clear_problem(NULL);
    tallow_checker_free(NULL);
    REQUIRE(*tallow_checker_problem(NULL) == '\0' && !tallow_body_append(NULL, NULL, 0));
    return 0;
}

/* `verdict` is null, or a verdict on nothing. */
static int verdictIsUnproven(const tallow_verdict* verdict) {
    const char* (*const texts[])(const tallow_verdict*) = {tallow_verdict_subject, tallow_verdict_responder,
                                                           tallow_verdict_signer};
    const uint8_t* (*const octets[])(const tallow_verdict*, size_t*) = {
        tallow_verdict_serial, tallow_verdict_signer_certificate, tallow_verdict_request, tallow_verdict_response,
        tallow_verdict_unverified};
    bool (*const times[])(const tallow_verdict*, int64_t*) = {tallow_verdict_produced_at, tallow_verdict_this_update,
                                                              tallow_verdict_next_update, tallow_verdict_revoked_at};
    for (size_t i = 0; i < COUNT(texts); ++i) {
        REQUIRE(*texts[i](verdict) == '\0');
    }
    for (size_t i = 0; i < COUNT(octets); ++i) {
        size_t size = 1;
        REQUIRE(octets[i](verdict, &size) == NULL && size == 0 && octets[i](verdict, NULL) == NULL);
    }
    for (size_t i = 0; i < COUNT(times); ++i) {
        int64_t seconds = 1;
        REQUIRE(!times[i](verdict, &seconds) && seconds == 0 && !times[i](verdict, NULL));
    }
    REQUIRE(!tallow_verdict_is_good(verdict) && tallow_verdict_answer(verdict) == TALLOW_UNPROVEN);
    REQUIRE(tallow_verdict_status(verdict) != 0 && tallow_verdict_reached(verdict) < TALLOW_STEP_NONCE);
    REQUIRE(*tallow_verdict_why(verdict) != '\0' && (*tallow_verdict_cause(verdict) == '\0') == (verdict == NULL));
    REQUIRE(tallow_verdict_reason(verdict) == -1 && tallow_verdict_freshness(verdict) == TALLOW_FRESHNESS_NONE);
    REQUIRE(tallow_verdict_authority(verdict) == TALLOW_AUTHORITY_NONE && !tallow_verdict_is_chain_valid(verdict));
    REQUIRE(tallow_verdict_attempt_count(verdict) == 0 && tallow_verdict_attempt(verdict, 0) == NULL);
    return 0;
}

static int othersAreEmpty(const tallow_question* question, const tallow_received* received) {
    REQUIRE(*tallow_attempt_url(NULL) == '\0' && tallow_attempt_reached(NULL) == TALLOW_STEP_INPUT);
    REQUIRE(tallow_attempt_status(NULL) != 0 && tallow_attempt_http_status(NULL) == 0);
    REQUIRE(tallow_attempt_duration_ms(NULL) == 0 && !tallow_attempt_is_redirect(NULL));
    REQUIRE(!tallow_attempt_is_skipped(NULL) && !tallow_attempt_is_from_cache(NULL));
    REQUIRE(*tallow_attempt_reason(NULL) == '\0');
    REQUIRE(tallow_question_request(question, NULL) == NULL && tallow_question_status(question) != 0);
    REQUIRE((*tallow_question_cause(question) == '\0') == (question == NULL));
    REQUIRE(tallow_question_responder_count(question) == 0 && *tallow_question_responder(question, 0) == '\0');
    REQUIRE(tallow_received_signer(received) == TALLOW_REQUEST_UNDECIDED && tallow_received_status(received) != 0);
    REQUIRE((*tallow_received_cause(received) == '\0') == (received == NULL));
    REQUIRE(*tallow_received_requestor(received) == '\0' && *tallow_received_signature_algorithm(received) == '\0');
    REQUIRE(tallow_received_requestor_certificate(received, NULL) == NULL);
    REQUIRE(tallow_received_asked_count(received) == 0 && *tallow_received_asked_hash(received, 0) == '\0');
    REQUIRE(tallow_received_asked_issuer_name_hash(received, 0, NULL) == NULL);
    REQUIRE(tallow_received_asked_issuer_key_hash(received, 0, NULL) == NULL);
    REQUIRE(tallow_received_asked_serial(received, 0, NULL) == NULL);
    return 0;
}

/* Every function that checks, with nothing to check. */
static int checksAreUnproven(const tallow_checker* checker, size_t size) {
    tallow_question* question = tallow_ask(checker, NULL, size, NULL, size);
    tallow_verdict_list* list = tallow_verify_entries(checker, NULL, size, NULL, size);
    tallow_received* received = tallow_receive(checker, NULL, size);
    tallow_verdict* verdicts[] = {
        tallow_check(checker, NULL, size, NULL, size),
        tallow_fetch_staple(checker, NULL, size, NULL, size),
        tallow_judge(checker, question, NULL, size),
        tallow_judge(checker, NULL, NULL, size),
        tallow_verify(checker, NULL, size, NULL, size, NULL, size),
        tallow_verify_with_request(checker, NULL, size, NULL, size, NULL, size, NULL, size),
        tallow_proved_at(checker, 0, NULL, size, NULL, size, NULL, size),
    };
    int line = othersAreEmpty(question, received);
    if (line == 0 && (tallow_verdict_list_count(list) != 1 || tallow_verdict_list_at(list, 1) != NULL)) {
        line = __LINE__;
    }
    line = line != 0 ? line : verdictIsUnproven(tallow_verdict_list_at(list, 0));
    for (size_t i = 0; i < COUNT(verdicts); ++i) {
        line = line != 0 ? line : verdicts[i] == NULL ? __LINE__ : verdictIsUnproven(verdicts[i]);
        tallow_verdict_free(verdicts[i]);
    }
    tallow_received_free(received);
    tallow_verdict_list_free(list);
    tallow_question_free(question);
    return line;
}

int lineThatFailsForNull(void) {
    tallow_checker* checker = tallow_checker_new();
    const int lines[] = {settersFail(),
                         verdictIsUnproven(NULL),
                         othersAreEmpty(NULL, NULL),
                         checksAreUnproven(NULL, 0),
                         checksAreUnproven(checker, 0),
                         checksAreUnproven(checker, 7)};
    tallow_checker_free(checker);
    tallow_verdict_free(NULL);
    tallow_verdict_list_free(NULL);
    tallow_question_free(NULL);
    tallow_received_free(NULL);
    for (size_t i = 0; i < COUNT(lines); ++i) {
        if (lines[i] != 0) {
            return lines[i];
        }
    }
    REQUIRE(tallow_verdict_list_count(NULL) == 0 && tallow_verdict_list_at(NULL, 0) == NULL);
    REQUIRE(*tallow_status_text(0) != '\0' && *tallow_status_text(-1) != '\0');
    return 0;
}
