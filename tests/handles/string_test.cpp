#include "handles/string.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "tests/support/status_matcher.h"

namespace {

using ATL::CStringA;
using ATL::CStringW;
using testkit::IsStatus;
using testkit::thrownStatus;

// Remembers what the string asks for, and can run out of memory.
class RecordingHeap : public ATL::IAtlMemMgr {
public:
    void* Allocate(std::size_t size) noexcept override { return isExhausted ? nullptr : std::malloc(asked = size); }
    void Free(void* block) noexcept override {
        ++numFreed;
        std::free(block);
    }
    void* Reallocate(void* block, std::size_t size) noexcept override {
        return isExhausted ? nullptr : std::realloc(block, asked = size);
    }
    std::size_t GetSize(void*) noexcept override { return 0; }

    std::size_t asked = 0;
    int numFreed = 0;
    bool isExhausted = false;
};

using Bare = ATL::CSimpleStringT<char>;

std::size_t charactersAsked(const RecordingHeap& heap) {
    return heap.asked - sizeof(ATL::CStringData);
}

TEST(SimpleString, GrowsByTheRuleOfItsSize) {
    for (const auto& [capacity, grown] : {std::pair{7, 16U}, {1023, 2048U}, {1031, 2056U}, {2007, 3032U}}) {
        SCOPED_TRACE(capacity);
        RecordingHeap heap;
        ATL::CAtlStringMgr manager(&heap);
        Bare text(&manager);
        static_cast<void>(text.GetBuffer(capacity));
        ASSERT_EQ(text.GetAllocLength(), capacity);
        EXPECT_EQ(charactersAsked(heap), static_cast<std::size_t>(capacity) + 1);
        static_cast<void>(text.GetBuffer(capacity + 1));
        EXPECT_EQ(charactersAsked(heap), grown);
    }
}

TEST(SimpleString, ReportsExhaustedMemoryAndBadLengthsAndKeepsItsContent) {
    RecordingHeap heap;
    ATL::CAtlStringMgr manager(&heap);
    Bare text(&manager);
    text.SetString("kept", 4);
    heap.isExhausted = true;
    EXPECT_THAT(thrownStatus([&] { text.SetString("something longer", 16); }), IsStatus(status::kOutOfMemory));
    heap.isExhausted = false;
    EXPECT_THAT(thrownStatus([&] { static_cast<void>(text.GetBuffer(INT_MAX)); }), IsStatus(status::kOutOfMemory));
    EXPECT_THAT(thrownStatus([&] { static_cast<void>(text.GetBuffer(-1)); }), IsStatus(status::kInvalidArgument));
    EXPECT_THAT(thrownStatus([&] { text.SetString("x", -1); }), IsStatus(status::kInvalidArgument));
    EXPECT_THAT(thrownStatus([&] { text.SetString(nullptr, 1); }), IsStatus(status::kInvalidArgument));
    EXPECT_THAT(thrownStatus([&] { text.ReleaseBufferSetLength(8); }), IsStatus(status::kInvalidArgument));
    EXPECT_THAT(thrownStatus([&] { text.SetString(text.GetString() + 2, 3); }), IsStatus(status::kInvalidArgument));
    EXPECT_STREQ(text.GetString(), "kept");
    Bare empty(&manager);
    EXPECT_THAT(thrownStatus([&] { empty.ReleaseBufferSetLength(1); }), IsStatus(status::kInvalidArgument));
    EXPECT_DEATH(static_cast<void>(ATL::CCRTHeap().GetSize(nullptr)), "");
}

TEST(SimpleString, SharesItsBlockUntilOneOwnerWrites) {
    RecordingHeap heap;
    ATL::CAtlStringMgr manager(&heap);
    {
        Bare first(&manager);
        first.SetString("shared", 6);
        Bare second(first);
        EXPECT_EQ(second.GetString(), first.GetString());
        second.SetString(second.GetString() + 1, 3);  // from its own buffer, while that is shared
        EXPECT_STREQ(first.GetString(), "shared");
        EXPECT_STREQ(second.GetString(), "har");
        second = first;
        first.Empty();
        EXPECT_STREQ(second.GetString(), "shared");
        EXPECT_STREQ(first.GetString(), "");
        EXPECT_EQ(heap.numFreed, 1);
    }
    EXPECT_EQ(heap.numFreed, 2);
}

TEST(SimpleString, LockedBlocksAreCopiedAndKeepTheirMemory) {
    CStringA locked("text");
    char* const buffer = locked.LockBuffer();
    const CStringA copy(locked);
    EXPECT_NE(copy.GetString(), buffer);
    EXPECT_STREQ(copy.GetString(), "text");
    locked.Empty();
    EXPECT_EQ(locked.GetString(), buffer);
    EXPECT_STREQ(buffer, "");
    locked = copy;
    EXPECT_EQ(locked.GetString(), buffer);
    EXPECT_STREQ(buffer, "text");
    locked.UnlockBuffer();
    EXPECT_EQ(CStringA(locked).GetString(), buffer);
}

TEST(SimpleString, OwnersOfOneBlockMayLiveOnManyThreads) {
    const CStringA shared("text");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([shared] {
            for (int round = 0; round < 2000; ++round) {
                CStringA copy(shared);
                copy.GetBuffer(4)[0] = 'T';
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_STREQ(shared.GetString(), "text");
}

TEST(String, ReplacesEveryOccurrence) {
    struct Row {
        const wchar_t* text;
        const wchar_t* old;
        const wchar_t* replacement;
        int count;
        const wchar_t* result;
    };
    for (const Row& row : {Row{L"   ", L" ", nullptr, 3, L""}, Row{L"aaa", L"aa", L"b", 1, L"ba"},
                           Row{L"a+b+", L"+", L"%2B", 2, L"a%2Bb%2B"}, Row{L"abc", L"", L"x", 0, L"abc"},
                           Row{L"abc", nullptr, L"x", 0, L"abc"}, Row{L"", L"a", L"b", 0, L""}}) {
        SCOPED_TRACE(row.result);
        CStringW text(row.text);
        const CStringW shared(text);
        EXPECT_EQ(text.Replace(row.old, row.replacement), row.count);
        EXPECT_STREQ(text.GetString(), row.result);
        EXPECT_STREQ(shared.GetString(), row.text);
    }
    CStringW itself(L"abab");
    EXPECT_EQ(itself.Replace(itself.GetString() + 2, itself.GetString()), 2);
    EXPECT_STREQ(itself.GetString(), L"abababab");
}

TEST(String, TakesWideTextInTheCodePage) {
    CStringA text("old");
    text = L"p\u00efn \U0001F512";
    EXPECT_STREQ(text.GetString(), "p\xc3\xafn \xf0\x9f\x94\x92");
    EXPECT_EQ(text.GetLength(), 9);
    text = static_cast<const wchar_t*>(nullptr);
    EXPECT_TRUE(text.IsEmpty());
}

}  // namespace
