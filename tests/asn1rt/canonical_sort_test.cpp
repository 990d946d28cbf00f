#include "asn1rt/canonical_sort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "asn1rt/encode.h"
#include "tests/asn1rt/runtime_fixture.h"

namespace {

using rttest::Bytes;
using rttest::Output;

/// Writes the members as a SET OF writer does, the first one at the highest addresses, and sorts them.
Bytes sorted(const std::vector<Bytes>& members, int* answer) {
    Output out;
    EXPECT_EQ(xe_memcpy(out, "tail", 4), 4);
    rtSList list;
    rtSListInitEx(out, &list);
    for (const Bytes& member : members) {
        EXPECT_EQ(xe_memcpy(out, member.data(), static_cast<std::uint32_t>(member.size())),
                  static_cast<int>(member.size()));
        auto* descriptor = static_cast<ASN1BufLocDescr*>(rtMemHeapAlloc(&out->pTypeMemHeap, sizeof(ASN1BufLocDescr)));
        xe_getBufLocDescr(out, static_cast<std::uint32_t>(member.size()), descriptor);
        rtSListAppend(&list, descriptor);
    }
    *answer = xe_derCanonicalSort(out, &list);
    EXPECT_EQ(list.count, 0U);
    return out.octets();
}

TEST(CanonicalSort, AscendingWithPrefixesFirst) {
    struct Row {
        std::vector<const char*> members;  // in the order of writing
        const char* hex;                   // what stands in front of the tail
    };
    const Row rows[] = {
        {{}, ""},
        {{"0401ff", "040100"}, "0401000401ff"},
        {{"0401aa", "0401aa", "0401aa"}, "0401aa0401aa0401aa"},
        {{"0402", "040201", "04"}, "040402040201"},
        {{"7f", "80", "00"}, "007f80"},
    };
    for (const Row& row : rows) {
        std::vector<Bytes> members;
        for (const char* member : row.members) {
            members.push_back(rttest::fromHex(member));
        }
        int answer = 0;
        const Bytes octets = sorted(members, &answer);
        EXPECT_EQ(rttest::toHex(octets), std::string(row.hex) + "7461696c");
        EXPECT_EQ(answer, static_cast<int>(octets.size()) - 4) << row.hex;
    }
}

TEST(CanonicalSort, ManyMembersInAnyOrder) {
    std::mt19937 random(7);
    std::vector<Bytes> members(20000);
    for (Bytes& member : members) {
        member.resize(1 + random() % 6);
        for (std::uint8_t& octet : member) {
            octet = static_cast<std::uint8_t>(random() % 4);
        }
    }
    int answer = 0;
    const Bytes octets = sorted(members, &answer);
    std::sort(members.begin(), members.end());
    Bytes expected;
    for (const Bytes& member : members) {
        expected.insert(expected.end(), member.begin(), member.end());
    }
    EXPECT_EQ(answer, static_cast<int>(expected.size()));
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), octets.begin()));
}

TEST(CanonicalSort, RefusesDescriptorsOutsideTheMessage) {
    Output out;
    ASSERT_EQ(xe_memcpy(out, "abc", 3), 3);
    rtSList list;
    rtSListInitEx(out, &list);
    auto* descriptor = static_cast<ASN1BufLocDescr*>(rtMemHeapAlloc(&out->pTypeMemHeap, sizeof(ASN1BufLocDescr)));
    *descriptor = ASN1BufLocDescr{4, 3};
    rtSListAppend(&list, descriptor);
    EXPECT_EQ(xe_derCanonicalSort(out, &list), STATUS_BAD_VALUE);
}

}  // namespace
