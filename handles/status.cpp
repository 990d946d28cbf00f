#include "handles/status.h"

namespace status {

// Switches, so that a number that appears twice in the table does not compile.
const char* text(std::int32_t status) noexcept {
    switch (status) {
        case kOk:
            return "no error";
#define TALLOW_STATUS(symbol, number, text) \
    case k##symbol:                         \
        return text;
#include "handles/status_table.inc"
#undef TALLOW_STATUS
        default:
            return nullptr;
    }
}

const char* symbol(std::int32_t status) noexcept {
    switch (status) {
        case kOk:
            return "Ok";
#define TALLOW_STATUS(symbol, number, text) \
    case k##symbol:                         \
        return #symbol;
#include "handles/status_table.inc"
#undef TALLOW_STATUS
        default:
            return nullptr;
    }
}

}  // namespace status
