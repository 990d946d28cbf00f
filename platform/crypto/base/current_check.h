// The check that runs on the calling thread, with what it takes over from the checks around it: crypto_begin_check in
// crypto_service.h.
#pragma once

#include "platform/crypto/crypto_service.h"

namespace tallow::platform {

// The innermost check of this thread; null outside of one.
CRYPTO_CHECK* currentCheck() noexcept;
void setCurrentCheck(CRYPTO_CHECK* check) noexcept;

// Whether a check of this thread, the innermost or one around it, has the restriction: a CRYPTO_CHECK_NO_... bit.
bool isForbidden(DWORD restriction) noexcept;

// The store with the roots of the check; null when it has none.
HCERTSTORE rootsOfCheck() noexcept;

// Whether a check of this thread has a listener. Without one, notes that are expensive to make are left out.
bool isNoted() noexcept;
// Passes a note to the listener of the innermost check that has one. The note needs no cbSize; its texts may be null.
void tell(CRYPTO_NOTE note) noexcept;

// The time for which a call evaluates certificates and CRLs: its own, else that of the check, else now.
struct EvaluationTime {
    FILETIME when{};
    bool isOfCheck = false;
};
EvaluationTime evaluationTime(const FILETIME* ofCall = nullptr) noexcept;

}  // namespace tallow::platform
