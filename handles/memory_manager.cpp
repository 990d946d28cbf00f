#include "handles/memory_manager.h"

#include <climits>
#include <cstdlib>
#include <new>

#include "handles/exception.h"
#include "handles/status.h"

namespace ATL {
namespace {

// Characters of a block, the terminator's place included: the next multiple of eight above `nChars`. 0 when no int can
// count them.
std::size_t roundedChars(int nChars, int nCharSize) noexcept {
    if (nChars < 0 || nCharSize <= 0 || nChars > INT_MAX - 8) {
        return 0;
    }
    return (static_cast<std::size_t>(nChars) & ~std::size_t{7}) + 8;
}

// Constant-initialised and never destroyed: strings in static objects of other files may be older or outlast those of
// this one.
union DefaultManager {
    struct Parts {
        CCRTHeap heap;
        CAtlStringMgr manager{&heap};
    } parts;

    constexpr DefaultManager() noexcept : parts() {}
    ~DefaultManager() {}  // NOLINT(modernize-use-equals-default): leaves the members unset on purpose
};

constinit DefaultManager defaultManager;

}  // namespace

void* CCRTHeap::Allocate(std::size_t size) noexcept {
    return std::malloc(size);
}

void CCRTHeap::Free(void* block) noexcept {
    std::free(block);
}

void* CCRTHeap::Reallocate(void* block, std::size_t size) noexcept {
    return std::realloc(block, size);
}

// Throwing out of a noexcept function ends the process, which is the contract of a call that cannot report a failure.
std::size_t CCRTHeap::GetSize(void*) noexcept {  // NOLINT(bugprone-exception-escape)
    AtlThrowImpl(status::kFail);
}

void CStringData::Release() noexcept {
    // A locked block has a negative count and exactly one owner.
    if (nRefs.fetch_sub(1, std::memory_order_acq_rel) <= 1) {
        pStringMgr->Free(this);
    }
}

CStringData* CAtlStringMgr::Allocate(int nChars, int nCharSize) noexcept {
    const std::size_t chars = roundedChars(nChars, nCharSize);
    void* block = chars == 0 ? nullptr : memory_->Allocate(sizeof(CStringData) + chars * nCharSize);
    if (block == nullptr) {
        return nullptr;
    }
    auto* data = ::new (block) CStringData;
    data->pStringMgr = this;
    data->nAllocLength = static_cast<int>(chars - 1);
    return data;
}

void CAtlStringMgr::Free(CStringData* block) noexcept {
    memory_->Free(block);
}

CStringData* CAtlStringMgr::Reallocate(CStringData* block, int nChars, int nCharSize) noexcept {
    const std::size_t chars = roundedChars(nChars, nCharSize);
    void* moved = chars == 0 ? nullptr : memory_->Reallocate(block, sizeof(CStringData) + chars * nCharSize);
    if (moved == nullptr) {
        return nullptr;
    }
    auto* data = static_cast<CStringData*>(moved);
    data->nAllocLength = static_cast<int>(chars - 1);
    return data;
}

CStringData* CAtlStringMgr::GetNilString() noexcept {
    nil_.header.AddRef();
    return &nil_.header;
}

IAtlStringMgr* CAtlStringMgr::Clone() noexcept {
    return this;
}

constinit CAtlStringMgr& g_defaultStrMgr = defaultManager.parts.manager;
void* CFixedStringMgr::s_pLog = nullptr;

}  // namespace ATL
