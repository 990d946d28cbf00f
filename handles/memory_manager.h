// Where the strings of handles/string.h get their memory: a memory manager, and above it a string manager that hands
// out blocks of characters with their header.
#pragma once

#include <atomic>
#include <cstddef>

#include "export.h"

namespace ATL {

/// Raw memory. The order of the operations is part of the interface.
class TALLOW_EXPORT IAtlMemMgr {
public:
    /// Null when memory is exhausted.
    virtual void* Allocate(std::size_t size) noexcept = 0;
    virtual void Free(void* block) noexcept = 0;
    /// Null when memory is exhausted; the old block then stays.
    virtual void* Reallocate(void* block, std::size_t size) noexcept = 0;
    virtual std::size_t GetSize(void* block) noexcept = 0;

protected:
    ~IAtlMemMgr() = default;
};

/// The C library's heap. GetSize is not supported: a call ends the process.
class TALLOW_EXPORT CCRTHeap : public IAtlMemMgr {
public:
    void* Allocate(std::size_t size) noexcept override;
    void Free(void* block) noexcept override;
    void* Reallocate(void* block, std::size_t size) noexcept override;
    std::size_t GetSize(void* block) noexcept override;
    virtual ~CCRTHeap() = default;
};

class IAtlStringMgr;

/// The header of a block; the characters follow it, always terminated.
struct TALLOW_EXPORT CStringData {
    IAtlStringMgr* pStringMgr = nullptr;  ///< who allocated this block
    int nDataLength = 0;                  ///< characters in use, without the terminator
    int nAllocLength = 0;                 ///< characters available, without the terminator
    std::atomic<int> nRefs{1};            ///< owners; negative marks a locked block, which is never shared

    [[nodiscard]] void* data() noexcept { return this + 1; }
    [[nodiscard]] bool IsLocked() const noexcept { return nRefs.load(std::memory_order_relaxed) < 0; }
    [[nodiscard]] bool IsShared() const noexcept { return nRefs.load(std::memory_order_acquire) > 1; }
    void AddRef() noexcept { nRefs.fetch_add(1, std::memory_order_relaxed); }
    /// Drops one owner; the last one returns the block to its manager.
    void Release() noexcept;
};

/// Blocks of characters. The order of the operations is part of the interface.
class TALLOW_EXPORT IAtlStringMgr {
public:
    /// A block for at least `nChars` characters of `nCharSize` octets: length 0, one owner, not terminated yet. Null
    /// for a negative or too large count, and when memory is exhausted.
    virtual CStringData* Allocate(int nChars, int nCharSize) noexcept = 0;
    virtual void Free(CStringData* block) noexcept = 0;
    /// The same block with room for at least `nChars` characters; null as for Allocate, the old block then stays.
    virtual CStringData* Reallocate(CStringData* block, int nChars, int nCharSize) noexcept = 0;
    /// The empty block, with one more owner.
    virtual CStringData* GetNilString() noexcept = 0;
    /// The manager that a copy of a string is to use.
    virtual IAtlStringMgr* Clone() noexcept = 0;

protected:
    ~IAtlStringMgr() = default;
};

/// Rounds a block up to the next multiple of eight characters above what is asked, on top of a memory manager.
class TALLOW_EXPORT CAtlStringMgr : public IAtlStringMgr {
public:
    /// `memory` must outlive the manager and all its strings.
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

/// The manager of every string that is not given another, on a heap of its own. Set up when the library is loaded and
/// usable until the process ends, in destructors of static objects too.
extern TALLOW_EXPORT CAtlStringMgr& g_defaultStrMgr;

/// Kept for its name; nothing reads the pointer.
class TALLOW_EXPORT CFixedStringMgr {
public:
    static void* s_pLog;
};

}  // namespace ATL
