#include "foundation/blob.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>

#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane {
namespace {

// Below 0, 0 or above 0, as the order of the two blobs is.
int compare(const CBlob& left, const CBlob& right) noexcept {
    const unsigned long common = std::min(left.cbData(), right.cbData());
    const int order = common == 0 ? 0 : std::memcmp(left.pbData(), right.pbData(), common);
    return order != 0 ? order : static_cast<std::int32_t>(left.cbData() - right.cbData());
}

}  // namespace

CBlob::CBlob(const unsigned char* data, unsigned long size) {
    assign(data, size);
}

CBlob::CBlob(unsigned long size) : cbData_(size), pbData_(std::make_unique<unsigned char[]>(size)) {}

CBlob& CBlob::operator=(const CBlob& other) {
    assign(other.pbData(), other.cbData());
    return *this;
}

CBlob& CBlob::operator=(CBlob&& other) noexcept {
    if (this != &other) {
        cbData_ = std::exchange(other.cbData_, 0);
        pbData_ = std::move(other.pbData_);
    }
    return *this;
}

void CBlob::assign(const unsigned char* data, unsigned long size) {
    std::unique_ptr<unsigned char[]> copy;
    if (size != 0) {
        if (data == nullptr) {
            ATL::AtlThrowImpl(status::kInvalidArgument);
        }
        copy = std::make_unique_for_overwrite<unsigned char[]>(size);
        std::memcpy(copy.get(), data, size);
    }
    pbData_ = std::move(copy);
    cbData_ = size;
}

void CBlob::resize_to(unsigned long size) {
    // The size and not the room decides: a blob that was shrunk gets a new buffer when it grows again, and keeps only
    // the bytes of the smaller size.
    if (size > cbData_) {
        auto grown = std::make_unique_for_overwrite<unsigned char[]>(size);
        if (cbData_ != 0) {
            std::memcpy(grown.get(), pbData_.get(), cbData_);
        }
        pbData_ = std::move(grown);
    }
    cbData_ = size;
}

void CBlob::swap(CBlob& other) noexcept {
    std::swap(cbData_, other.cbData_);
    pbData_.swap(other.pbData_);
}

void CBlob::reverse() noexcept {
    if (cbData_ > 1) {
        std::reverse(pbData_.get(), pbData_.get() + cbData_);
    }
}

CBlob& CBlob::operator+=(const CBlob& other) {
    const unsigned long sizeOld = cbData_;
    const unsigned long sizeAdded = other.cbData_;
    if (sizeAdded > ~0UL - sizeOld) {
        throw std::bad_alloc();
    }
    resize_to(sizeOld + sizeAdded);
    if (sizeAdded == 0) {
        return *this;
    }
    if (&other == this) {
        // The content is not repeated; the new half is zeroed, so that it shows no old memory.
        std::memset(pbData_.get() + sizeOld, 0, sizeAdded);
    } else {
        std::memcpy(pbData_.get() + sizeOld, other.pbData_.get(), sizeAdded);
    }
    return *this;
}

bool operator==(const CBlob& left, const CBlob& right) noexcept {
    return left.cbData() == right.cbData() &&
           (left.cbData() == 0 || std::memcmp(left.pbData(), right.pbData(), left.cbData()) == 0);
}

bool operator<(const CBlob& left, const CBlob& right) noexcept {
    return compare(left, right) < 0;
}
bool operator<=(const CBlob& left, const CBlob& right) noexcept {
    return compare(left, right) <= 0;
}
bool operator>(const CBlob& left, const CBlob& right) noexcept {
    return compare(left, right) > 0;
}
bool operator>=(const CBlob& left, const CBlob& right) noexcept {
    return compare(left, right) >= 0;
}

}  // namespace Orvane
