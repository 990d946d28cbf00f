// The last error of each thread.
#include "platform/support/support_service.h"

namespace {

thread_local DWORD lastError = 0;

}  // namespace

DWORD GetLastError(void) {
    return lastError;
}

void SetLastError(DWORD code) {
    lastError = code;
}
