#include "handles/string.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <string>
#include <string_view>

#include "handles/exception.h"
#include "handles/last_error.h"
#include "handles/status.h"
#include "platform/support/support_service.h"

namespace ATL {
namespace {

// The capacity that a block of `capacity` characters grows to when it is too small: twice as much while it is small,
// then by steps, so that a large text does not double its memory.
int grownCapacity(int capacity) noexcept {
    constexpr int kDoubledBelow = 1025;
    constexpr int kSteppedBelow = 0x40000001;
    constexpr int kStep = 1024;
    if (capacity < kDoubledBelow) {
        return capacity * 2;
    }
    return capacity < kSteppedBelow ? capacity + kStep : capacity;
}

}  // namespace

template <class Char, bool mfc>
CSimpleStringT<Char, mfc>::CSimpleStringT(IAtlStringMgr* manager) noexcept {
    attach(manager->GetNilString());
}

template <class Char, bool mfc>
CSimpleStringT<Char, mfc>::CSimpleStringT(const CSimpleStringT& other) {
    CStringData* block = other.header();
    if (!block->IsLocked()) {
        block->AddRef();
        attach(block);
        return;
    }
    attach(block->pStringMgr->Clone()->GetNilString());
    try {
        SetString(other.text_, other.GetLength());
    } catch (...) {
        header()->Release();
        throw;
    }
}

template <class Char, bool mfc>
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): the blocks are compared, not the objects
CSimpleStringT<Char, mfc>& CSimpleStringT<Char, mfc>::operator=(const CSimpleStringT& other) {
    // Two strings that share a block are equal already, and so is a string assigned to itself.
    CStringData* mine = header();
    CStringData* theirs = other.header();
    if (mine == theirs) {
        return *this;
    }
    if (mine->IsLocked() || theirs->IsLocked()) {
        SetString(other.text_, other.GetLength());
        return *this;
    }
    theirs->AddRef();
    attach(theirs);
    mine->Release();
    return *this;
}

template <class Char, bool mfc>
void CSimpleStringT<Char, mfc>::SetString(const Char* text, int length) {
    if (length == 0) {
        Empty();
        return;
    }
    if (text == nullptr || length < 0) {
        AtlThrowImpl(status::kInvalidArgument);
    }
    const auto begin = reinterpret_cast<std::uintptr_t>(text_);
    const auto given = reinterpret_cast<std::uintptr_t>(text);
    const auto used = static_cast<std::uintptr_t>(GetLength());
    if (given < begin || given > begin + used * sizeof(Char)) {
        std::copy_n(text, length, PrepareWrite(length));
    } else {
        const std::uintptr_t offset = (given - begin) / sizeof(Char);
        if (static_cast<std::uintptr_t>(length) > used - offset) {
            AtlThrowImpl(status::kInvalidArgument);
        }
        Char* buffer = PrepareWrite(length);
        std::copy_n(buffer + offset, length, buffer);  // to the left, so that front to back is right
    }
    ReleaseBufferSetLength(length);
}

template <class Char, bool mfc>
void CSimpleStringT<Char, mfc>::SetString(const Char* text) {
    const std::size_t length = text == nullptr ? 0 : std::char_traits<Char>::length(text);
    if (length > INT_MAX) {
        AtlThrowImpl(status::kInvalidArgument);
    }
    SetString(text, static_cast<int>(length));
}

template <class Char, bool mfc>
void CSimpleStringT<Char, mfc>::Empty() noexcept {
    CStringData* block = header();
    if (block->IsLocked()) {
        block->nDataLength = 0;
        text_[0] = Char{};
        return;
    }
    attach(block->pStringMgr->Clone()->GetNilString());
    block->Release();
}

template <class Char, bool mfc>
void CSimpleStringT<Char, mfc>::ReleaseBufferSetLength(int length) {
    if (length < 0 || length > GetAllocLength()) {
        AtlThrowImpl(status::kInvalidArgument);
    }
    // The empty block is shared and read-only; an empty string has no buffer to write to.
    if (header()->IsShared()) {
        if (length != GetLength()) {
            AtlThrowImpl(status::kInvalidArgument);
        }
        return;
    }
    header()->nDataLength = length;
    text_[length] = Char{};
}

template <class Char, bool mfc>
Char* CSimpleStringT<Char, mfc>::LockBuffer() {
    if (header()->IsShared()) {
        fork(GetLength());
    }
    header()->nRefs.store(-1, std::memory_order_relaxed);
    return text_;
}

template <class Char, bool mfc>
void CSimpleStringT<Char, mfc>::UnlockBuffer() noexcept {
    if (header()->IsLocked()) {
        header()->nRefs.store(1, std::memory_order_relaxed);
    }
}

template <class Char, bool mfc>
Char* CSimpleStringT<Char, mfc>::PrepareWrite(int length) {
    if (length < 0) {
        AtlThrowImpl(status::kInvalidArgument);
    }
    PrepareWrite2(length);
    return text_;
}

template <class Char, bool mfc>
void CSimpleStringT<Char, mfc>::PrepareWrite2(int length) {
    CStringData* block = header();
    const int needed = std::max(length, block->nDataLength);
    if (block->IsShared()) {
        fork(needed);
        return;
    }
    if (block->nAllocLength >= needed) {
        return;
    }
    const int wanted = std::max(grownCapacity(block->nAllocLength), needed);
    CStringData* grown = block->pStringMgr->Reallocate(block, wanted, sizeof(Char));
    if (grown == nullptr) {
        AtlThrowImpl(status::kOutOfMemory);
    }
    attach(grown);
}

template <class Char, bool mfc>
void CSimpleStringT<Char, mfc>::fork(int length) {
    CStringData* old = header();
    CStringData* block = old->pStringMgr->Clone()->Allocate(length, sizeof(Char));
    if (block == nullptr) {
        AtlThrowImpl(status::kOutOfMemory);
    }
    block->nDataLength = std::min(old->nDataLength, length);
    std::copy_n(text_, block->nDataLength, static_cast<Char*>(block->data()));
    attach(block);
    text_[block->nDataLength] = Char{};
    old->Release();
}

template <class Char>
CStringT<Char>& CStringT<Char>::operator=(const Char* text) {
    this->SetString(text);
    return *this;
}

template <class Char>
template <class Wide>
requires(std::is_same_v<Wide, wchar_t>&& std::is_same_v<Char, char>) CStringT<Char>
&CStringT<Char>::operator=(const Wide* text) {
    if (text == nullptr || *text == L'\0') {
        this->Empty();
        return *this;
    }
    const int size = WideCharToMultiByte(CP_ACP, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (size <= 0) {
        ATL2::throwLastErrorOrFail();
    }
    CStringT narrow;
    if (WideCharToMultiByte(CP_ACP, 0, text, -1, narrow.GetBuffer(size - 1), size, nullptr, nullptr) == 0) {
        ATL2::throwLastErrorOrFail();
    }
    narrow.ReleaseBufferSetLength(size - 1);
    static_cast<CSimpleStringT<Char>&>(*this) = narrow;
    return *this;
}

template <class Char>
int CStringT<Char>::Replace(const Char* old, const Char* replacement) {
    using View = std::basic_string_view<Char>;
    const View sought = old == nullptr ? View() : View(old);
    const View put = replacement == nullptr ? View() : View(replacement);
    const View whole(this->GetString(), this->GetLength());
    std::size_t count = 0;
    for (std::size_t at = sought.empty() ? View::npos : whole.find(sought); at != View::npos;
         at = whole.find(sought, at + sought.size())) {
        ++count;
    }
    if (count == 0) {
        return 0;
    }
    const std::size_t length = whole.size() - count * sought.size() + count * put.size();
    if (length > INT_MAX) {
        AtlThrowImpl(status::kOutOfMemory);
    }
    // Into a new string: the arguments may be part of this one.
    CStringT result;
    Char* out = result.GetBuffer(static_cast<int>(length));
    std::size_t from = 0;
    for (std::size_t at = whole.find(sought); at != View::npos; at = whole.find(sought, from)) {
        out = std::copy_n(whole.data() + from, at - from, out);
        out = std::copy_n(put.data(), put.size(), out);
        from = at + sought.size();
    }
    std::copy_n(whole.data() + from, whole.size() - from, out);
    result.ReleaseBufferSetLength(static_cast<int>(length));
    static_cast<CSimpleStringT<Char>&>(*this) = result;
    return static_cast<int>(count);
}

template class CSimpleStringT<char>;
template class CSimpleStringT<wchar_t>;
template class CStringT<char>;
template CStringT<char>& CStringT<char>::operator=<wchar_t>(const wchar_t* text);
template class CStringT<wchar_t>;

}  // namespace ATL
