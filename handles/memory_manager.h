// Where the strings of handles/string.h get their memory: a memory manager for raw blocks, and on top of it a string
// manager that returns blocks of characters with their header. Callers need this file only to give strings another
// heap:
//
//   struct ArenaHeap : ATL::IAtlMemMgr { ... } heap;             // outlives the manager
//   ATL::CAtlStringMgr manager(&heap);                           // outlives every string that uses it
//   ATL::CSimpleStringT<char> text(&manager);                    // copies of it use the manager, too
//
// No operation throws: null is the only report of a failure. A manager may be used by several threads at once, since
// strings that share a block may be released on any thread; your own must allow that.
#pragma once

#include <atomic>
#include <cstddef>

#include "export.h"

namespace ATL {

/// Raw memory, aligned like malloc's. The order of the operations is part of the binary interface. Sizes are in octets.
class TALLOW_EXPORT IAtlMemMgr {
public:
    /// Returns a block of at least `size` octets, contents undefined, to be released with Free of the same manager;
    /// null when memory is exhausted.
    virtual void* Allocate(std::size_t size) noexcept = 0;
    /// Releases a block of this manager. No other pointer may be passed.
    virtual void Free(void* block) noexcept = 0;
    /// Returns the block, possibly moved, with its content up to the smaller size; null when memory is exhausted, and
    /// the old block is then unchanged. A block that moved must not be used under its old address.
    virtual void* Reallocate(void* block, std::size_t size) noexcept = 0;
    /// The size that was allocated, if the manager records it. Strings never call this.
    virtual std::size_t GetSize(void* block) noexcept = 0;

protected:
    ~IAtlMemMgr() = default;
};

/// The C library's heap, as malloc, realloc and free. GetSize is not supported: a call ends the process.
class TALLOW_EXPORT CCRTHeap : public IAtlMemMgr {
public:
    void* Allocate(std::size_t size) noexcept override;
    void Free(void* block) noexcept override;
    void* Reallocate(void* block, std::size_t size) noexcept override;
    std::size_t GetSize(void* block) noexcept override;
    virtual ~CCRTHeap() = default;
};

class IAtlStringMgr;

/// The header of a block; the characters follow it directly, always terminated. Only strings and managers touch it: the
/// count of owners is atomic, the other fields may be written by the only owner of the block.
struct TALLOW_EXPORT CStringData {
    IAtlStringMgr* pStringMgr = nullptr;  ///< who allocated this block
    int nDataLength = 0;                  ///< characters in use, without the terminator
    int nAllocLength = 0;                 ///< characters available, without the terminator
    std::atomic<int> nRefs{1};            ///< owners; negative marks a locked block, which is never shared

    /// The characters after the header.
    [[nodiscard]] void* data() noexcept { return this + 1; }
    /// Whether LockBuffer forbids sharing the block, and whether several strings own it.
    [[nodiscard]] bool IsLocked() const noexcept { return nRefs.load(std::memory_order_relaxed) < 0; }
    [[nodiscard]] bool IsShared() const noexcept { return nRefs.load(std::memory_order_acquire) > 1; }
    /// Adds an owner, which must call Release. Not for a locked block.
    void AddRef() noexcept { nRefs.fetch_add(1, std::memory_order_relaxed); }
    /// Drops one owner; the last one returns the block to its manager.
    void Release() noexcept;
};

/// Blocks of characters. The order of the operations is part of the binary interface. Implement it only where
/// CAtlStringMgr over another IAtlMemMgr is not enough.
class TALLOW_EXPORT IAtlStringMgr {
public:
    /// Returns a block for at least `nChars` characters of `nCharSize` octets and a terminator: length 0, one owner,
    /// not terminated yet. The caller becomes that owner and releases the block with CStringData::Release. Null for a
    /// negative or too large count, and when memory is exhausted.
    virtual CStringData* Allocate(int nChars, int nCharSize) noexcept = 0;
    /// Releases a block of this manager that has no owner left. CStringData::Release calls it; the empty block never
    /// comes here.
    virtual void Free(CStringData* block) noexcept = 0;
    /// The block, possibly moved, with room for at least `nChars` characters; null as for Allocate, and the old block
    /// is then unchanged. Only for a block with one owner: others would keep its old address.
    virtual CStringData* Reallocate(CStringData* block, int nChars, int nCharSize) noexcept = 0;
    /// The empty block, with one more owner. Strings without characters share it; it is never written to.
    virtual CStringData* GetNilString() noexcept = 0;
    /// The manager that a copy of a string uses, here this one. Returns no new object: nothing is to be freed.
    virtual IAtlStringMgr* Clone() noexcept = 0;

protected:
    ~IAtlStringMgr() = default;
};

/// A string manager on top of a memory manager. Rounds the characters of a block, terminator included, up to the next
/// multiple of eight. It contains the empty block of all its strings, so it must not be destroyed while one exists,
/// even an empty one.
class TALLOW_EXPORT CAtlStringMgr : public IAtlStringMgr {
public:
    /// `memory` stays the caller's and must outlive the manager and all its strings.
    explicit constexpr CAtlStringMgr(IAtlMemMgr* memory) noexcept : memory_(memory), nil_{{this, 0, 0, {2}}} {}
    CAtlStringMgr(const CAtlStringMgr&) = delete;
    CAtlStringMgr& operator=(const CAtlStringMgr&) = delete;

    CStringData* Allocate(int nChars, int nCharSize) noexcept override;
    void Free(CStringData* block) noexcept override;
    CStringData* Reallocate(CStringData* block, int nChars, int nCharSize) noexcept override;
    CStringData* GetNilString() noexcept override;
    IAtlStringMgr* Clone() noexcept override;
    virtual ~CAtlStringMgr() = default;

private:
    IAtlMemMgr* memory_;
    // The empty block and its terminator, wide enough for either kind of character. It starts with two owners, so that
    // it is never handed to Free.
    struct NilBlock {
        CStringData header;
        wchar_t terminator = 0;
    } nil_;
};

/// The manager of every string that is not given another, on the C library's heap. Set up when the library is loaded
/// and usable until the process ends, in destructors of static objects too. Threads may share it. It cannot be
/// replaced.
extern TALLOW_EXPORT CAtlStringMgr& g_defaultStrMgr;

/// Kept for its name; nothing reads the pointer.
class TALLOW_EXPORT CFixedStringMgr {
public:
    static void* s_pLog;
};

}  // namespace ATL
