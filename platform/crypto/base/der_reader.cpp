#include "platform/crypto/base/der_reader.h"

#include <openssl/objects.h>

#include <array>
#include <climits>
#include <new>

#include "platform/crypto/base/decode_whole.h"

namespace tallow::platform {

namespace {

constexpr int kHeaderError = 0x80;
constexpr int kIndefiniteLength = 0x01;
// OpenSSL's conversion of an identifier to text takes time quadratic in the size of an arc; no identifier in use comes
// near this size.
constexpr size_t kMaximumOidSize = 128;

// Reads a header of two octets: a tag below 31 and a length below 128. That is most headers, and a CRL can have
// millions. False for all others, and for elements that do not fit.
bool readShort(ByteView bytes, DerElement& element) noexcept {
    constexpr unsigned kTagBits = 0x1F;
    constexpr size_t kSizeHeader = 2;
    if (bytes.size() < kSizeHeader || (bytes[0] & kTagBits) == kTagBits || bytes[1] >= 0x80 ||
        bytes[1] > bytes.size() - kSizeHeader) {
        return false;
    }
    element.tag = static_cast<int>(bytes[0] & kTagBits);
    element.tagClass = bytes[0] & V_ASN1_PRIVATE;
    element.constructed = (bytes[0] & V_ASN1_CONSTRUCTED) != 0;
    element.whole = bytes.first(kSizeHeader + bytes[1]);
    element.content = element.whole.subspan(kSizeHeader);
    return true;
}

}  // namespace

DerElement DerReader::next() noexcept {
    DerElement element;
    if (failed_ || rest_.empty() || rest_.size() > LONG_MAX) {
        failed_ = true;
        return element;
    }
    if (readShort(rest_, element)) {
        rest_ = rest_.subspan(element.whole.size());
        return element;
    }
    const unsigned char* position = rest_.data();
    long length = 0;
    const int header =
        ASN1_get_object(&position, &length, &element.tag, &element.tagClass, static_cast<long>(rest_.size()));
    if ((header & kHeaderError) != 0 || (header & kIndefiniteLength) != 0) {
        failed_ = true;
        return {};
    }
    const size_t sizeHeader = static_cast<size_t>(position - rest_.data());
    element.constructed = (header & V_ASN1_CONSTRUCTED) != 0;
    element.whole = rest_.first(sizeHeader + static_cast<size_t>(length));
    element.content = element.whole.subspan(sizeHeader);
    rest_ = rest_.subspan(element.whole.size());
    return element;
}

DerElement DerReader::expect(int tag) noexcept {
    const DerElement element = next();
    const bool constructed = tag == V_ASN1_SEQUENCE || tag == V_ASN1_SET;
    if (failed_ || element.tagClass != V_ASN1_UNIVERSAL || element.tag != tag || element.constructed != constructed) {
        failed_ = true;
        return {};
    }
    return element;
}

DerElement DerReader::optionalContext(int tag) noexcept {
    if (failed_ || rest_.empty()) {
        return {};
    }
    const ByteView before = rest_;
    const DerElement element = next();
    if (!failed_ && element.tagClass == V_ASN1_CONTEXT_SPECIFIC && element.tag == tag) {
        return element;
    }
    rest_ = before;
    return {};
}

std::string oidText(const DerElement& element) {
    if (element.tag != V_ASN1_OBJECT || element.whole.size() > kMaximumOidSize) {
        return {};
    }
    const auto object = decodeWhole<d2i_ASN1_OBJECT, ASN1_OBJECT_free>(element.whole);
    if (object == nullptr) {
        return {};
    }
    std::array<char, 512> text{};
    const int length = OBJ_obj2txt(text.data(), text.size(), object.get(), 1);
    if (length < 0) {  // what decodes has a text: only memory can be missing
        throw std::bad_alloc();
    }
    return length > 0 && static_cast<size_t>(length) < text.size() ? std::string(text.data()) : std::string();
}

bool readBitString(const DerElement& element, ByteView& octets, DWORD& unusedBits) noexcept {
    if (element.content.empty() || element.content[0] > 7 || (element.content.size() == 1 && element.content[0] != 0)) {
        return false;
    }
    unusedBits = element.content[0];
    octets = element.content.subspan(1);
    return true;
}

}  // namespace tallow::platform
