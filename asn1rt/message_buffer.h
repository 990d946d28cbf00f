// Message buffers bind a context to octets: ASN1BEREncodeBuffer to write into, ASN1BERDecodeBuffer to read from.
//
//   ASN1BEREncodeBuffer buffer;
//   int size = control.EncodeTo(buffer);        // control: a control class of the schema over its value record
//   if (size >= 0) use(buffer.getMsgPtr(), size);
//
// Constructors throw ASN1MessageBuffer::RTLError, operator<< and operator>> throw ASN1RTLException; everything else
// returns a status. A buffer and all that shares its context belong to one thread.
#pragma once

#include <cstdint>

#include "asn1rt/context.h"
#include "asn1rt/context_ref.h"
#include "asn1rt/mem_buf.h"
#include "asn1rt/types.h"
#include "export.h"

class ASN1CType;

/// A failure of the runtime with its status, thrown where no status can be returned.
class TALLOW_EXPORT ASN1RTLException {
public:
    explicit ASN1RTLException(std::int32_t failure) noexcept : status(failure) {}
    ASN1RTLException(const ASN1RTLException&) = default;
    ASN1RTLException& operator=(const ASN1RTLException&) = default;
    virtual ~ASN1RTLException();

    [[nodiscard]] std::int32_t getStatus() const noexcept { return status; }

protected:
    std::int32_t status;
};

/// What control classes need of a buffer.
class TALLOW_EXPORT ASN1MessageBufferIF {
public:
    enum Type { kBerEncode = 0, kBerDecode = 1 };

    ASN1MessageBufferIF() = default;
    ASN1MessageBufferIF(const ASN1MessageBufferIF&) = delete;
    ASN1MessageBufferIF& operator=(const ASN1MessageBufferIF&) = delete;
    virtual ~ASN1MessageBufferIF();

    /// The context, with a new reference: values that must outlive the buffer hold on to it.
    virtual ASN1CtxtPtr getContext() const = 0;
    /// The same context as the functions of the runtime take it. Valid as long as a reference exists.
    virtual ASN1CTXT* getCtxtPtr() const = 0;
    /// A copy of the message made with new[], which the caller frees with delete[]. Null when there is none.
    virtual std::uint8_t* getMsgCopy() = 0;
    /// The first octet of the message, inside the buffer.
    virtual std::uint8_t* getMsgPtr() = 0;
    /// Makes the buffer ready for an encoding or decoding. Does nothing here.
    [[nodiscard]] virtual int init();
    /// Binds the context to the octets of a memory buffer, which must live as long as they are read. Returns
    /// STATUS_BAD_ARGUMENT when it holds none.
    [[nodiscard]] virtual int initBuffer(ASN1MemBuf& memory) = 0;
    /// Texts in characters cannot be bound: STATUS_NOT_SUPPORTED.
    [[nodiscard]] virtual int initBuffer(unsigned short* text) = 0;
    [[nodiscard]] virtual int initBuffer(char* text) = 0;
    /// Whether the buffer is of this type.
    virtual bool isA(Type type) const = 0;
};

/// A buffer with its own context.
class TALLOW_EXPORT ASN1MessageBuffer : public ASN1MessageBufferIF {
public:
    /// Thrown by constructors.
    class TALLOW_EXPORT RTLError : public ASN1RTLException {
    public:
        using ASN1RTLException::ASN1RTLException;
        RTLError(const RTLError&) = default;
        RTLError& operator=(const RTLError&) = default;
        ~RTLError() override;
    };

    ASN1CtxtPtr getContext() const override { return mpContext; }
    ASN1CTXT* getCtxtPtr() const override { return mpContext.get(); }
    std::uint8_t* getMsgCopy() override;
    std::uint8_t* getMsgPtr() override;
    [[nodiscard]] int initBuffer(ASN1MemBuf& memory) override;
    [[nodiscard]] int initBuffer(unsigned short* text) override;
    [[nodiscard]] int initBuffer(char* text) override;
    bool isA(Type type) const override { return type == mBufferType; }

protected:
    explicit ASN1MessageBuffer(Type type);

    ASN1CtxtPtr mpContext;
    Type mBufferType;
};

/// A buffer of BER octets.
class TALLOW_EXPORT ASN1BERMessageBuffer : public ASN1MessageBuffer {
protected:
    using ASN1MessageBuffer::ASN1MessageBuffer;
};

/// A buffer to encode into. It fills from its end toward its start: take getMsgPtr() after the encoding. The length of
/// the message is what EncodeTo returned.
class TALLOW_EXPORT ASN1BEREncodeBuffer : public ASN1BERMessageBuffer {
public:
    /// A buffer that grows.
    ASN1BEREncodeBuffer();
    /// The caller's array of `size` octets, which must outlive the buffer; it holds a message of `size - 1`. Null
    /// `data` gives a buffer that grows, of `size` octets at first.
    ASN1BEREncodeBuffer(std::uint8_t* data, std::uint32_t size);

    /// Binds another array, as the constructor does. Returns a status: STATUS_BAD_ARGUMENT for an array without an
    /// octet or a size above 2,147,483,647, STATUS_NO_MEMORY.
    [[nodiscard]] int setBuffer(std::uint8_t* data, std::uint32_t size);

    std::uint8_t* getMsgPtr() override;
    /// One octet longer than the message; that last octet is 0.
    std::uint8_t* getMsgCopy() override;
    /// Empties the buffer.
    [[nodiscard]] int init() override;

    /// Encodes with EncodeTo. Throws ASN1RTLException for any result but 0 - which includes the length that a
    /// successful encoding returns, so this operator only suits control classes that return 0; use EncodeTo.
    ASN1BEREncodeBuffer& operator<<(ASN1CType& value);
};

/// A buffer to decode from. The octets are read in place and must live as long as the buffer is used.
class TALLOW_EXPORT ASN1BERDecodeBuffer : public ASN1BERMessageBuffer {
public:
    ASN1BERDecodeBuffer();
    /// `size` is in octets. Nothing is read before init(), which every DecodeFrom calls.
    ASN1BERDecodeBuffer(const std::uint8_t* data, std::int32_t size);

    /// Binds the octets and reads the header of the first element; octets after that element are out of reach. Bound
    /// already: returns 0 at once and the position stays, so that one DecodeFrom after another reads consecutive
    /// values. Without input returns 0 and binds nothing.
    [[nodiscard]] int init() override;

    /// Takes other octets and binds them. With `keepIfSame`, octets that are bound already are left as they are,
    /// position included. Returns a status; STATUS_NOT_SUPPORTED for null or a size below 1.
    [[nodiscard]] int setBuffer(const std::uint8_t* data, std::int32_t size, bool keepIfSame = false);

    /// Looks for the next element with this tag, depth first through all levels, from the start when `first` is true,
    /// otherwise after the header of the current element. Returns its first octet, inside the buffer, and the length
    /// of its contents or LEN_INDEFINITE; null when there is none or the octets are malformed.
    const std::uint8_t* findElement(ASN1TAG tag, std::int32_t& length, bool first = true);

    /// Decodes with DecodeFrom. Throws ASN1RTLException with its status when that is not 0.
    ASN1BERDecodeBuffer& operator>>(ASN1CType& value);

private:
    [[nodiscard]] int bind();

    const std::uint8_t* mpInput = nullptr;
    std::int32_t mInputSize = 0;
    bool mBound = false;
};
