// Hexadecimal text of any kind into a blob, which may hold something already; what was read must come back the same.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "foundation/blob.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    Orvane::CBlob blob(static_cast<unsigned long>(data[0]));
    const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    blob.readFromHexString(text.c_str());
    if (blob.cbData() > text.size() / 2) {
        std::abort();
    }
    Orvane::CBlob again;
    again.readFromHexString(blob.writeToHexString(data[0]).c_str());
    if (again != blob) {
        std::abort();
    }
    return 0;
}
