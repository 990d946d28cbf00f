#include "proof/limits/measure.h"

#include <dirent.h>
#include <dlfcn.h>
#include <malloc.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <pthread.h>
#include <time.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <stdexcept>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define PROOF_SANITIZED
#endif

namespace {

std::atomic<std::size_t> inUse, mostInUse, largestBlock;
std::atomic<int> checks, paths, names, directories;
thread_local bool isInPath = false;
thread_local bool isInCheck = false;

#ifndef PROOF_SANITIZED
void noteBlock(void* block, std::size_t asked) noexcept {
    std::size_t known = largestBlock;
    while (asked > known && !largestBlock.compare_exchange_weak(known, asked)) {
    }
    if (block != nullptr) {
        const std::size_t now = inUse += malloc_usable_size(block);
        known = mostInUse;
        while (now > known && !mostInUse.compare_exchange_weak(known, now)) {
        }
    }
}

void noteFree(void* block) noexcept {
    if (block != nullptr) {
        inUse -= malloc_usable_size(block);
    }
}
#endif

// The function of this name in the libraries after this program.
template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

#ifndef PROOF_SANITIZED
void* __libc_malloc(std::size_t size);                     // NOLINT: the C library's names
void* __libc_calloc(std::size_t count, std::size_t size);  // NOLINT
void* __libc_realloc(void* block, std::size_t size);       // NOLINT
void* __libc_memalign(std::size_t to, std::size_t size);   // NOLINT
void __libc_free(void* block);                             // NOLINT

void* malloc(std::size_t size) noexcept {
    void* const block = __libc_malloc(size);
    noteBlock(block, size);
    return block;
}

void* calloc(std::size_t count, std::size_t size) noexcept {
    void* const block = __libc_calloc(count, size);
    noteBlock(block, count * size);
    return block;
}

void* realloc(void* block, std::size_t size) noexcept {
    const std::size_t before = block == nullptr ? 0 : malloc_usable_size(block);
    void* const moved = __libc_realloc(block, size);
    if (moved != nullptr || size == 0) {
        inUse -= before;
    }
    noteBlock(moved, size);
    return moved;
}

void* aligned_alloc(std::size_t to, std::size_t size) noexcept {
    void* const block = __libc_memalign(to, size);
    noteBlock(block, size);
    return block;
}

void* memalign(std::size_t to, std::size_t size) noexcept {
    return aligned_alloc(to, size);
}

int posix_memalign(void** block, std::size_t to, std::size_t size) noexcept {
    *block = aligned_alloc(to, size);
    return *block == nullptr ? ENOMEM : 0;
}

void free(void* block) noexcept {
    noteFree(block);
    __libc_free(block);
}
#endif

// The two ways in which signatures are verified, besides the validation of a path.
int X509_verify(X509* certificate, EVP_PKEY* key) {
    static auto* const real = next<int(X509*, EVP_PKEY*)>("X509_verify");
    checks += isInPath ? 0 : 1;
    isInCheck = true;  // libcrypto may come to the next function
    const int result = real(certificate, key);
    isInCheck = false;
    return result;
}

int EVP_DigestVerify(EVP_MD_CTX* context, const unsigned char* signature, size_t sizeSignature,
                     const unsigned char* message, size_t sizeMessage) {
    static auto* const real =
        next<int(EVP_MD_CTX*, const unsigned char*, size_t, const unsigned char*, size_t)>("EVP_DigestVerify");
    checks += isInPath || isInCheck ? 0 : 1;
    return real(context, signature, sizeSignature, message, sizeMessage);
}

int X509_verify_cert(X509_STORE_CTX* context) {
    static auto* const real = next<int(X509_STORE_CTX*)>("X509_verify_cert");
    ++paths;
    isInPath = true;
    const int result = real(context);
    isInPath = false;
    return result;
}

X509_NAME* d2i_X509_NAME(X509_NAME** name, const unsigned char** der, long size) {
    static auto* const real = next<X509_NAME*(X509_NAME**, const unsigned char**, long)>("d2i_X509_NAME");
    ++names;
    return real(name, der, size);
}

DIR* opendir(const char* path) {
    static auto* const real = next<DIR*(const char*)>("opendir");
    ++directories;
    return real(path);
}

DIR* fdopendir(int descriptor) {
    static auto* const real = next<DIR*(int)>("fdopendir");
    ++directories;
    return real(descriptor);
}

}  // extern "C"

namespace proof {

double processorSeconds(const std::function<void()>& run) {
    const auto now = [] {
        ::timespec time{};
        ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
    };
    double least = 1e9;
    for (int i = 0; i < 3; ++i) {
        const double start = now();
        run();
        least = std::min(least, now() - start);
    }
    return least;
}

double growth(const std::function<std::function<void()>(std::size_t)>& prepare, std::size_t size) {
    prepare(size)();  // loads what is loaded once
    double least = 1e9;
    for (int i = 0; i < 3 && least > kLinear; ++i) {  // other processes can disturb one of both
        const double small = processorSeconds(prepare(size));
        least = std::min(least, processorSeconds(prepare(4 * size)) / small);
    }
    return least;
}

Memory memoryOf(const std::function<void()>& run) {
    const std::size_t before = inUse;
    mostInUse = before;
    largestBlock = 0;
    run();
    return {mostInUse - before, largestBlock};
}

std::size_t memoryInUse() {
    return inUse;
}

bool isMemoryCounted() {
#ifdef PROOF_SANITIZED
    return false;
#else
    return true;
#endif
}

namespace {

int during(const std::function<void()>& run, const std::atomic<int>& counter) {
    const int before = counter;
    run();
    return counter - before;
}

}  // namespace

int signatureChecks(const std::function<void()>& run) {
    return during(run, checks);
}

int pathsValidated(const std::function<void()>& run) {
    return during(run, paths);
}

int namesDecoded(const std::function<void()>& run) {
    return during(run, names);
}

int directoriesOpened(const std::function<void()>& run) {
    return during(run, directories);
}

void onSmallStack(const std::function<void()>& run) {
#ifdef PROOF_SANITIZED
    constexpr std::size_t kStack = std::size_t{1} << 20;  // frames are far larger
#else
    constexpr std::size_t kStack = std::size_t{64} << 10;
#endif
    pthread_attr_t attributes;
    pthread_t thread{};
    ::pthread_attr_init(&attributes);
    ::pthread_attr_setstacksize(&attributes, kStack);
    const auto enter = [](void* function) -> void* {
        (*static_cast<const std::function<void()>*>(function))();
        return nullptr;
    };
    std::function<void()> copy = run;
    const int failure = ::pthread_create(&thread, &attributes, enter, &copy);
    ::pthread_attr_destroy(&attributes);
    if (failure != 0) {
        throw std::runtime_error("no thread");
    }
    ::pthread_join(thread, nullptr);
}

}  // namespace proof
