#include "asn1rt/context_ref.h"

#include <utility>

#include "asn1rt/message_buffer.h"

ASN1Context::ASN1Context() : ASN1CTXT() {
    const int status = rtInitContext(this, nullptr);
    if (status != 0) {
        throw ASN1MessageBuffer::RTLError(status);
    }
}

ASN1Context::~ASN1Context() {
    rtFreeContext(this);
}

void ASN1Context::_unref() noexcept {
    if (--refCount == 0) {
        delete this;
    }
}

void ASN1Context::PrintErrorInfo() {
    rtErrPrint(&errInfo);
}

ASN1CtxtPtr::ASN1CtxtPtr(ASN1Context* context) noexcept : mPointer(context) {
    if (mPointer != nullptr) {
        mPointer->_ref();
    }
}

ASN1CtxtPtr::ASN1CtxtPtr(const ASN1CtxtPtr& other) noexcept : ASN1CtxtPtr(other.mPointer) {}

ASN1CtxtPtr::ASN1CtxtPtr(ASN1CtxtPtr&& other) noexcept : mPointer(std::exchange(other.mPointer, nullptr)) {}

// By value and exchange: the old reference goes last, so a context that keeps itself alive through this pointer
// survives being assigned to it.
ASN1CtxtPtr& ASN1CtxtPtr::operator=(ASN1Context* context) noexcept {
    ASN1CtxtPtr fresh(context);
    std::swap(mPointer, fresh.mPointer);
    return *this;
}

ASN1CtxtPtr& ASN1CtxtPtr::operator=(const ASN1CtxtPtr& other) noexcept {
    if (this != &other) {
        *this = other.mPointer;
    }
    return *this;
}

ASN1CtxtPtr& ASN1CtxtPtr::operator=(ASN1CtxtPtr&& other) noexcept {
    std::swap(mPointer, other.mPointer);
    return *this;
}

ASN1CtxtPtr::~ASN1CtxtPtr() {
    if (mPointer != nullptr) {
        mPointer->_unref();
    }
}
