// Between the library's blobs and the octets of the test helpers.
#pragma once

#include <string>

#include "foundation/blob.h"
#include "tests/support/bytes.h"

namespace testkit {

inline Orvane::CBlob blob(const Bytes& bytes) {
    return {bytes.data(), bytes.size()};
}
inline Orvane::CBlob blobFromHex(std::string_view hex) {
    return blob(fromHex(hex));
}
inline Bytes bytes(const Orvane::CBlob& data) {
    return {data.pbData(), data.pbData() + data.cbData()};
}
/// Lower-case hexadecimal.
inline std::string hexOf(const Orvane::CBlob& data) {
    return toHex(bytes(data));
}

}  // namespace testkit
