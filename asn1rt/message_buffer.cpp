#include "asn1rt/message_buffer.h"

#include <algorithm>

#include "asn1rt/control_type.h"
#include "asn1rt/decode.h"
#include "asn1rt/encode.h"
#include "asn1rt/status.h"

ASN1RTLException::~ASN1RTLException() = default;
ASN1MessageBuffer::RTLError::~RTLError() = default;

ASN1MessageBufferIF::~ASN1MessageBufferIF() = default;

int ASN1MessageBufferIF::init() {
    return 0;
}

ASN1MessageBuffer::ASN1MessageBuffer(Type type) : mpContext(new ASN1Context), mBufferType(type) {}

std::uint8_t* ASN1MessageBuffer::getMsgCopy() {
    return nullptr;
}

std::uint8_t* ASN1MessageBuffer::getMsgPtr() {
    return getCtxtPtr()->buffer.data;
}

int ASN1MessageBuffer::initBuffer(ASN1MemBuf& memory) {
    std::uint32_t size = 0;
    const std::uint8_t* data = memory.data == nullptr ? nullptr : rtMemBufGetData(&memory, &size);
    if (data == nullptr) {
        // A context without octets would request a new buffer, and a decoder would read whatever it contains.
        return rtErrSetData(&getCtxtPtr()->errInfo, STATUS_BAD_ARGUMENT, nullptr, 0);
    }
    return rtInitContextBuffer(getCtxtPtr(), data, size);
}

int ASN1MessageBuffer::initBuffer(unsigned short* /*text*/) {
    return STATUS_NOT_SUPPORTED;
}

int ASN1MessageBuffer::initBuffer(char* /*text*/) {
    return STATUS_NOT_SUPPORTED;
}

ASN1BEREncodeBuffer::ASN1BEREncodeBuffer() : ASN1BEREncodeBuffer(nullptr, 0) {}

ASN1BEREncodeBuffer::ASN1BEREncodeBuffer(std::uint8_t* data, std::uint32_t size) : ASN1BERMessageBuffer(kBerEncode) {
    const int status = setBuffer(data, size);
    if (status != 0) {
        throw RTLError(status);
    }
}

int ASN1BEREncodeBuffer::setBuffer(std::uint8_t* data, std::uint32_t size) {
    // An array without an octet has no last one to leave free.
    if (size > INT32_MAX || (data != nullptr && size == 0)) {
        return STATUS_BAD_ARGUMENT;
    }
    return xe_setp(getCtxtPtr(), data, static_cast<int>(size));
}

std::uint8_t* ASN1BEREncodeBuffer::getMsgPtr() {
    return xe_getp(getCtxtPtr());
}

std::uint8_t* ASN1BEREncodeBuffer::getMsgCopy() {
    const ASN1Buffer& buffer = getCtxtPtr()->buffer;
    if (buffer.data == nullptr || buffer.byteIndex >= buffer.size) {
        return nullptr;
    }
    // The last octet of the buffer is never written: it comes out as 0 instead of what memory held before.
    const std::uint32_t size = buffer.size - buffer.byteIndex;
    auto* copy = new std::uint8_t[size];
    std::copy_n(xe_getp(getCtxtPtr()), size - 1, copy);
    copy[size - 1] = 0;
    return copy;
}

int ASN1BEREncodeBuffer::init() {
    ASN1Buffer& buffer = getCtxtPtr()->buffer;
    buffer.byteIndex = buffer.size == 0 ? 0 : buffer.size - 1;
    return 0;
}

ASN1BEREncodeBuffer& ASN1BEREncodeBuffer::operator<<(ASN1CType& value) {
    const int result = value.EncodeTo(*this);
    // A length is thrown like a status: a successful encoding throws too.
    if (result != 0) {
        throw ASN1RTLException(result);
    }
    return *this;
}

ASN1BERDecodeBuffer::ASN1BERDecodeBuffer() : ASN1BERMessageBuffer(kBerDecode) {}

ASN1BERDecodeBuffer::ASN1BERDecodeBuffer(const std::uint8_t* data, std::int32_t size)
    : ASN1BERMessageBuffer(kBerDecode), mpInput(data), mInputSize(size) {}

int ASN1BERDecodeBuffer::bind() {
    // Bound even when the first header is rejected: the octets are in place, and the next reader meets the same fault.
    mBound = true;
    return xd_setp(getCtxtPtr(), mpInput, mInputSize, nullptr, nullptr);
}

int ASN1BERDecodeBuffer::init() {
    if (mpInput == nullptr || mInputSize < 1 || (mBound && getCtxtPtr()->buffer.data == mpInput)) {
        return 0;
    }
    return bind();
}

int ASN1BERDecodeBuffer::setBuffer(const std::uint8_t* data, std::int32_t size, bool keepIfSame) {
    if (keepIfSame && mBound && data == mpInput && size == mInputSize) {
        return 0;
    }
    mpInput = data;
    mInputSize = size;
    mBound = false;
    if (data == nullptr || size < 1) {
        return STATUS_NOT_SUPPORTED;
    }
    return init();
}

const std::uint8_t* ASN1BERDecodeBuffer::findElement(ASN1TAG tag, std::int32_t& length, bool first) {
    if (mpInput == nullptr || mInputSize < 1) {
        return nullptr;
    }
    if (first && bind() != 0) {
        return nullptr;
    }
    const int options = first ? MATCH_SEEK : MATCH_SEEK + MATCH_SKIP_FIRST;
    int found = 0;
    if (!mBound || xd_match(getCtxtPtr(), tag, &found, options) != 0) {
        return nullptr;
    }
    length = found;
    const ASN1Buffer& buffer = getCtxtPtr()->buffer;
    return buffer.data + buffer.byteIndex;
}

ASN1BERDecodeBuffer& ASN1BERDecodeBuffer::operator>>(ASN1CType& value) {
    const int status = value.DecodeFrom(*this);
    if (status != 0) {
        throw ASN1RTLException(status);
    }
    return *this;
}
