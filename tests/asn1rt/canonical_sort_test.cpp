#include "asn1rt/canonical_sort.h"

#include <algorithm>
#include <random>

#include "asn1rt/encode.h"
#include "tests/asn1rt/runtime_fixture.h"

namespace {

using namespace rttest;

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

// Ascending, a prefix first, equal members side by side.
TEST(CanonicalSort, SortsMembersAsStringsOfOctets) {
    std::mt19937 random(7);
    for (const std::size_t count : {0U, 1U, 2U, 3U, 20000U}) {
        std::vector<Bytes> members(count);
        for (Bytes& member : members) {
            member.resize(1 + random() % 6);
            for (std::uint8_t& octet : member) {
                octet = Bytes{0x00, 0x01, 0x7F, 0x80}[random() % 4];
            }
        }
        int answer = 0;
        const Bytes octets = sorted(members, &answer);
        std::sort(members.begin(), members.end());
        members.push_back(testkit::bytesOf("tail"));
        EXPECT_EQ(octets, testkit::concat(members)) << count;
        EXPECT_EQ(answer, static_cast<int>(octets.size()) - 4);
    }
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
