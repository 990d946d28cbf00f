// The shared context of the class layer: a counted ASN1Context and the pointer that counts it.
//
//   ASN1CtxtPtr context(new ASN1Context);           // count 1
//   ASN1CtxtPtr shared = context;                   // count 2; the last one frees everything
//
// Everything decoded into a context lives in its type heap and is freed with the last reference. The count is a plain
// integer: a context and all that shares it belong to one thread.
#pragma once

#include <cstdint>

#include "asn1rt/context.h"
#include "export.h"

/// A context with a count of its references. Made with new and a count of 0; the last _unref() deletes it, so it is
/// never a local variable, and never deleted by hand. The plain record is its first part: a pointer to one is a pointer
/// to the other. It is live from construction on; do not call rtFreeContext for it.
class TALLOW_EXPORT ASN1Context : public ASN1CTXT {
public:
    /// Initialises the context with the default user pointer (null) for the allocator. Throws
    /// ASN1MessageBuffer::RTLError with the status, which is STATUS_NO_MEMORY, when that fails.
    ASN1Context();
    ASN1Context(const ASN1Context&) = delete;
    ASN1Context& operator=(const ASN1Context&) = delete;

    /// Adds a reference; pair it with _unref, or use ASN1CtxtPtr, which does both.
    void _ref() noexcept { ++refCount; }
    /// Drops a reference; the last one frees the context with everything in its heaps and deletes the object. A heap
    /// that another context shares lives on.
    void _unref() noexcept;
    /// The number of references; 0 directly after new.
    [[nodiscard]] std::uint32_t getRefCount() const noexcept { return refCount; }

    /// Prints the stored status on standard output, as rtErrPrint does; 0 when nothing has failed.
    void PrintErrorInfo();

private:
    ~ASN1Context();

    std::uint32_t refCount = 0;
};

/// Holds one reference to a context, or none. A copy adds a reference, a move construction transfers it, a move
/// assignment exchanges the two; no member throws. Assigning null releases the reference held.
///
/// Two pointers to one context must not be used by two threads at a time: the count is not atomic.
class TALLOW_EXPORT ASN1CtxtPtr {
public:
    ASN1CtxtPtr() noexcept = default;
    ASN1CtxtPtr(ASN1Context* context) noexcept;  // NOLINT(google-explicit-constructor): stands in for the plain pointer
    ASN1CtxtPtr(const ASN1CtxtPtr& other) noexcept;
    ASN1CtxtPtr(ASN1CtxtPtr&& other) noexcept;
    ASN1CtxtPtr& operator=(const ASN1CtxtPtr& other) noexcept;
    ASN1CtxtPtr& operator=(ASN1CtxtPtr&& other) noexcept;
    ASN1CtxtPtr& operator=(ASN1Context* context) noexcept;
    ~ASN1CtxtPtr();

    /// The context, null when none is held. The pointer adds no reference: it is valid as long as some reference is.
    [[nodiscard]] ASN1Context* get() const noexcept { return mPointer; }
    /// The same; `->` is undefined when none is held.
    operator ASN1Context*() const noexcept { return mPointer; }  // NOLINT(google-explicit-constructor): as above
    ASN1Context* operator->() const noexcept { return mPointer; }
    [[nodiscard]] bool isNull() const noexcept { return mPointer == nullptr; }

private:
    ASN1Context* mPointer = nullptr;
};
