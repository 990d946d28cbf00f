#include "foundation/trace.h"

// Null before any code of the library runs.
constinit TSupportDbContext_* ocsp_db_ctx = nullptr;

namespace Orvane {

DbTraceInitializer::DbTraceInitializer(const char* name, TSupportDbContext_*& context, unsigned int first,
                                       unsigned int second) {
    support_print_done(context);
    context = nullptr;
    context_ = &context;
    std::atomic_ref(context).store(support_print_init(0, name, first, second), std::memory_order_release);
}

DbTraceInitializer::~DbTraceInitializer() {
    try {
        support_print_done(*context_);
    } catch (...) {
        // A service that throws on the way out must not end the process.
    }
    std::atomic_ref(*context_).store(nullptr, std::memory_order_release);
}

namespace {

constexpr unsigned int kFirstLevel = 0;
constexpr unsigned int kLastLevel = 127;

// Opened with the library and closed at the end of the process. A trace point of another static object that comes
// earlier or later meets a null context and is silent.
DbTraceInitializer log_inter("ocsp", ocsp_db_ctx, kFirstLevel, kLastLevel);

}  // namespace
}  // namespace Orvane
