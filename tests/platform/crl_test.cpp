// What CRLs say about a certificate, rule by rule (RFC 5280, sections 5 and 6.3). Each row issues a certificate below
// pki.ca with its distribution points and checks it with its CRLs.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>

#include "platform/crypto/certificates/crl.h"
#include "tests/platform/trust_fixture.h"
#include "tests/support/tlv.h"

namespace testkit {
namespace {

constexpr DWORD kGood = 0;
constexpr DWORD kRevoked = CERT_TRUST_IS_REVOKED;
constexpr DWORD kUnknown = CERT_TRUST_REVOCATION_STATUS_UNKNOWN | CERT_TRUST_IS_OFFLINE_REVOCATION;

constexpr DWORD kChecked = CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL | CERT_CHAIN_REVOCATION_CHECK_CHAIN;

constexpr const char* kIssuingPoint = "2.5.29.28";
constexpr const char* kDeltaIndicator = "2.5.29.27";
constexpr const char* kCertificateIssuer = "2.5.29.29";
constexpr int kHold = 6;
constexpr int kRemove = 8;

const Bytes kSerial = {0x2A};

// ---- Names, distribution points, scopes -----------------------------------------------------------------------------

Bytes uri(const char* text) {
    return tlv::contextPrimitive(6, bytesOf(text));
}
Bytes directoryName(const Identity& identity) {
    return tlv::context(4, identity.subject());
}
Bytes fullName(const Bytes& names) {
    return tlv::context(0, tlv::context(0, names));
}
// The name of `identity`, which has one part, relative to an issuer.
Bytes relativeName(const char* commonName) {
    const Bytes attribute = tlv::sequence({tlv::oid("2.5.4.3"), tlv::utf8String(commonName)});
    return tlv::context(0, tlv::context(1, attribute));
}
Bytes reasonFlags(unsigned tag, Bytes flags) {
    flags.insert(flags.begin(), 0);  // no unused bits
    return tlv::contextPrimitive(tag, flags);
}
Bytes reasons(Bytes flags) {
    return reasonFlags(1, std::move(flags));
}
Bytes crlIssuer(const Identity& identity) {
    return tlv::context(2, directoryName(identity));
}
Bytes points(std::initializer_list<Bytes> list) {
    return tlv::sequence(list);
}
const Bytes kForUsers = tlv::contextPrimitive(1, {0xFF});
const Bytes kForCas = tlv::contextPrimitive(2, {0xFF});
const Bytes kIndirect = tlv::contextPrimitive(4, {0xFF});
const Bytes kUri = fullName(uri("http://a/"));
const Bytes kOtherUri = fullName(uri("http://b/"));
const Bytes kAtUri = points({points({kUri})});

CrlSpec scoped(const Bytes& scope, CrlSpec spec = {}) {
    spec.criticalExtensions.emplace_back(kIssuingPoint, scope);
    return spec;
}
CrlSpec delta(std::int64_t base, Bytes number, CrlSpec spec) {
    spec.criticalExtensions.emplace_back(kDeltaIndicator, tlv::integer(base));
    spec.number = std::move(number);
    return spec;
}
CrlEntrySpec ofIssuer(const Identity& issuer, Bytes serial = kSerial) {
    return {std::move(serial), std::nullopt, {{kCertificateIssuer, tlv::sequence({directoryName(issuer)})}}};
}

struct Row {
    const char* name;
    std::vector<Bytes> crls;
    DWORD expected;
    Bytes distributionPoints = {};
    std::vector<Identity> extra = {};  // further local certificates
    DWORD ofCa = kGood;                // expected for the CA
};

class Crl : public ::testing::Test {
protected:
    Identity leaf(const Bytes& distributionPoints = {}) const {
        const ExtensionList points = {{"2.5.29.31", distributionPoints}};
        return issue(pki.ca, {.serial = kSerial, .extensions = distributionPoints.empty() ? ExtensionList() : points});
    }
    Identity crlSigner(const Identity& issuer, const char* name, const char* keyUsage = "critical,cRLSign") const {
        return issue(issuer, {.commonName = name, .keyUsage = keyUsage});
    }
    void expectAll(const std::vector<Row>& rows) const {
        for (const Row& row : rows) {
            SCOPED_TRACE(row.name);
            ChainRequest request{leaf(row.distributionPoints), row.extra, row.crls, kChecked};
            request.extra.push_back(pki.ca);
            request.crls.push_back(rootCrl);
            const ChainPtr chain = chainOf(request);
            EXPECT_EQ(errorAt(chain, 0), row.expected);
            EXPECT_EQ(errorAt(chain, 1), row.ofCa);
        }
    }
    Bytes crl(CrlSpec spec) const { return makeCrl(pki.ca, spec); }
    Bytes listing(CrlSpec spec = {}) const {
        spec.revokedSerials = {kSerial};
        return makeCrl(pki.ca, spec);
    }

    const Pki& pki = Pki::shared();
    TrustWorld world{{pki.root}};
    const Bytes rootCrl = makeCrl(pki.root, {});
};

TEST_F(Crl, ProvesNothingWhenMalformed) {
    const Bytes null = tlv::null();
    const std::pair<const char*, CrlSpec> rows[] = {
        {"version 1 with extensions", {.version = std::nullopt}},
        {"version 1 with an entry extension",
         {.number = std::nullopt, .entries = {{{0x07}, 1}}, .version = std::nullopt}},
        {"version 3", {.version = 2}},
        {"differing signature algorithms", {.innerAlgorithm = tlv::sequence({tlv::oid("1.2.840.10045.4.3.3")})}},
        {"extension twice", {.extensions = {{"2.5.29.20", tlv::integer(1)}}}},
        {"unknown critical extension", {.criticalExtensions = {{"1.2.3.4", null}}}},
        {"unknown critical extension of an entry", {.entries = {{{0x07}, 1, {{"1.2.3.4", null}}}}}},
        {"malformed reason of an entry", {.entries = {{{0x07}, std::nullopt, {{"2.5.29.21", null}}}}}},
        {"malformed number", {.extensions = {{"2.5.29.20", null}}, .number = std::nullopt}},
        {"negative number", {.number = Bytes{0x80}}},
        {"malformed authorityKeyIdentifier", {.extensions = {{"2.5.29.35", null}}}},
        {"malformed freshestCRL", {.extensions = {{"2.5.29.46", null}}}},
        {"empty scope", scoped(tlv::sequence({}))},
        {"scope with octets after it", scoped(concat({tlv::sequence({kIndirect}), null}))},
        {"scope of two kinds", scoped(tlv::sequence({kForUsers, kForCas}))},
        {"other issuers in a direct CRL", {.entries = {ofIssuer(pki.sibling)}}},
        {"other issuer without a directory name",
         scoped(tlv::sequence({kIndirect}),
                {.entries = {{{0x07}, std::nullopt, {{kCertificateIssuer, tlv::sequence({uri("http://a/")})}}}}})},
    };
    const Bytes earlier = crl({.lastUpdateSeconds = -7200});
    const Bytes later = crl({.lastUpdateSeconds = -60});
    for (const auto& [name, spec] : rows) {
        expectAll({{name, {crl(spec)}, kUnknown},
                   {name, {listing(spec)}, kUnknown},
                   {name, {earlier, crl(spec)}, kUnknown},
                   {name, {later, crl(spec)}, kGood}});
    }
    const auto withConstructedFlag = [](Bytes tbs) {
        const Bytes critical = fromHex("551D1C01");
        std::search(tbs.begin(), tbs.end(), critical.begin(), critical.end())[3] = 0x21;
        return tbs;
    };
    const Bytes forUsers = crl(scoped(tlv::sequence({kForUsers})));
    expectAll({{"critical extension", {forUsers}, kGood},
               {"constructed BOOLEAN", {signedAgain(forUsers, pki.ca, withConstructedFlag)}, kUnknown},
               {"empty list", {crl({.emptyList = true})}, kUnknown},
               {"weakly signed", {crl({.hash = "SHA1"})}, kUnknown},
               {"without nextUpdate", {crl({.nextUpdateSeconds = std::nullopt})}, kUnknown},
               {"from the future", {crl({.lastUpdateSeconds = 600})}, kUnknown},
               {"removed in a complete CRL", {listing({.reason = kRemove})}, kUnknown},
               {"version 1", {crl({.number = std::nullopt, .version = std::nullopt})}, kGood},
               {"version 1, listed", {listing({.number = std::nullopt, .version = std::nullopt})}, kRevoked},
               {"unknown extension that is not critical", {listing({.extensions = {{"1.2.3.4", null}}})}, kRevoked},
               {"known entry extensions",
                {listing({.entries = {{{0x07}, 1, {{"2.5.29.23", tlv::oid("1.2.3")}}}}})},
                kRevoked}});
}

TEST_F(Crl, CoversOnlyItsScope) {
    const Bytes rest = {0x1F, 0x80};  // affiliationChanged to aACompromise
    const auto some = [](Bytes flags, Bytes name = {}) {
        return tlv::sequence({name, reasonFlags(3, std::move(flags))});
    };
    const Bytes compromise = crl(scoped(some({0x60})));
    const Bytes relativeToCa = tlv::set({tlv::sequence({tlv::oid("2.5.4.3"), tlv::utf8String("x")})});
    Bytes caAndX = pki.ca.subject();
    caAndX = tlv::sequence({Bytes(caAndX.begin() + 2, caAndX.end()), relativeToCa});
    const Bytes named = crl(scoped(tlv::sequence({fullName(tlv::context(4, caAndX))})));
    const Bytes relative = crl(scoped(tlv::sequence({relativeName("x")})));
    const Bytes atUri = crl(scoped(points({kUri})));
    const Bytes listedAtUri = listing(scoped(points({kUri})));
    const Bytes somePoint = points({kUri, reasons({0x60})});
    const Bytes elsewhere = crl(scoped(points({kOtherUri})));
    expectAll({
        {"its point", {atUri}, kGood, kAtUri},
        {"its point, listed", {listedAtUri}, kRevoked, kAtUri},
        {"the second of two points", {listedAtUri}, kRevoked, points({points({kOtherUri}), points({kUri})})},
        {"another point", {listing(scoped(points({kOtherUri})))}, kUnknown, kAtUri},
        {"a point of the issuer's name", {listing(scoped(points({fullName(directoryName(pki.ca))})))}, kRevoked},
        {"relative in both", {relative}, kGood, points({points({relativeName("x")})})},
        {"relative in the CRL", {relative}, kGood, points({points({fullName(tlv::context(4, caAndX))})})},
        {"relative in the certificate", {named}, kGood, points({points({relativeName("x")})})},
        {"relative, another", {relative}, kUnknown, points({points({relativeName("y")})})},
        {"points that cannot be read", {crl({})}, kUnknown | CERT_TRUST_INVALID_EXTENSION, tlv::null()},
        {"for CA certificates", {crl(scoped(tlv::sequence({kForCas})))}, kUnknown},
        {"for user certificates", {crl(scoped(tlv::sequence({kForUsers})))}, kGood},
        {"for attribute certificates", {crl(scoped(tlv::sequence({tlv::contextPrimitive(5, {0xFF})})))}, kUnknown},
        {"some reasons", {compromise}, kUnknown},
        {"all reasons in two parts", {compromise, crl(scoped(some(rest)))}, kGood},
        {"listed in the second part", {compromise, listing(scoped(some(rest)))}, kRevoked},
        {"one reason is missing", {compromise, crl(scoped(some({0x1F, 0x00})))}, kUnknown},
        {"reasons of the points", {atUri, elsewhere}, kGood, points({somePoint, points({kOtherUri, reasons(rest)})})},
        {"reasons of one point", {atUri}, kUnknown, points({somePoint})},
    });
}

TEST_F(Crl, OfAnotherIssuerCountsOnlyWhenTheCertificateNamesIt) {
    const Identity agent = crlSigner(pki.root, "agent");
    const Bytes named = points({points({crlIssuer(agent)})});
    const Bytes indirect = tlv::sequence({kIndirect});
    const auto by = [](const Identity& signer, const CrlSpec& spec) { return makeCrl(signer, spec); };
    const CrlSpec lists = scoped(indirect, {.entries = {ofIssuer(pki.ca)}});
    const Identity stranger = crlSigner(pki.sameNameCa, "agent");
    const Identity noSigner = crlSigner(pki.root, "agent", "critical,digitalSignature");
    const Identity revokedAgent = crlSigner(pki.root, "agent");
    const CrlSpec revokesAgent = {.revokedSerials = {revokedAgent.serial()}, .lastUpdateSeconds = -60};
    const auto coveredBy = [&](const char* name, const Identity& other) {
        return caUnder(pki.ca,
                       {.commonName = name, .extensions = {{"2.5.29.31", points({points({crlIssuer(other)})})}}});
    };
    const Identity first = coveredBy("first", crlSigner(pki.root, "second"));
    const Identity second = coveredBy("second", first);
    const Bytes atAgent = points({points({kUri, crlIssuer(agent)})});
    const auto agents = [&](const char* name, const CrlSpec& spec, DWORD expected, const Bytes& at) {
        expectAll({{name, {makeCrl(agent, spec)}, expected, at, {agent}}});
    };
    agents("not listed", scoped(indirect), kGood, named);
    agents("listed", lists, kRevoked, named);
    agents("listed below the entry with the issuer",
           scoped(indirect, {.entries = {ofIssuer(pki.ca, {0x07}), {kSerial}}}), kRevoked, named);
    agents("same number of the CRL's own issuer", scoped(indirect, {.revokedSerials = {kSerial}}), kGood, named);
    agents("same number of a third issuer", scoped(indirect, {.entries = {ofIssuer(pki.sibling)}}), kGood, named);
    agents("not indirect", {}, kUnknown, named);
    agents("not named", lists, kUnknown, kAtUri);
    agents("point and issuer", scoped(tlv::sequence({kUri, kIndirect})), kGood, atAgent);
    agents("another point of the issuer", scoped(tlv::sequence({kOtherUri, kIndirect})), kUnknown, atAgent);
    agents("point of the issuer's name", scoped(tlv::sequence({fullName(directoryName(agent)), kIndirect})), kGood,
           named);
    const std::vector<Bytes> mutual = {by(first, scoped(indirect)), by(second, scoped(indirect))};
    const std::vector<Bytes> revoking = {by(revokedAgent, scoped(indirect)), by(pki.root, revokesAgent)};
    expectAll({
        {"signer not at hand", {by(agent, lists)}, kUnknown, named},
        {"signer under another root", {by(stranger, scoped(indirect))}, kUnknown, named, {stranger, pki.sameNameCa}},
        {"signer that may not sign CRLs", {by(noSigner, scoped(indirect))}, kUnknown, named, {noSigner}},
        {"signers that vouch for each other", mutual, kUnknown, points({points({crlIssuer(first)})}), {first, second}},
        {"signer that is revoked", revoking, kUnknown, named, {revokedAgent}},
    });
}

TEST_F(Crl, MayBeSignedWithAnotherKeyOfTheCa) {
    const Identity second = crlSigner(pki.root, "ca");
    const Identity bySibling = crlSigner(pki.sibling, "ca");
    const Identity selfIssued = crlSigner(pki.ca, "ca");
    const Identity caBelow = issueCa(pki.ca, "ca");
    const Identity belowThat = crlSigner(caBelow, "ca");
    const Identity namesake = issueCa(pki.sibling, "ca");
    const Identity ofNamesake = crlSigner(namesake, "ca");
    const Identity newKey = issueCa(pki.root, "ca");
    const Identity ofNewKey = crlSigner(newKey, "ca");
    const std::vector<Bytes> byNamesake = {makeCrl(ofNamesake, {}), makeCrl(namesake, {}), makeCrl(pki.sibling, {})};
    const std::vector<Bytes> byNewKey = {makeCrl(ofNewKey, {.revokedSerials = {kSerial}}), makeCrl(newKey, {})};
    const Bytes own = makeCrl(selfIssued, {});
    const Bytes revokesSigner = makeCrl(selfIssued, {.revokedSerials = {selfIssued.serial()}});
    const std::vector<Bytes> strangers = {makeCrl(bySibling, {}), makeCrl(pki.sibling, {})};
    const std::vector<Bytes> revoked = {
        makeCrl(second, {}), makeCrl(pki.root, {.revokedSerials = {second.serial()}, .lastUpdateSeconds = -60})};
    const std::vector<Bytes> revokedByCa = {
        makeCrl(selfIssued, {.revokedSerials = {kSerial}}),
        crl({.revokedSerials = {selfIssued.serial()}, .lastUpdateSeconds = -7200, .reason = 1})};
    expectAll({
        {"certified by the CA's issuer", {makeCrl(second, {})}, kGood, {}, {second}},
        {"the same, listed", {makeCrl(second, {.revokedSerials = {kSerial}})}, kRevoked, {}, {second}},
        {"certified by a stranger below the root", strangers, kUnknown, {}, {bySibling, pki.sibling}},
        {"certified by a namesake", byNamesake, kUnknown, {}, {namesake, ofNamesake, pki.sibling}},
        {"certified by another key of the CA, listed", byNewKey, kRevoked, {}, {newKey, ofNewKey}},
        {"revoked signer", revoked, kUnknown, {}, {second}},
        {"certified by the CA, covered by its own CRL alone", {own}, kGood, {}, {selfIssued}},
        {"the same, listed in it", {revokesSigner}, kUnknown, {}, {selfIssued}},
        {"the same, listed in one by the CA's key", revokedByCa, kGood, {}, {selfIssued}},
        {"own CRL for the CA above the signer", {makeCrl(belowThat, {})}, kUnknown, {}, {caBelow, belowThat}},
        {"each key lists its own", {makeCrl(second, {.lastUpdateSeconds = -60}), listing()}, kRevoked, {}, {second}},
    });
    // Only the key of the CA matters, not which of its certificates is on the path: here a renewed one.
    const Identity renewed = caUnder(pki.root, {.commonName = "ca",
                                                .key = pki.ca.key,
                                                .extensions = {{"2.5.29.14", tlv::octetString({1, 2, 3})}},
                                                .keyIdentifiers = false});
    const Bytes keyIdentifier = tlv::sequence({tlv::contextPrimitive(0, {1, 2, 3})});
    expectAll({{"key identifier of a renewed certificate",
                {crl({.lastUpdateSeconds = -7200}), listing({.extensions = {{"2.5.29.35", keyIdentifier}}})},
                kRevoked,
                {},
                {renewed}}});
}

TEST_F(Crl, SkippedByALimitIsNotReplacedByAnOlderOne) {
    const Identity second = crlSigner(pki.root, "ca");
    std::vector<Identity> crowd(17, crlSigner(pki.root, "ca"));
    for (Identity& namesake : crowd) {
        namesake = crlSigner(pki.root, "ca");
    }
    crowd.push_back(second);
    const Bytes earlier = crl({.lastUpdateSeconds = -7200});
    const std::vector<Bytes> crls = {earlier, makeCrl(second, {.revokedSerials = {kSerial}})};
    expectAll({{"signer behind too many carried namesakes", crls, kUnknown, {}, crowd, kUnknown}});
    world.add("CA/second.pem", second);
    expectAll({{"signer in a store", crls, kRevoked, {}, crowd}});
    // The signature of the earlier one was verified before, so it costs no check.
    world.put("CA/earlier.crl", earlier);
    expectAll({{"earlier one alone", {}, kGood}});
    std::vector<Bytes> junk = {listing()};
    for (long i = 1; i <= 40; ++i) {
        junk.push_back(makeCrl(pki.sameNameCa, {.lastUpdateSeconds = -i}));
    }
    // With two keys, each of which is tried twice.
    expectAll({{"after forty that do not verify", junk, kUnknown, {}, {}, kUnknown}});
    junk.resize(15);
    expectAll({{"after fifteen", junk, kRevoked}});
}

TEST_F(Crl, OfANewKeyCoversCertificatesOfTheOldKey) {
    const Identity newCa = caWithKey(pki.root, "ca", Key::make());
    const Identity oldWithNew = caWithKey(newCa, "ca", pki.ca.key);
    for (const DWORD expected : {kGood, kRevoked}) {
        const CrlSpec spec = expected == kGood ? CrlSpec() : CrlSpec{.revokedSerials = {kSerial}};
        const ChainPtr chain = chainOf({leaf(), {newCa, oldWithNew}, {rootCrl, makeCrl(newCa, spec)}, kChecked});
        EXPECT_EQ(errorsOf(chain), (std::vector<DWORD>{expected, 0, 0, 0}));
        EXPECT_EQ(errorOf(chain), expected);
    }
}

TEST_F(Crl, FindsEntriesInAnyOrder) {
    std::vector<Bytes> serials;
    for (unsigned i = 0; i < 400; ++i) {  // numbers of 2, 8, 10 and 300 octets, some of which differ only at their ends
        Bytes serial(std::array{0, 6, 8, 298}[i % 4], 0x11);
        serial.insert(serial.end(), {static_cast<std::uint8_t>(1 + i / 100), static_cast<std::uint8_t>(i)});
        serials.push_back(std::move(serial));
    }
    std::shuffle(serials.begin(), serials.end(), std::mt19937(1));
    CrlSpec spec = scoped(tlv::sequence({kIndirect}));
    for (std::size_t i = 0; i + 100 < serials.size(); ++i) {
        spec.entries.push_back({serials[i], 1 + static_cast<int>(i % 5)});
        if (i % 10 == 5) {
            spec.entries.back() = ofIssuer(i % 20 == 5 ? pki.sibling : pki.ca, serials[i]);
        }
    }
    const auto crl = tallow::platform::Crl::parse(makeCrl(pki.ca, spec));
    ASSERT_NE(crl, nullptr);
    const auto sibling = tallow::platform::Certificate::create(pki.sibling.certificate);
    for (std::size_t i = 0; i < serials.size(); ++i) {
        const bool isSiblings = i % 20 >= 5 && i % 20 < 15;  // from the entry that names it to the one that ends it
        const X509_NAME* const issuers[] = {crl->issuer.get(), X509_get_subject_name(sibling->x509())};
        const std::optional<int> reason = i % 10 == 5 ? 0 : 1 + static_cast<int>(i % 5);
        const bool isListed = i + 100 < serials.size();
        for (const bool asSiblings : {false, true}) {
            EXPECT_EQ(crl->reasonFor(issuers[asSiblings ? 1 : 0], serials[i], tallow::platform::kMalformedTime),
                      isListed && asSiblings == isSiblings ? reason : std::nullopt)
                << i << asSiblings;
        }
    }
}

TEST_F(Crl, IsUpdatedByDeltaCrls) {
    const Bytes wide(40, 0x11);
    Bytes wider = wide;
    wider.back() = 0x12;
    const auto complete = [&](Bytes number, CrlSpec spec = {}) {
        spec.number = std::move(number);
        return crl(spec);
    };
    const CrlSpec lists = {.revokedSerials = {kSerial}};
    const CrlSpec holds = {.revokedSerials = {kSerial}, .reason = kHold};
    const CrlSpec compromised = {.revokedSerials = {kSerial}, .reason = 1};
    const CrlSpec removes = {.revokedSerials = {kSerial}, .reason = kRemove};
    const CrlSpec earlier = {.lastUpdateSeconds = -7200};
    const CrlSpec earlierLists = {.revokedSerials = {kSerial}, .lastUpdateSeconds = -7200};
    const CrlSpec twice = {.entries = {{kSerial, kHold}, {kSerial, 1}}};
    CrlSpec expired = lists;
    expired.nextUpdateSeconds = -60;
    expectAll({
        {"no complete one", {crl(delta(1, {2}, {}))}, kUnknown},
        {"no complete one, listed", {crl(delta(1, {2}, lists))}, kUnknown},
        {"nothing new", {complete({5}), crl(delta(5, {6}, {}))}, kGood},
        {"listed since", {complete({5}), crl(delta(4, {6}, lists))}, kRevoked},
        {"listed before", {complete({5}, lists), crl(delta(5, {6}, {}))}, kRevoked},
        {"hold lifted", {complete({5}, holds), crl(delta(5, {6}, removes))}, kGood},
        {"hold confirmed", {complete({5}, holds), crl(delta(5, {6}, compromised))}, kRevoked},
        {"removed without a hold", {complete({5}, compromised), crl(delta(5, {6}, removes))}, kRevoked},
        {"hold lifted, and compromised", {complete({5}, twice), crl(delta(5, {6}, removes))}, kRevoked},
        {"removed, never listed", {complete({5}), crl(delta(5, {6}, removes))}, kGood},
        {"older than the complete one", {complete({7}), crl(delta(4, {6}, lists))}, kGood},
        {"newest of two", {complete({5}), crl(delta(5, {6}, holds)), crl(delta(5, {7}, removes))}, kGood},
        {"for a newer complete one, not listed", {complete({5}), crl(delta(6, {7}, {}))}, kGood},
        {"for a newer complete one, listed", {complete({5}), crl(delta(6, {7}, lists))}, kUnknown},
        {"complete one without a number", {crl({.number = std::nullopt}), crl(delta(5, {6}, lists))}, kUnknown},
        {"newer than the complete one, same number", {complete({6}, earlier), crl(delta(5, {6}, lists))}, kUnknown},
        {"lower number, but newer",
         {complete({5}), crl(delta(5, {9}, earlierLists)), crl(delta(5, {6}, {}))},
         kUnknown},
        {"of another scope", {complete({5}), crl(scoped(tlv::sequence({kIndirect}), delta(5, {6}, lists)))}, kGood},
        {"not current", {complete({5}), crl(delta(5, {6}, expired))}, kUnknown},
        {"of another key", {complete({5}), makeCrl(pki.sameNameCa, delta(5, {6}, lists))}, kGood},
        {"wide numbers", {complete(wide), crl(delta(5, wider, lists))}, kRevoked},
        {"wide numbers, older", {complete(wider), crl(delta(5, wide, lists))}, kGood},
    });
}

TEST_F(Crl, IsReplacedByTheNewest) {
    std::vector<Bytes> weekly;
    std::vector<Bytes> expired;
    for (long week = 1; week <= 12; ++week) {
        weekly.push_back(crl({.lastUpdateSeconds = -week * 7 * 24 * 3600, .number = std::nullopt}));
        expired.push_back(crl({.lastUpdateSeconds = -week * 7 * 24 * 3600, .nextUpdateSeconds = -60}));
    }
    weekly.push_back(listing());
    expired.push_back(crl({}));
    const Bytes earlierListing = listing({.lastUpdateSeconds = -7200, .number = Bytes{2}});
    const Bytes held = listing({.lastUpdateSeconds = -7200, .reason = kHold});
    const Bytes odd = crl({.lastUpdateSeconds = -60, .criticalExtensions = {{"1.2.3.4", tlv::null()}}});
    expectAll({{"twelve older ones before it", weekly, kRevoked},
               {"twelve expired ones before it", expired, kGood},
               {"newest one expired", {crl({.lastUpdateSeconds = -7200}), crl({.nextUpdateSeconds = -60})}, kUnknown},
               {"hold that the newest no longer has", {held, crl({})}, kGood},
               {"same time, higher number", {crl({.number = Bytes{1}}), listing({.number = Bytes{2}})}, kRevoked},
               {"newer, lower number", {earlierListing, crl({.number = Bytes{1}})}, kRevoked},
               {"two of the same time and number, listed in the second", {crl({}), listing()}, kRevoked},
               {"newest one with an unknown critical extension", {odd, held}, kRevoked}});
    const TrustWorld bounded({pki.root}, "max_crl_age = 1000\n");
    expectAll(
        {{"older than the setting allows", {crl({}), makeCrl(pki.root, {.lastUpdateSeconds = -60})}, kUnknown},
         {"young enough", {crl({.lastUpdateSeconds = -900}), makeCrl(pki.root, {.lastUpdateSeconds = -60})}, kGood}});
}

}  // namespace
}  // namespace testkit
