// What the opaque types of the C functions hold. Private to the library.
#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "checker/checker.h"
#include "checker/checker_c.h"

/// Filled by setters; the first use makes `built` of it, after which only `status` and `problem` change.
struct tallow_checker {
    mutable std::mutex mutex;
    tallow::Trust trust;
    tallow::Options options;
    mutable std::optional<tallow::Checker> built;
    std::int32_t status = 0;  // of the first setter that failed
    std::string problem;      // its text; empty when memory did not suffice for it
};

/// Without a question `status` and `cause` say why.
struct tallow_question {
    std::optional<tallow::Question> question;
    std::int32_t status = -1;
    std::string cause;
};

struct tallow_verdict {
    tallow::Verdict verdict;
    std::string why;
};

struct tallow_verdict_list {
    std::vector<tallow_verdict> verdicts;
};

struct tallow_received {
    tallow::ReceivedRequest request;
};

struct tallow_body {
    tallow::Bytes octets;
    bool isRefused = false;  // not all of it could be kept
};
