#include "platform/crypto/base/current_check.h"

namespace tallow::platform {

namespace {

thread_local CRYPTO_CHECK* innermost = nullptr;

// The value of the innermost check that has one, else null.
template <typename Value>
Value innermostOf(Value CRYPTO_CHECK::*field) noexcept {
    const CRYPTO_CHECK* check = innermost;
    while (check != nullptr && check->*field == nullptr) {
        check = check->pOuter;
    }
    return check == nullptr ? nullptr : check->*field;
}

}  // namespace

CRYPTO_CHECK* currentCheck() noexcept {
    return innermost;
}

void setCurrentCheck(CRYPTO_CHECK* check) noexcept {
    innermost = check;
}

bool isForbidden(DWORD restriction) noexcept {
    const CRYPTO_CHECK* check = innermost;
    while (check != nullptr && (check->dwFlags & restriction) == 0) {
        check = check->pOuter;
    }
    return check != nullptr;
}

HCERTSTORE rootsOfCheck() noexcept {
    return innermostOf(&CRYPTO_CHECK::hRoots);
}

bool isNoted() noexcept {
    return innermostOf(&CRYPTO_CHECK::pfnOnNote) != nullptr;
}

void tell(CRYPTO_NOTE note) noexcept {
    const CRYPTO_CHECK* check = innermost;
    while (check != nullptr && check->pfnOnNote == nullptr) {
        check = check->pOuter;
    }
    if (check == nullptr) {
        return;
    }
    note.cbSize = sizeof note;
    note.szUrl = note.szUrl == nullptr ? "" : note.szUrl;
    note.szReason = note.szReason == nullptr ? "" : note.szReason;
    check->pfnOnNote(check->pvOnNote, &note);
}

EvaluationTime evaluationTime(const FILETIME* ofCall) noexcept {
    if (ofCall != nullptr) {
        return {*ofCall, false};
    }
    if (const FILETIME* const ofCheck = innermostOf(&CRYPTO_CHECK::pTime)) {
        return {*ofCheck, true};
    }
    EvaluationTime now;
    GetSystemTimeAsFileTime(&now.when);
    return now;
}

}  // namespace tallow::platform
