#include "handles/exception.h"

#include "handles/last_error.h"
#include "handles/status.h"

namespace ATL {

const char* CAtlException::what() const noexcept {
    const char* known = status::text(status_);
    return known != nullptr ? known : "a status without a text; see its number";
}

void AtlThrowImpl(std::int32_t status) {
    throw CAtlException(status);
}

void AtlThrowLastWin32() {
    throw CAtlException(ATL2::convertedLastError());
}

}  // namespace ATL
