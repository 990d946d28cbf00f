// The command's own rules for responses of an authorised responder, received and stored. The policy leaves the time of
// production to these rules.
#include <gmock/gmock.h>

#include <algorithm>
#include <functional>

#include "tests/cli/command.h"
#include "tests/cli/json_result.h"
#include "tests/support/http_server.h"
#include "tests/support/tlv.h"

namespace {

using namespace testkit;
using testing::HasSubstr;

constexpr const char* kWithoutAccuracy = "[config.cades.ocsppolicy]\nResponseAccuracy = 0\n";
constexpr const char* kHistoricalRequestOid = "1.2.643.2.2.47.5";
constexpr const char* kUnknownHashOid = "1.2.3.4";
constexpr long kDay = 24L * 3600;

EntrySpec entryOn(const Identity& certificate, EntryStatus status, const std::string& hash = kSha1Oid) {
    return EntrySpec(certIdOf(certificate, certs().root, hash), status);
}

EntrySpec leaf(EntryStatus status, const std::string& hash = kSha1Oid) {
    return entryOn(certs().good, status, hash);
}

EntrySpec leafWithUnknownHash(EntryStatus status) {
    EntrySpec entry = leaf(status);
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
    CertificateSpec delegate;
    delegate.extendedKeyUsage = "OCSPSigning";
    delegate.ocspNoCheck = true;
    return issue(otherRoot(), delegate);
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
    EntrySpec historical = aged(leaf(good), -400 * kDay, -399 * kDay);
    historical.extensions = {{kHistoricalRequestOid, false, tlv::sequence(std::vector<Bytes>())}};
    EntrySpec endless = historical;
    endless.nextUpdate.reset();
    std::vector<Row> all{
        {"good", entries({leaf(good)}), 0, ""},
        {"good twice", entries({leaf(good), leaf(good, kSha256Oid)}), 0, ""},
        {"good, revoked", entries({leaf(good), leaf(revoked)}), 1, ""},
        {"revoked, good", entries({leaf(revoked), leaf(good)}), 1, ""},
        {"revoked under another hash", entries({leaf(good), leaf(revoked, kSha256Oid)}), 1, ""},
        {"revoked long ago", entries({leaf(good), stale(leaf(revoked, kSha384Oid))}), 1, ""},
        {"good, unknown", entries({leaf(good), leaf(unknown)}), 2, ""},
        {"unknown, good", entries({leaf(unknown, kSha512Oid), leaf(good)}), 2, ""},
        {"unknown, good, revoked", entries({leaf(unknown), leaf(good), leaf(revoked)}), 1, ""},
        {"second and revoked", entries({entryOn(certs().unknown, good), leaf(revoked)}), 1, ""},
        {"good beside revoked", entries({entryOn(certs().revoked, revoked), leaf(good)}), 0, ""},
        {"good beside stale", entries({leaf(good), stale(leaf(good, kSha256Oid))}), 3, "entry: number 2: nextUpdate "},
        {"unknown hash", entries({leafWithUnknownHash(good), leaf(good)}), 0, ""},
        {"only an unknown hash", entries({leafWithUnknownHash(good)}), 3, "entry: "},
        {"unknown hash, revoked", entries({leaf(good), leafWithUnknownHash(revoked)}), 3,
         "entry: number 2: it has the serial number"},
        {"unrequested historical marker", entries({historical}), 3, "nextUpdate "},
        {"the same without nextUpdate", entries({endless}), 3, "thisUpdate "},
        {"within the tolerance", produced(120, 150), 0, ""},
        {"produced tomorrow", produced(kDay, -60), 3, "producedAt "},
        {"thisUpdate ahead", produced(170, 3000), 3, "thisUpdate "},
        {"thisUpdate after producedAt", produced(-600, -60), 3, "is later than producedAt"},
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
        {"delegate of another trusted CA",
         responseWith([](ResponseSpec& spec) { spec.signer = delegateOfOtherRoot(); }), 3, "0x800B0110"},
    };
    for (const unsigned char status : {1, 6}) {
        all.push_back({"failed", withStatus(status), 3, "response status: "});
    }
    return all;
}

// Received or stored, by certificate or by identifier: the same verdict.
TEST(ResponseRules, GiveTheStrictestVerdictThatAResponseAllows) {
    const Command tallow(kWithoutAccuracy);
    const std::string root = tallow.file("root.pem", certs().root.certificatePem() + otherRoot().certificatePem());
    const std::string issuer = tallow.file("issuer.pem", certs().root);
    const std::string file = tallow.file("leaf.pem", certs().good);
    const std::string request = tallow.folder().file("request.der");
    ASSERT_EQ(tallow.with({"request", "--no-nonce", "--issuer", issuer, "-o", request, file}).exitStatus, 0);
    for (const Row& row : rows()) {
        SCOPED_TRACE(row.name);
        const HttpServer server = serverOf(HttpReply{.body = row.response});
        const std::string response = tallow.file("response.der", row.response);
        for (const ProcessResult& run : {tallow.check({"--trust", root, "--no-nonce", "--url", server.url(), file}),
                                         tallow.with({"verify", "--trust", root, "--cert", file, response}),
                                         tallow.with({"verify", "--trust", root, "--request", request, response})}) {
            EXPECT_EQ(run.exitStatus, row.exitStatus) << run.out << run.err;
            EXPECT_THAT(run.err, HasSubstr(row.words));
        }
    }
}

// `check` never asks about an earlier state, but a request given to `verify` may.
TEST(ResponseRules, AcceptOldEntriesOnlyWhenHistoryWasRequested) {
    const Command tallow;
    const std::string root = tallow.file("root.pem", certs().root);
    const ExtensionSpec marker{kHistoricalRequestOid, true, tlv::sequence(std::vector<Bytes>())};
    const auto requestWith = [&](const Bytes& extensions) {
        return tlv::sequence({tlv::sequence({tlv::sequence({tlv::sequence({leaf({}).id.encode(), extensions})})})});
    };
    const std::string plain = tallow.file("plain.der", requestWith({}));
    const std::string asking =
        tallow.file("asking.der", requestWith(tlv::context(0, tlv::sequence({marker.encode()}))));
    ResponseSpec spec = goodResponse();
    spec.entries = {aged(leaf(EntryStatus::kGood), -400 * kDay, -399 * kDay)};
    const std::string unmarked = tallow.file("unmarked.der", buildResponse(spec));
    spec.entries[0].extensions = {{kHistoricalRequestOid, false, marker.value}};
    const std::string marked = tallow.file("marked.der", buildResponse(spec));
    const std::string file = tallow.file("leaf.pem", certs().good);
    for (const auto& [request, response, exitStatus] :
         {std::tuple(plain, marked, 3), std::tuple(asking, unmarked, 3), std::tuple(asking, marked, 0)}) {
        const Arguments verify{"verify", "--trust", root, "--request", request, response};
        EXPECT_EQ(tallow.with(verify).exitStatus, exitStatus) << request << response;
        EXPECT_EQ(tallow.with(joined(verify, {"--cert", file})).exitStatus, exitStatus) << request << response;
    }
}

}  // namespace
