#include "asn1rt/control_type.h"

#include "asn1rt/status.h"

ASN1CType::ASN1CType(ASN1MessageBufferIF& buffer) : mpContext(buffer.getContext()), mpMsgBuf(&buffer) {}

ASN1CType::ASN1CType(ASN1Context& context) : mpContext(&context) {}

ASN1CType::ASN1CType() : mpContext(new ASN1Context) {}

ASN1CType::~ASN1CType() = default;

int ASN1CType::Encode() {
    return mpMsgBuf == nullptr ? fail(STATUS_BAD_ARGUMENT) : EncodeTo(*mpMsgBuf);
}

int ASN1CType::Decode() {
    return mpMsgBuf == nullptr ? fail(STATUS_BAD_ARGUMENT) : DecodeFrom(*mpMsgBuf);
}

int ASN1CType::EncodeTo(ASN1MessageBufferIF& /*buffer*/) {
    return 0;
}

int ASN1CType::DecodeFrom(ASN1MessageBufferIF& /*buffer*/) {
    return 0;
}

void ASN1CType::setMsgBuf(ASN1MessageBufferIF& buffer) {
    mpMsgBuf = &buffer;
    rtCtxtSetMemHeap(getCtxtPtr(), buffer.getCtxtPtr());
}

int ASN1CType::fail(int status) const {
    return mpContext.isNull() ? status : rtErrSetData(&getCtxtPtr()->errInfo, status, nullptr, 0);
}
