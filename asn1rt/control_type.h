// The base of all control classes: an object over a value record that encodes it to, or decodes it from, a buffer.
//
//   ASN1BERDecodeBuffer buffer(data, size);
//   asn1data::ASN1T_CertID record{};
//   asn1data::ASN1C_CertID control(buffer, record);
//   if (int status = control.Decode(); status != 0) ...
#pragma once

#include "asn1rt/context_ref.h"
#include "asn1rt/message_buffer.h"
#include "export.h"

/// Neither the record nor the buffer is owned: both must outlive the object. What is decoded belongs to the type heap
/// of the context, which the object keeps alive. So a record may be read as long as the object lives, or as long as a
/// reference to its context does (getContext).
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

    /// EncodeTo and DecodeFrom with the buffer that was kept, and their results. STATUS_BAD_ARGUMENT, recorded in the
    /// context, without one.
    [[nodiscard]] virtual int Encode();
    [[nodiscard]] virtual int Decode();
    /// Encodes the value in DER and returns its octets (0 or more), or a negative status; the message is then
    /// incomplete. A buffer that holds a message already is emptied first. The generated classes override it; here it
    /// does nothing and returns 0.
    [[nodiscard]] virtual int EncodeTo(ASN1MessageBufferIF& buffer);
    /// Decodes the value and returns 0 or a negative status, with the record then partly filled: use nothing of it, and
    /// decode the next value into a fresh record. Here it does nothing and returns 0.
    [[nodiscard]] virtual int DecodeFrom(ASN1MessageBufferIF& buffer);

    /// Keeps the buffer, which must outlive its use, and shares its type heap, so that what is decoded from it lives as
    /// long as this object. What was in the object's own type heap is freed with that heap's last reference.
    void setMsgBuf(ASN1MessageBufferIF& buffer);

    /// The context, as a new reference or as the plain record, which is valid as long as this object.
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
