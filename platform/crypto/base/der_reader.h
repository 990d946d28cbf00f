// Walks over DER elements with OpenSSL's header reader. Every view lies inside the bytes given; the first element that
// does not fit puts the reader into a failed state, which all later reads keep.
#pragma once

#include <openssl/asn1.h>

#include <string>
#include <utility>

#include "platform/crypto/base/bytes.h"

namespace tallow::platform {

struct DerElement {
    int tag = -1;
    int tagClass = -1;
    bool constructed = false;
    ByteView whole;  // header and content
    ByteView content;

    // Whether the header is as short as possible, as DER has it; `tag` must be below 31.
    bool isShortest() const noexcept {
        return std::cmp_equal(ASN1_object_size(0, static_cast<int>(content.size()), tag), whole.size());
    }
};

class DerReader {
public:
    explicit DerReader(ByteView bytes) noexcept : rest_(bytes) {}

    bool failed() const noexcept { return failed_; }
    bool atEnd() const noexcept { return rest_.empty(); }

    // The next element, of any kind; empty after a failure.
    DerElement next() noexcept;
    // The next element, which must be of this universal kind.
    DerElement expect(int tag) noexcept;
    // The next element if it has this context tag, else an element with tag -1 and the reader where it was.
    DerElement optionalContext(int tag) noexcept;
    // A reader over the content of the next element, which must be a SEQUENCE.
    DerReader sequence() noexcept { return DerReader(expect(V_ASN1_SEQUENCE).content, failed_); }

private:
    DerReader(ByteView bytes, bool failed) noexcept : rest_(bytes), failed_(failed) {}

    ByteView rest_;
    bool failed_ = false;
};

// The dotted text of an OBJECT IDENTIFIER element; empty when it is malformed or longer than any in use. Throws
// std::bad_alloc.
std::string oidText(const DerElement& element);

// The octets of a BIT STRING and the number of unused bits in the last; false when malformed.
bool readBitString(const DerElement& element, ByteView& octets, DWORD& unusedBits) noexcept;

}  // namespace tallow::platform
