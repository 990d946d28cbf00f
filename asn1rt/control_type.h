// The base of all control classes: an object over a value record that encodes it to, or decodes it from, a buffer.
#pragma once

#include "asn1rt/context_ref.h"
#include "asn1rt/message_buffer.h"
#include "export.h"

class TALLOW_EXPORT ASN1CType {
public:
    /// Works in the context of the buffer. The buffer is kept for Encode() and Decode() and must outlive them.
    explicit ASN1CType(ASN1MessageBufferIF& buffer);
    /// Works in the given context, without a buffer.
    explicit ASN1CType(ASN1Context& context);
    /// Shares context and buffer.
    ASN1CType(const ASN1CType&) = default;
    ASN1CType& operator=(const ASN1CType&) = delete;
    virtual ~ASN1CType();

    /// EncodeTo and DecodeFrom with the buffer kept. STATUS_BAD_ARGUMENT without one.
    [[nodiscard]] virtual int Encode();
    [[nodiscard]] virtual int Decode();
    /// Encodes the value and returns its octets, or a negative status. Returns 0 and does nothing here.
    [[nodiscard]] virtual int EncodeTo(ASN1MessageBufferIF& buffer);
    /// Decodes the value and returns a status. Returns 0 and does nothing here.
    [[nodiscard]] virtual int DecodeFrom(ASN1MessageBufferIF& buffer);

    /// Keeps the buffer, and shares its type heap, so that what is decoded from it lives as long as this object.
    void setMsgBuf(ASN1MessageBufferIF& buffer);

    [[nodiscard]] ASN1CtxtPtr getContext() const { return mpContext; }
    [[nodiscard]] ASN1CTXT* getCtxtPtr() const { return mpContext.get(); }

protected:
    /// Works in its own new context.
    ASN1CType();

    /// Records a failure in the context and returns it.
    int fail(int status) const;

    ASN1CtxtPtr mpContext;
    ASN1MessageBufferIF* mpMsgBuf = nullptr;  // not owned
};
