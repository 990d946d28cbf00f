// Memory for the records that the value classes fill: all of it comes from the runtime's context and lives exactly as
// long. Every failure here is the one status for exhausted memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>

#include "asn1rt/context.h"
#include "asn1rt/memory_heap.h"
#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane::ASN1 {

/// Owner of a context on the stack, for the calls that need one beside the message.
class ctxt_handle {
public:
    ctxt_handle() = default;
    ctxt_handle(const ctxt_handle&) = delete;
    ctxt_handle& operator=(const ctxt_handle&) = delete;
    ~ctxt_handle() { release(); }

    /// True when the context is ready.
    [[nodiscard]] bool init() { return rtInitContext(&context_, nullptr) == 0; }
    void release() { rtFreeContext(&context_); }
    ASN1CTXT* get() { return &context_; }

private:
    ASN1CTXT context_{};
};

inline void* allocate(ASN1CTXT* ctxt, std::size_t size) {
    void* memory = rtMemHeapAlloc(&ctxt->pTypeMemHeap, size);
    if (memory == nullptr) {
        ATL::AtlThrowImpl(status::kAsn1Memory);
    }
    return memory;
}

/// A record in its initial state. Its destructor never runs: it owns nothing that the context does not.
template <class Record>
Record* allocateRecord(ASN1CTXT* ctxt) {
    return new (allocate(ctxt, sizeof(Record))) Record();
}

/// `count` records in a row; null for none.
template <class Record>
Record* allocateRecords(ASN1CTXT* ctxt, std::size_t count) {
    if (count == 0) {
        return nullptr;
    }
    if (count > std::numeric_limits<std::int32_t>::max() / sizeof(Record)) {
        ATL::AtlThrowImpl(status::kAsn1Memory);
    }
    auto* records = static_cast<Record*>(allocate(ctxt, count * sizeof(Record)));
    for (std::size_t i = 0; i < count; ++i) {
        new (records + i) Record();
    }
    return records;
}

/// A copy of the bytes; null for none.
inline unsigned char* copyBytes(ASN1CTXT* ctxt, const unsigned char* data, unsigned long size) {
    if (size == 0) {
        return nullptr;
    }
    return static_cast<unsigned char*>(std::memcpy(allocate(ctxt, size), data, size));
}

/// A copy of the text with its terminator.
inline const char* copyText(ASN1CTXT* ctxt, const char* text) {
    const std::size_t size = std::strlen(text) + 1;
    return static_cast<const char*>(std::memcpy(allocate(ctxt, size), text, size));
}

}  // namespace Orvane::ASN1
