// Responses read entry by entry, held against the record codec.
#include <gmock/gmock.h>

#include <functional>
#include <map>
#include <vector>

#include "tests/message/message_fixture.h"
#include "tests/message/response_readings.h"
#include "tests/support/tlv.h"

namespace {

using namespace Orvane::PKI::OCSP;
using namespace testkit;

class ResponseReadings : public testing::Test {
protected:
    // Counts the outcomes, so that a test can show that it met both.
    std::map<bool, int> numAccepted;

    void compare(const Bytes& basic) {
        const std::string expected = recordReadingOf(blob(basic));
        ++numAccepted[expected.rfind("status", 0) != 0];
        ASSERT_EQ(readingOf(blob(basic)), expected) << toHex(basic);
        const Bytes whole =
            tlv::sequence({tlv::enumerated(0),
                           tlv::context(0, tlv::sequence({tlv::oid(kBasicResponseOid), tlv::octetString(basic)}))});
        ASSERT_EQ(statusOfMessage(blob(whole)), recordStatusOfMessage(blob(whole))) << toHex(basic);
    }

    static ResponseSpec plainSpec() {
        const Pki& pki = Pki::shared();
        ResponseSpec spec(pki.delegate);
        spec.bare = true;
        spec.includeSigner = false;
        const CertIdSpec id = certIdOf(pki.good, pki.ca);
        spec.entries = {EntrySpec(id), EntrySpec(id, EntryStatus::kRevoked), EntrySpec(id, EntryStatus::kRevoked),
                        EntrySpec(id, EntryStatus::kUnknown), EntrySpec(certIdOf(pki.good, pki.ca, kSha256Oid))};
        spec.entries[1].revocationReason = 5;
        spec.entries[3].nextUpdate.reset();
        return spec;
    }
};

TEST_F(ResponseReadings, NeedNoRecordsForPlainEntries) {
    ResponseSpec spec = plainSpec();
    EXPECT_TRUE(isCertainlyBasicResponse(blob(buildResponse(spec)), 0));
    spec.includeSigner = true;
    spec.entries[0].extensions.push_back({"1.2.3.4", true, {0x05, 0x00}});
    EXPECT_TRUE(isCertainlyBasicResponse(blob(buildResponse(spec)), 0));
}

TEST_F(ResponseReadings, AgreeOnEveryChangedOctet) {
    ResponseSpec spec = plainSpec();
    spec.entries[0].extensions.push_back({kBasicResponseOid, true, {0x05, 0x00}});
    spec.entries[0].extensions.push_back({"1.3.6.1.5.5.7.48.1.6", false, tlv::generalizedTime("20260101000000Z")});
    const Bytes good = buildResponse(spec);
    compare(good);
    ASSERT_EQ(numAccepted[true], 1);
    for (std::size_t i = 0; i < good.size(); ++i) {
        for (const int flipped : {0x01, 0x10, 0x20, 0x80, 0xFF}) {
            Bytes changed = good;
            changed[i] = static_cast<std::uint8_t>(changed[i] ^ flipped);
            compare(changed);
        }
        Bytes changed = good;
        changed.erase(changed.begin() + static_cast<std::ptrdiff_t>(i));
        compare(changed);
        changed.insert(changed.begin() + static_cast<std::ptrdiff_t>(i), 2, 0);
        compare(changed);
    }
    EXPECT_GT(numAccepted[true], 500);
    EXPECT_GT(numAccepted[false], 500);
}

// A changed octet mostly breaks the lengths around it. Here the elements around stay whole.
TEST_F(ResponseReadings, AgreeOnEntriesInOtherForms) {
    const Bytes time = tlv::generalizedTime("20260101000000Z");
    const Bytes good = tlv::contextPrimitive(0, {});
    const Bytes algorithm = tlv::sequence({tlv::oid(kSha1Oid), tlv::null()});
    const Bytes hash = tlv::octetString(Bytes(20, 7));
    const auto certId = [&](const Bytes& serial) { return tlv::sequence({algorithm, hash, hash, serial}); };
    const Bytes id = certId(tlv::integer(5));
    const auto revoked = [&](const Bytes& info) { return tlv::sequence({id, tlv::context(1, info), time}); };
    std::vector<Bytes> rows = {
        tlv::sequence({id, good, time}),
        tlv::sequence({id, good, time, tlv::context(0, time)}),
        tlv::rawLongLength(0x30, concat({id, good, time}), 4),
        tlv::raw(0x10, concat({id, good, time})),
        tlv::sequence({id, good, time, time}),
        tlv::sequence({id, good, time, tlv::context(0, concat({time, time}))}),
        tlv::sequence({id, good, time, tlv::context(0, {}), time}),
        tlv::sequence({id, good, time, tlv::context(2, time)}),
        tlv::sequence({id, good, time, tlv::context(1, tlv::sequence({})), tlv::context(0, time)}),
        tlv::sequence({id, tlv::context(0, {}), time}),
        tlv::sequence({id, tlv::contextPrimitive(0, {0}), time}),
        tlv::sequence({id, tlv::contextPrimitive(2, {}), time}),
        tlv::sequence({id, tlv::contextPrimitive(1, time), time}),
        tlv::sequence({tlv::context(0, tlv::context(0, Pki::shared().good.certificate)), good, time}),
        tlv::sequence({id, good}),
        tlv::sequence({id, good, tlv::raw(0x38, tlv::raw(0x04, bytesOf("20260101000000Z")))}),
        revoked(time),
        revoked({}),
        revoked(concat({time, time})),
        tlv::sequence({tlv::sequence({hash, hash, tlv::integer(5)}), good, time}),
        tlv::sequence({tlv::sequence({tlv::sequence({tlv::oid(kSha1Oid)}), hash, hash, tlv::integer(5)}), good, time}),
        tlv::sequence(
            {tlv::sequence({tlv::sequence({tlv::oid(kSha256Oid)}), hash, hash, tlv::integer(5)}), good, time}),
        tlv::sequence({tlv::sequence({tlv::sequence({tlv::oid("1.2.3.4")}), hash, hash, tlv::integer(5)}), good, time}),
        tlv::sequence({tlv::sequence({algorithm, tlv::raw(0x24, hash), hash, tlv::integer(5)}), good, time}),
        tlv::sequence({tlv::sequence({algorithm, hash, hash, tlv::integer(5), tlv::null()}), good, time}),
    };
    for (const Bytes& serial : {Bytes{}, Bytes{0}, Bytes{0, 0}, Bytes{0, 1}, Bytes{0, 0x80}, Bytes{0, 0, 0x80},
                                Bytes{0xFF}, Bytes{0xFF, 0xFF}, Bytes{0x0F, 1}, Bytes(40, 9)}) {
        rows.push_back(tlv::sequence({certId(tlv::integer(serial)), good, time}));
    }
    for (const Bytes& reason : {tlv::enumerated(0), tlv::enumerated(7), tlv::enumerated(10), tlv::enumerated(11),
                                tlv::enumerated(-1), tlv::raw(0x0A, {0, 1}), tlv::raw(0x0A, {}), tlv::integer(1)}) {
        rows.push_back(revoked(concat({time, tlv::context(0, reason)})));
        rows.push_back(revoked(concat({time, tlv::context(0, concat({reason, reason}))})));
    }
    for (const char* text :
         {"20240229235959Z", "20250229000000Z", "21000229000000Z", "16010101000000Z", "16001231235959Z",
          "99991231235959Z", "20000301000000Z", "20260132000000Z", "20261301000000Z", "20260100000000Z",
          "20260101240000Z", "20260101006000Z", "20260101000060Z", "202601010000Z", "20260101000000.5Z",
          "20260101000000+", "2026010100000 Z"}) {
        rows.push_back(tlv::sequence({id, good, tlv::generalizedTime(text)}));
        rows.push_back(revoked(tlv::generalizedTime(text)));
    }
    for (const Bytes& row : rows) {
        ResponseSpec spec = plainSpec();
        spec.entries[1].raw = row;
        compare(buildResponse(spec));
    }
    EXPECT_GT(numAccepted[true], 20);
    EXPECT_GT(numAccepted[false], 20);
}

// The codec's limit on memory counts the records of all entries.
TEST_F(ResponseReadings, AgreeOnResponsesOfTooManyRecords) {
    const Bytes extension = tlv::sequence({tlv::raw(0x06, {0x2A}), tlv::octetString({})});
    for (const std::size_t numExtensions : {6000U, 12000U}) {
        for (const std::size_t numPlain : {1U, 100U, 110U, 120U, 130U, 140U, 300U}) {
            Bytes list;
            for (std::size_t i = 0; i < numExtensions; ++i) {
                list.insert(list.end(), extension.begin(), extension.end());
            }
            ResponseSpec spec = plainSpec();
            spec.entries.resize(numPlain, spec.entries[0]);
            spec.entries[0].raw =
                tlv::sequence({spec.entries[0].id.encode(), tlv::contextPrimitive(0, {}),
                               tlv::generalizedTime("20260101000000Z"), tlv::context(1, tlv::raw(0x30, list))});
            compare(buildResponse(spec));
        }
    }
    EXPECT_GT(numAccepted[true], 2);
    EXPECT_GT(numAccepted[false], 2);
}

}  // namespace
