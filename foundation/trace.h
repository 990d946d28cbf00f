// The one trace point of the library and the owner of the trace context.
//
//   TALLOW_TRACE("Send", "trying %s\n", address);
//
// The context is opened when the library is loaded and closed when it is unloaded; before, after, and when the Support
// service gives none, a trace point does nothing. Tracing never changes behaviour, nor the last error of the thread.
// Never pass a key, a PIN or a password: traces are kept in files.
#pragma once

#include <atomic>

#include "export.h"
#include "platform/support/support_service.h"

/// The trace context of this library, null when there is none. Written when the library is loaded and when the process
/// ends. Other threads may be tracing then: read it with traceContext().
extern TALLOW_EXPORT TSupportDbContext_* ocsp_db_ctx;

namespace Orvane {

/// The level of every trace point; a bit of the setting `levels` (default 127, which includes it).
inline constexpr unsigned int kTraceLevel = 8;

/// The present value of ocsp_db_ctx.
inline TSupportDbContext_* traceContext() noexcept {
    return std::atomic_ref(ocsp_db_ctx).load(std::memory_order_acquire);
}

/// Opens a trace context into a pointer and closes it again.
class TALLOW_EXPORT DbTraceInitializer {
public:
    /// Closes what `context` holds, then opens a context for the module `name` into it; null if the service gives none.
    /// `context` must outlive this object. `first` and `second` are passed to the service as they are.
    DbTraceInitializer(const char* name, TSupportDbContext_*& context, unsigned int first, unsigned int second);
    DbTraceInitializer(const DbTraceInitializer&) = delete;
    DbTraceInitializer& operator=(const DbTraceInitializer&) = delete;
    /// Closes the context and sets the pointer to null. A thread inside a trace point may still pass the closed context
    /// to the service.
    ~DbTraceInitializer();

private:
    TSupportDbContext_** context_ = nullptr;
};

}  // namespace Orvane

/// Writes one line if tracing is on. `function` is the bare name of the enclosing operation as a literal, `format` a
/// printf format that ends in a line feed; control characters in the text are escaped by the service. The arguments are
/// evaluated only when the line is wanted: they must have no side effects. A macro, because nothing else leaves them
/// unevaluated and knows its line.
#define TALLOW_TRACE(function, format, ...)                                                                  \
    do {                                                                                                     \
        TSupportDbContext_* const traceContext_ = ::Orvane::traceContext();                                  \
        if (traceContext_ != nullptr && support_print_is(traceContext_, ::Orvane::kTraceLevel) != 0) {       \
            support_dprint_print_(traceContext_, format, "", __LINE__, function __VA_OPT__(, ) __VA_ARGS__); \
        }                                                                                                    \
    } while (false)
