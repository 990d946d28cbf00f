// Reads octets as a BasicOCSPResponse and as an OCSPResponse, both as the library does and through the record codec
// alone: the outcomes must be the same.
#include <cstdint>
#include <cstdlib>

#include "tests/message/response_readings.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Orvane::CBlob message(data, size);
    if (testkit::readingOf(message) != testkit::recordReadingOf(message) ||
        testkit::statusOfMessage(message) != testkit::recordStatusOfMessage(message)) {
        std::abort();
    }
    return 0;
}
