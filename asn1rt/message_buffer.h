// Message buffers bind a context to octets: ASN1BEREncodeBuffer to write into, ASN1BERDecodeBuffer to read from.
//
//   ASN1BEREncodeBuffer buffer;
//   int size = control.EncodeTo(buffer);        // control: a control class of the schema over its value record
//   if (size >= 0) use(buffer.getMsgPtr(), size);
//
// and, to read:
//
//   ASN1BERDecodeBuffer input(data, size);      // the octets stay the caller's
//   int status = control.DecodeFrom(input);     // 0, or the first failure
//
// Constructors throw ASN1MessageBuffer::RTLError, operator<< and operator>> throw ASN1RTLException; everything else
// returns a status, 0 or negative. A buffer and all that shares its context belong to one thread.
#pragma once

#include <cstdint>

#include "asn1rt/context.h"
#include "asn1rt/context_ref.h"
#include "asn1rt/mem_buf.h"
#include "asn1rt/types.h"
#include "export.h"

class ASN1CType;

/// A failure of the runtime with its status, thrown where no status can be returned. It has no text and is not derived
/// from std::exception: catch it by its own type.
class TALLOW_EXPORT ASN1RTLException {
public:
    explicit ASN1RTLException(std::int32_t failure) noexcept : status(failure) {}
    ASN1RTLException(const ASN1RTLException&) = default;
    ASN1RTLException& operator=(const ASN1RTLException&) = default;
    virtual ~ASN1RTLException();

    /// A STATUS_ number of "asn1rt/status.h"; after operator<< also the length of a message.
    [[nodiscard]] std::int32_t getStatus() const noexcept { return status; }

protected:
    std::int32_t status;
};

/// What control classes need of a buffer. An application uses the two classes at the end of this header; it implements
/// this interface only for a buffer of another kind.
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
    /// A copy of the message made with new[], which the caller frees with delete[]. Null when there is none; decode
    /// buffers never have one.
    virtual std::uint8_t* getMsgCopy() = 0;
    /// The first octet of the message, inside the buffer: not to be freed, and valid until the next write or binding.
    /// Null while nothing is bound.
    virtual std::uint8_t* getMsgPtr() = 0;
    /// Makes the buffer ready for an encoding or decoding, and returns 0 or a status. EncodeTo and DecodeFrom call it.
    /// Does nothing here.
    [[nodiscard]] virtual int init();
    /// Binds the context to the octets of a memory buffer, which must live as long as they are read and must not grow
    /// meanwhile. Returns STATUS_BAD_ARGUMENT, recorded in the context, when it holds none. The position is the first
    /// octet: an encode buffer bound so has no room.
    [[nodiscard]] virtual int initBuffer(ASN1MemBuf& memory) = 0;
    /// Texts in characters cannot be bound: STATUS_NOT_SUPPORTED, and nothing changes.
    [[nodiscard]] virtual int initBuffer(unsigned short* text) = 0;
    [[nodiscard]] virtual int initBuffer(char* text) = 0;
    /// Whether the buffer is of this type.
    virtual bool isA(Type type) const = 0;
};

/// A buffer with its own context, which lives as long as the buffer or any control object made with it.
class TALLOW_EXPORT ASN1MessageBuffer : public ASN1MessageBufferIF {
public:
    /// Thrown by constructors: STATUS_NO_MEMORY, or a status of setBuffer.
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
    /// Makes the context. Throws RTLError.
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
/// the message is what EncodeTo returned. Each EncodeTo empties the buffer first, so copy a message before the next
/// one.
class TALLOW_EXPORT ASN1BEREncodeBuffer : public ASN1BERMessageBuffer {
public:
    /// A buffer that grows, of 16384 octets at first. Throws RTLError with STATUS_NO_MEMORY.
    ASN1BEREncodeBuffer();
    /// The caller's array of `size` octets, which must outlive the buffer; it holds a message of `size - 1`, and an
    /// encoding that needs more fails with STATUS_BUFFER_FULL. Null `data` gives a buffer that grows, of `size` octets
    /// at first. Throws RTLError with a status of setBuffer.
    ASN1BEREncodeBuffer(std::uint8_t* data, std::uint32_t size);

    /// Binds another array, as the constructor does; a message in the old one is out of reach. Returns 0 or a status,
    /// with the old array still bound: STATUS_BAD_ARGUMENT for an array without an octet or a size above 2,147,483,647,
    /// STATUS_NO_MEMORY.
    [[nodiscard]] int setBuffer(std::uint8_t* data, std::uint32_t size);

    std::uint8_t* getMsgPtr() override;
    /// One octet longer than the message; that last octet is 0 and no part of it. The length is still what EncodeTo
    /// returned. Throws std::bad_alloc.
    std::uint8_t* getMsgCopy() override;
    /// Empties the buffer and keeps its memory. Returns 0.
    [[nodiscard]] int init() override;

    /// Encodes with EncodeTo. Throws ASN1RTLException for any result but 0 - which includes the length that a
    /// successful encoding returns, so this operator only suits control classes that return 0; use EncodeTo.
    ASN1BEREncodeBuffer& operator<<(ASN1CType& value);
};

/// A buffer to decode from. The octets are read in place and must live as long as the buffer is used; under
/// CTX_FLAG_ZERO_COPY as long as the decoded values.
class TALLOW_EXPORT ASN1BERDecodeBuffer : public ASN1BERMessageBuffer {
public:
    /// A buffer without input: give it octets with setBuffer before the first DecodeFrom.
    ASN1BERDecodeBuffer();
    /// `size` is in octets. Nothing is read before init(), which every DecodeFrom calls; null `data` or a size below 1
    /// is no input. Throws RTLError.
    ASN1BERDecodeBuffer(const std::uint8_t* data, std::int32_t size);

    /// Binds the octets and reads the header of the first element; octets after that element are out of reach. Bound
    /// already: returns 0 at once and the position stays, so that one DecodeFrom after another reads consecutive
    /// values. Without input returns 0 and binds nothing.
    ///
    /// Fails with a status of xd_setp; the octets are bound all the same, and the next reader fails on them, too.
    [[nodiscard]] int init() override;

    /// Takes other octets and binds them. With `keepIfSame`, octets that are bound already (same address, same size)
    /// are left as they are, position included. Values decoded before stay in the heap of the context.
    ///
    /// Returns 0, a status of init(), or STATUS_NOT_SUPPORTED for null or a size below 1, after which there is no
    /// input.
    [[nodiscard]] int setBuffer(const std::uint8_t* data, std::int32_t size, bool keepIfSame = false);

    /// Looks for the next element with this tag, depth first through all levels, from the start when `first` is true,
    /// otherwise after the header of the current element. Returns its first octet, inside the buffer, and in `length`
    /// the octets of its contents or LEN_INDEFINITE. Null, with `length` unchanged, when there is none or the octets
    /// are malformed.
    ///
    ///     auto* element = buffer.findElement(tag, length);
    ///     for (; element != nullptr; element = buffer.findElement(tag, length, false)) ...
    const std::uint8_t* findElement(ASN1TAG tag, std::int32_t& length, bool first = true);

    /// Decodes with DecodeFrom. Throws ASN1RTLException with its status when that is not 0.
    ASN1BERDecodeBuffer& operator>>(ASN1CType& value);

private:
    [[nodiscard]] int bind();

    const std::uint8_t* mpInput = nullptr;
    std::int32_t mInputSize = 0;
    bool mBound = false;
};
