#include "platform/crypto/certificates/certificate_cache.h"

#include <algorithm>
#include <array>
#include <functional>
#include <mutex>
#include <string_view>

namespace tallow::platform {

namespace {

constexpr std::size_t kNumPlaces = 512;
constexpr std::size_t kMaxSize = 8192;

struct Cache {
    std::mutex mutex;
    std::array<std::shared_ptr<const CertificateBody>, kNumPlaces> places;
};

// Never destroyed: other threads may still be in a call while the process ends.
Cache& cache() {
    static auto* const made = std::make_unique<Cache>().release();
    return *made;
}

std::size_t placeOf(ByteView der) {
    return std::hash<std::string_view>()({reinterpret_cast<const char*>(der.data()), der.size()}) % kNumPlaces;
}

}  // namespace

std::shared_ptr<const CertificateBody> sharedBody(ByteView der) {
    if (der.empty() || der.size() > kMaxSize) {
        return CertificateBody::parse(der);
    }
    std::shared_ptr<const CertificateBody>& place = cache().places.at(placeOf(der));
    {
        const std::lock_guard<std::mutex> lock(cache().mutex);
        if (place && std::ranges::equal(place->der(), der)) {
            return place;
        }
    }
    std::shared_ptr<const CertificateBody> body = CertificateBody::parse(der);
    if (body) {
        const std::lock_guard<std::mutex> lock(cache().mutex);
        place = body;
    }
    return body;
}

}  // namespace tallow::platform
