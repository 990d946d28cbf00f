// The command's own rules for responses of an authorised responder, received and stored. The policy leaves the time of
// production to these rules.
#include <algorithm>
#include <functional>

#include "tests/cli/command.h"
#include "tests/support/tlv.h"

namespace {

using namespace testkit;
using testing::HasSubstr;
using ResponseRules = CommandTest;

constexpr const char* kWithoutAccuracy = "[config.cades.ocsppolicy]\nResponseAccuracy = 0\n";
constexpr const char* kHistoricalRequestOid = "1.2.643.2.2.47.5";
constexpr const char* kUnknownHashOid = "1.2.3.4";
constexpr long kDay = 24L * 3600;

EntrySpec entryOn(const Identity& certificate, EntryStatus status, const std::string& hash = kSha1Oid) {
    return EntrySpec(certIdOf(certificate, certs().root, hash), status);
}

EntrySpec entryOnLeaf(EntryStatus status, const std::string& hash = kSha1Oid) {
    return entryOn(certs().good, status, hash);
}

EntrySpec leafWithUnknownHash(EntryStatus status) {
    EntrySpec entry = entryOnLeaf(status);
    entry.id.hashOid = kUnknownHashOid;
    return entry;
}

EntrySpec aged(EntrySpec entry, long thisUpdate, long nextUpdate) {
    entry.thisUpdate = generalizedTimeText(thisUpdate);
    entry.nextUpdate = generalizedTimeText(nextUpdate);
    return entry;
}

EntrySpec stale(EntrySpec entry) {
    return aged(std::move(entry), -600, -30);
}

Bytes responseWith(const std::function<void(ResponseSpec&)>& change) {
    ResponseSpec spec = goodResponse();
    change(spec);
    return buildResponse(spec);
}

Bytes entries(const std::vector<EntrySpec>& list) {
    return responseWith([&list](ResponseSpec& spec) { spec.entries = list; });
}

Bytes produced(long producedAt, long thisUpdate) {
    return responseWith([=](ResponseSpec& spec) {
        spec.producedAt = generalizedTimeText(producedAt);
        spec.entries[0].thisUpdate = generalizedTimeText(thisUpdate);
    });
}

// A response around an encoded OCTET STRING, from the encoding of a good basic response.
Bytes wrapping(Bytes (*octetString)(const Bytes& basic)) {
    const Bytes basic = responseWith([](ResponseSpec& spec) { spec.bare = true; });
    return tlv::sequence(
        {tlv::enumerated(0), tlv::context(0, tlv::sequence({tlv::oid(kBasicResponseOid), octetString(basic)}))});
}

// A failed response status with the body of a good response.
Bytes withStatus(unsigned char status) {
    Bytes response = buildResponse(goodResponse());
    const Bytes successful{0x0A, 0x01, 0x00};
    *(std::search(response.begin(), response.end(), successful.begin(), successful.end()) + 2) = status;
    return response;
}

const Identity& otherRoot() {
    static const Identity root = rootCa("another root");
    return root;
}

Identity delegateOfOtherRoot() {
    return issue(otherRoot(), {.extendedKeyUsage = "OCSPSigning", .ocspNoCheck = true});
}

struct Row {
    const char* name;
    Bytes response;
    int exitStatus;
    const char* words;  // of the failure
};

std::vector<Row> rows() {
    const auto good = EntryStatus::kGood;
    const auto revoked = EntryStatus::kRevoked;
    const auto unknown = EntryStatus::kUnknown;
    EntrySpec historical = aged(entryOnLeaf(good), -400 * kDay, -399 * kDay);
    historical.extensions = {{kHistoricalRequestOid, false, tlv::sequence(std::vector<Bytes>())}};
    EntrySpec endless = historical;
    endless.nextUpdate.reset();
    std::vector<Row> all{
        {"good", entries({entryOnLeaf(good)}), 0, ""},
        {"good twice", entries({entryOnLeaf(good), entryOnLeaf(good, kSha256Oid)}), 0, ""},
        {"good, revoked", entries({entryOnLeaf(good), entryOnLeaf(revoked)}), 1, ""},
        {"revoked, good", entries({entryOnLeaf(revoked), entryOnLeaf(good)}), 1, ""},
        {"revoked under another hash", entries({entryOnLeaf(good), entryOnLeaf(revoked, kSha256Oid)}), 1, ""},
        {"revoked long ago", entries({entryOnLeaf(good), stale(entryOnLeaf(revoked, kSha384Oid))}), 1, ""},
        {"good, unknown", entries({entryOnLeaf(good), entryOnLeaf(unknown)}), 2, ""},
        {"unknown, good", entries({entryOnLeaf(unknown, kSha512Oid), entryOnLeaf(good)}), 2, ""},
        {"unknown, good, revoked", entries({entryOnLeaf(unknown), entryOnLeaf(good), entryOnLeaf(revoked)}), 1, ""},
        {"second and revoked", entries({entryOn(certs().unknown, good), entryOnLeaf(revoked)}), 1, ""},
        {"good beside revoked", entries({entryOn(certs().revoked, revoked), entryOnLeaf(good)}), 0, ""},
        {"good beside stale", entries({entryOnLeaf(good), stale(entryOnLeaf(good, kSha256Oid))}), 3,
         "entry: number 2: the response expired: nextUpdate "},
        {"unknown hash", entries({leafWithUnknownHash(good), entryOnLeaf(good)}), 0, ""},
        {"only an unknown hash", entries({leafWithUnknownHash(good)}), 3, "entry: "},
        {"unknown hash, revoked", entries({entryOnLeaf(good), leafWithUnknownHash(revoked)}), 3,
         "entry: number 2: it has the serial number"},
        {"unrequested historical marker", entries({historical}), 3, "nextUpdate "},
        {"the same without nextUpdate", entries({endless}), 3, "thisUpdate "},
        {"within the tolerance", produced(120, 150), 0, ""},
        {"produced tomorrow", produced(kDay, -60), 3, "producedAt "},
        {"thisUpdate ahead", produced(170, 3000), 3, "thisUpdate "},
        {"thisUpdate after producedAt", produced(-600, -60), 3, "later than producedAt"},
        {"octets after", responseWith([](ResponseSpec& s) { s.trailing = tlv::null(); }), 3,
         "octets follow the response"},
        {"octets inside", wrapping([](const Bytes& basic) {
             return tlv::octetString(concat({basic, tlv::null()}));
         }),
         3, "octets follow the basic response"},
        {"octet string in parts", wrapping([](const Bytes& basic) { return tlv::raw(0x24, tlv::octetString(basic)); }),
         3, "not one DER structure"},
        {"version 1 in words", responseWith([](ResponseSpec& spec) { spec.version = 0; }), 0, ""},
        {"version 2", responseWith([](ResponseSpec& spec) { spec.version = 1; }), 3, "not of version 1"},
        {"version without octets", responseWith([](ResponseSpec& spec) { spec.versionContents = Bytes{}; }), 3,
         "not of version 1"},
        {"version in two octets", responseWith([](ResponseSpec& spec) {
             spec.versionContents = Bytes{0, 0};
         }),
         3, "not of version 1"},
        {"delegate of another trusted CA",
         responseWith([](ResponseSpec& spec) { spec.signer = delegateOfOtherRoot(); }), 3, "0x800B0110"},
    };
    for (const unsigned char status : {1, 6}) {
        all.push_back({"failed", withStatus(status), 3, "response status: "});
    }
    return all;
}

// Received or stored, by certificate or by identifier: the same verdict.
TEST_F(ResponseRules, GiveTheStrictestVerdictThatAResponseAllows) {
    const Command withoutAccuracy(kWithoutAccuracy);
    tallow.file("root.pem", certs().root.certificatePem() + otherRoot().certificatePem());
    ASSERT_EQ(
        withoutAccuracy
            .with({"request", "--no-nonce", "--issuer", tallow.file("issuer.pem", certs().root), "-o", request, leaf})
            .exitStatus,
        0);
    for (const Row& row : rows()) {
        SCOPED_TRACE(row.name);
        const HttpServer server = serverOf(HttpReply{.body = row.response});
        tallow.file("response.der", row.response);
        for (const ProcessResult& run :
             {withoutAccuracy.check({"--trust", root, "--no-nonce", "--url", server.url(), leaf}),
              withoutAccuracy.with({"verify", "--trust", root, "--cert", leaf, response}),
              withoutAccuracy.with({"verify", "--trust", root, "--request", request, response})}) {
            EXPECT_EQ(run.exitStatus, row.exitStatus) << run.out << run.err;
            EXPECT_THAT(run.err, HasSubstr(row.words));
        }
    }
}

// `check` never asks about an earlier state, but a request given to `verify` may.
TEST_F(ResponseRules, AcceptOldEntriesOnlyWhenHistoryWasRequested) {
    const ExtensionSpec marker{kHistoricalRequestOid, true, tlv::sequence(std::vector<Bytes>())};
    const auto requestWith = [&](const Bytes& extensions) {
        return tlv::sequence(
            {tlv::sequence({tlv::sequence({tlv::sequence({entryOnLeaf({}).id.encode(), extensions})})})});
    };
    const std::string plain = tallow.file("plain.der", requestWith({}));
    const std::string asking =
        tallow.file("asking.der", requestWith(tlv::context(0, tlv::sequence({marker.encode()}))));
    ResponseSpec spec = goodResponse();
    spec.entries = {aged(entryOnLeaf(EntryStatus::kGood), -400 * kDay, -399 * kDay)};
    const std::string unmarked = tallow.file("unmarked.der", buildResponse(spec));
    spec.entries[0].extensions = {{kHistoricalRequestOid, false, marker.value}};
    const std::string marked = tallow.file("marked.der", buildResponse(spec));
    for (const auto& [asked, answer, exitStatus] :
         {std::tuple(plain, marked, 3), std::tuple(asking, unmarked, 3), std::tuple(asking, marked, 0)}) {
        const Arguments verify{"verify", "--trust", root, "--request", asked, answer};
        EXPECT_EQ(tallow.with(verify).exitStatus, exitStatus) << asked << answer;
        EXPECT_EQ(tallow.with(joined(verify, {"--cert", leaf})).exitStatus, exitStatus) << asked << answer;
    }
}

}  // namespace
