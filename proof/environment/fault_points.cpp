#include "proof/environment/fault_points.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

// The replaced functions themselves are defined in assembler below, without their headers' declarations: a stub passes
// every argument on as it came, so that one form serves all of them, also those with variable arguments.
#if !defined(__x86_64__)
#error "the stubs are written for x86-64"
#endif

namespace proof {

// One replaced function.
struct Point {
    const char* name;
    long result;
    int error;
    std::uint32_t number;
    std::atomic<void*> real;
};

namespace {

std::atomic<FaultState*> current{nullptr};
std::atomic<std::int64_t> live{0};
std::atomic<bool> isTracing{false};
thread_local bool isBusy = false;  // in this file: its own calls neither count nor fail

}  // namespace

// Points by number: the allocating functions first.
enum Number : std::uint32_t {
    kMalloc,
    kCalloc,
    kRealloc,
    kAligned,
    kNew,
    kFread,
    kFwrite,
#define FAULT_POINT(name, result, error) kPoint_##name,
#include "proof/environment/fault_points.inc"
#undef FAULT_POINT
    kNumPoints
};
static_assert(kNumPoints <= kMostFaultPoints);

namespace {

const char* const kNames[] = {
    "malloc", "calloc", "realloc", "aligned_alloc", "operator new", "fread", "fwrite",
#define FAULT_POINT(name, result, error) #name,
#include "proof/environment/fault_points.inc"
#undef FAULT_POINT
};

// The stack below the replaced function.
void trace(std::uint32_t number) {
    void* frames[48];
    const int depth = ::backtrace(frames, 48);
    ::dprintf(STDERR_FILENO, "fault in %s\n", kNames[number]);
    ::backtrace_symbols_fd(frames, depth, STDERR_FILENO);
}

// Counts a call; whether it must fail.
bool mustFail(std::uint32_t number) {
    FaultState* const state = current.load(std::memory_order_relaxed);
    if (state == nullptr || isBusy) {
        return false;
    }
    const std::uint64_t call = state->calls[number].fetch_add(1, std::memory_order_relaxed) + 1;
    if (state->call.load(std::memory_order_relaxed) != call || state->point.load(std::memory_order_relaxed) != number) {
        return false;
    }
    ++state->fired;
    if (isTracing) {
        isBusy = true;
        trace(number);
        isBusy = false;
    }
    return true;
}

// Searches the libraries after this one, then those that were loaded later for themselves.
void* realFunction(const char* name) {
    isBusy = true;
    void* found = ::dlsym(RTLD_NEXT, name);
    for (const char* library : {"libcurl.so.4", "libssl.so.3", "libcrypto.so.3"}) {
        if (void* const handle = found == nullptr ? ::dlopen(library, RTLD_NOLOAD | RTLD_LAZY) : nullptr) {
            found = ::dlsym(handle, name);
            ::dlclose(handle);
        }
    }
    isBusy = false;
    if (found == nullptr) {
        std::fprintf(stderr, "no library has %s\n", name);
        std::abort();
    }
    return found;
}

}  // namespace

// libcrypto, when it cannot append to a list, loses some of what it was about to append.
static bool isListOfLibcrypto(std::uint32_t number, const void* caller) {
    Dl_info library{};
    return number == kPoint_OPENSSL_sk_push && ::dladdr(caller, &library) != 0 &&
           std::string_view(library.dli_fname).find("libcrypto.so") != std::string_view::npos;
}

// A decoder that fails frees the caller's object, if it was given one, and so must one that is made to fail: it decodes
// what has no octets.
template <std::uint32_t Number>
static void* decodeNothing(void** value, const unsigned char** in, long, const void* item, void* context,
                           const char* query);

// Where a stub continues: null to fail.
extern "C" __attribute__((visibility("hidden"), used)) void* faultPointTarget(Point* point, const void* caller) {
    const int before = errno;
    void* real = point->real.load(std::memory_order_relaxed);
    if (real == nullptr) {
        real = realFunction(point->name);
        point->real = real;
    }
    const bool fails = mustFail(point->number);
    if (fails) {
        current.load()->isListOfLibcrypto = isListOfLibcrypto(point->number, caller);
    }
    errno = fails && point->error != 0 ? point->error : before;
    if (fails && point->number == kPoint_ASN1_item_d2i) {
        return reinterpret_cast<void*>(decodeNothing<kPoint_ASN1_item_d2i>);
    }
    if (fails && point->number == kPoint_ASN1_item_d2i_ex) {
        return reinterpret_cast<void*>(decodeNothing<kPoint_ASN1_item_d2i_ex>);
    }
    return fails ? nullptr : real;
}

// Keeps the registers that may hold arguments, asks faultPointTarget, which is told where the call came from, and jumps
// where it says or returns Point::result, which is the second member.
asm(R"(
    .text
    .hidden faultPointEnter
    .type faultPointEnter, @function
faultPointEnter:
    .cfi_startproc
    push %rdi; push %rsi; push %rdx; push %rcx; push %r8; push %r9; push %rax; push %r11
    .cfi_adjust_cfa_offset 64
    sub $136, %rsp
    .cfi_adjust_cfa_offset 136
    movups %xmm0, 0(%rsp); movups %xmm1, 16(%rsp); movups %xmm2, 32(%rsp); movups %xmm3, 48(%rsp)
    movups %xmm4, 64(%rsp); movups %xmm5, 80(%rsp); movups %xmm6, 96(%rsp); movups %xmm7, 112(%rsp)
    mov %r11, %rdi
    mov 200(%rsp), %rsi
    call faultPointTarget
    mov %rax, %r10
    movups 0(%rsp), %xmm0; movups 16(%rsp), %xmm1; movups 32(%rsp), %xmm2; movups 48(%rsp), %xmm3
    movups 64(%rsp), %xmm4; movups 80(%rsp), %xmm5; movups 96(%rsp), %xmm6; movups 112(%rsp), %xmm7
    add $136, %rsp
    .cfi_adjust_cfa_offset -136
    pop %r11; pop %rax; pop %r9; pop %r8; pop %rcx; pop %rdx; pop %rsi; pop %rdi
    .cfi_adjust_cfa_offset -64
    test %r10, %r10
    je 1f
    jmp *%r10
1:  mov 8(%r11), %rax
    ret
    .cfi_endproc
)");

#define FAULT_POINT(name, result, error)                                                                           \
    extern "C" __attribute__((visibility("hidden"))) Point faultPointOf_##name;                                    \
    Point faultPointOf_##name = {#name, result, error, kPoint_##name, nullptr};                                    \
    asm(".text\n.globl " #name "\n.type " #name ", @function\n" #name ":\n.cfi_startproc\nlea faultPointOf_" #name \
        "(%rip), %r11\njmp faultPointEnter\n.cfi_endproc\n.size " #name ", . - " #name "\n");
#include "proof/environment/fault_points.inc"
#undef FAULT_POINT

template <std::uint32_t Number>
static void* decodeNothing(void** value, const unsigned char** in, long, const void* item, void* context,
                           const char* query) {
    const Point& point = Number == kPoint_ASN1_item_d2i ? faultPointOf_ASN1_item_d2i : faultPointOf_ASN1_item_d2i_ex;
    using Decoder = void* (*)(void**, const unsigned char**, long, const void*, void*, const char*);
    return reinterpret_cast<Decoder>(point.real.load())(value, in, 0, item, context, query);
}

std::size_t faultPointCount() {
    return kNumPoints;
}

const char* faultPointName(std::size_t point) {
    return kNames[point];
}

void useFaultState(FaultState* state) {
    current = state;
}

void armFault(std::size_t point, std::uint64_t call) {
    FaultState& state = *current;
    state.call = 0;
    for (auto& calls : state.calls) {
        calls = 0;
    }
    state.fired = 0;
    state.point = static_cast<std::uint32_t>(point);
    state.call = call;
}

void disarmFault() {
    current.load()->call = 0;
}

std::int64_t liveBlocks() {
    return live;
}

void traceFaults(bool isOn) {
    void* frame = nullptr;
    ::backtrace(&frame, 1);  // loads what it needs now, not while a call fails
    isTracing = isOn;
}

namespace {

const char* valueIn(char** environment, std::string_view name) {
    for (; *environment != nullptr; ++environment) {
        const std::string_view entry = *environment;
        if (entry.size() > name.size() && entry[name.size()] == '=' && entry.substr(0, name.size()) == name) {
            return *environment + name.size() + 1;
        }
    }
    return nullptr;
}

// A preloaded process. The linker puts it before the initialisers of all other libraries, whose calls count as well;
// those of the C library are among them, so that getenv does not work yet.
__attribute__((constructor)) void readEnvironment(int, char**, char** environment) {
    const char* const file = valueIn(environment, "TALLOW_FAULT_COUNTS");
    const char* const order = valueIn(environment, "TALLOW_FAULT");
    if (file == nullptr && order == nullptr) {
        return;
    }
    traceFaults(valueIn(environment, "TALLOW_FAULT_TRACE") != nullptr);
    static FaultState own;
    FaultState* state = &own;
    if (const int descriptor = file != nullptr ? ::open(file, O_RDWR | O_CLOEXEC) : -1; descriptor >= 0) {
        void* const memory = ::mmap(nullptr, sizeof(FaultState), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
        state = memory == MAP_FAILED ? &own : static_cast<FaultState*>(memory);
        ::close(descriptor);
    }
    useFaultState(state);
    const char* const colon = order != nullptr ? std::strrchr(order, ':') : nullptr;
    for (std::uint32_t i = 0; colon != nullptr && i < kNumPoints; ++i) {
        if (std::string_view(order, static_cast<std::size_t>(colon - order)) == kNames[i]) {
            armFault(i, std::strtoull(colon + 1, nullptr, 10));
        }
    }
}

}  // namespace

}  // namespace proof

// ---- Allocation -----------------------------------------------------------------------------------------------------

// The functions behind the replaced ones: the sanitizer's, which know about leaks, or those of the C library.
#ifdef PROOF_SANITIZED
#define PROOF_REAL(name) __interceptor_##name
#else
#define PROOF_REAL(name) __libc_##name
#endif

extern "C" {

void* PROOF_REAL(malloc)(std::size_t size);
void* PROOF_REAL(calloc)(std::size_t number, std::size_t size);
void* PROOF_REAL(realloc)(void* block, std::size_t size);
void* PROOF_REAL(memalign)(std::size_t alignment, std::size_t size);
void PROOF_REAL(free)(void* block);

static void* counted(void* block) {
    proof::live += block != nullptr ? 1 : 0;
    return block;
}

static bool isOutOfMemory(proof::Number number) {
    if (!proof::mustFail(number)) {
        return false;
    }
    errno = ENOMEM;
    return true;
}

#define PROOF_EXPORT __attribute__((visibility("default")))

PROOF_EXPORT void* malloc(std::size_t size) {
    return isOutOfMemory(proof::kMalloc) ? nullptr : counted(PROOF_REAL(malloc)(size));
}

PROOF_EXPORT void* calloc(std::size_t number, std::size_t size) {
    return isOutOfMemory(proof::kCalloc) ? nullptr : counted(PROOF_REAL(calloc)(number, size));
}

PROOF_EXPORT void* realloc(void* block, std::size_t size) {
    if (isOutOfMemory(proof::kRealloc)) {
        return nullptr;
    }
    void* const moved = PROOF_REAL(realloc)(block, size);
    if (block == nullptr) {
        counted(moved);
    } else if (size == 0 && moved == nullptr) {
        --proof::live;
    }
    return moved;
}

PROOF_EXPORT void free(void* block) {
    proof::live -= block != nullptr ? 1 : 0;
    PROOF_REAL(free)(block);
}

PROOF_EXPORT void* memalign(std::size_t alignment, std::size_t size) {
    return isOutOfMemory(proof::kAligned) ? nullptr : counted(PROOF_REAL(memalign)(alignment, size));
}

PROOF_EXPORT void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return memalign(alignment, size);
}

PROOF_EXPORT int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
    void* const found = memalign(alignment, size);
    if (found == nullptr) {
        return ENOMEM;
    }
    *block = found;
    return 0;
}

// A failing call of these two also marks the stream, as feof and ferror of the caller expect.
PROOF_EXPORT std::size_t fread(void* buffer, std::size_t size, std::size_t number, FILE* stream) {
    static const auto real = reinterpret_cast<decltype(&fread)>(proof::realFunction("fread"));
    if (proof::mustFail(proof::kFread)) {
        stream->_flags |= 0x20;
        errno = EIO;
        return 0;
    }
    return real(buffer, size, number, stream);
}

PROOF_EXPORT std::size_t fwrite(const void* buffer, std::size_t size, std::size_t number, FILE* stream) {
    static const auto real = reinterpret_cast<decltype(&fwrite)>(proof::realFunction("fwrite"));
    if (proof::mustFail(proof::kFwrite)) {
        stream->_flags |= 0x20;
        errno = ENOSPC;
        return 0;
    }
    return real(buffer, size, number, stream);
}

}  // extern "C"

#ifdef PROOF_SANITIZED
// The dynamic linker keeps some blocks where LeakSanitizer does not look. libcrypto itself loses a few when it cannot
// complete a list of names or decoders.
extern "C" PROOF_EXPORT const char* __lsan_default_suppressions() {
    return "leak:_dl_\nleak:ld-linux\nleak:OBJ_NAME_do_all\nleak:do_all_provided\n";
}

// Stacks of the libraries as well: they are built without frame pointers.
extern "C" PROOF_EXPORT const char* __asan_default_options() {
    return "fast_unwind_on_malloc=0";
}

extern "C" PROOF_EXPORT const char* __lsan_default_options() {
    return "print_suppressions=0";
}

// The sanitizer calls it in each new thread, and ends the process when it fails.
extern "C" PROOF_EXPORT int pthread_getattr_np(pthread_t thread, pthread_attr_t* attributes) {
    static const auto real = reinterpret_cast<decltype(&pthread_getattr_np)>(proof::realFunction("pthread_getattr_np"));
    proof::isBusy = true;
    const int result = real(thread, attributes);
    proof::isBusy = false;
    return result;
}

// The sanitizer's operator new does not call malloc, and ends the process instead of throwing.
void* operator new(std::size_t size) {
    void* const block = proof::mustFail(proof::kNew) ? nullptr : PROOF_REAL(malloc)(size == 0 ? 1 : size);
    return block != nullptr ? block : throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return proof::mustFail(proof::kNew) ? nullptr : PROOF_REAL(malloc)(size == 0 ? 1 : size);
}
void operator delete(void* block) noexcept {
    PROOF_REAL(free)(block);
}
void operator delete(void* block, std::size_t) noexcept {
    PROOF_REAL(free)(block);
}
#endif
