// The trust decision: who may answer for whom. Each refusal here is a mistake that has been made by real clients.
#include <gtest/gtest.h>

#include <functional>

#include "tests/platform/trust_fixture.h"
#include "tests/support/tlv.h"

namespace testkit {
namespace {

int sayYes(PCCERT_CONTEXT) {
    return 1;
}
int sayNo(PCCERT_CONTEXT) {
    return 0;
}

struct Question {
    Identity responder;
    std::vector<CertIdSpec> entries;
    std::vector<Identity> extra = {};
    std::vector<Bytes> crls = {};
    long producedAtSeconds = 0;
    DWORD chainFlags = CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL;
    PFN_IS_OCSP_AUTHORIZED isNamed = sayNo;
};

struct Verdict {
    DWORD error = 0;
    DWORD mask = 0;
    bool noCheck = false;
    std::vector<int> authorized;
    LONG element = -2;
};

Verdict judge(const Question& question) {
    const ChainPtr chain = chainOf(
        {.end = question.responder, .extra = question.extra, .crls = question.crls, .flags = question.chainFlags});
    std::vector<OCSP_CERT_ID> entries;
    for (const CertIdSpec& id : question.entries) {
        const auto blob = [](const Bytes& bytes) {
            return CRYPT_HASH_BLOB{static_cast<DWORD>(bytes.size()), const_cast<BYTE*>(bytes.data())};
        };
        entries.push_back({{const_cast<char*>(id.hashOid.c_str()), {}},
                           blob(id.issuerNameHash),
                           blob(id.issuerKeyHash),
                           blob(id.serial)});
    }
    Verdict verdict;
    verdict.authorized.assign(entries.size(), 7);  // whatever the policy does not write shows
    FILETIME producedAt = fileTime(question.producedAtSeconds);
    OCSPChainPolicyPara extra{sizeof extra, &producedAt, static_cast<DWORD>(entries.size()), entries.data(),
                              question.isNamed};
    OCSPChainPolicyStatus result{};
    result.cbSize = sizeof result;
    result.rgAuthorized = verdict.authorized.data();
    CERT_CHAIN_POLICY_PARA parameters{sizeof parameters, 0, &extra};
    CERT_CHAIN_POLICY_STATUS status{sizeof status, 0, 0, 0, &result};
    EXPECT_TRUE(CertVerifyCertificateChainPolicy(CERT_CHAIN_POLICY_OCSP_RESPONDER, chain.get(), &parameters, &status));
    verdict.error = status.dwError;
    verdict.mask = result.dwError;
    verdict.noCheck = result.fNoCheck != 0;
    verdict.element = status.lElementIndex;
    return verdict;
}

CertificateSpec delegateSpec() {
    CertificateSpec spec;
    spec.commonName = "responder";
    spec.keyUsage = "critical,digitalSignature";
    spec.extendedKeyUsage = "OCSPSigning";
    return spec;
}

template <typename Change>
Identity delegateOf(const Identity& issuer, Change change) {
    CertificateSpec spec = delegateSpec();
    change(spec);
    return issue(issuer, spec);
}
Identity delegateOf(const Identity& issuer) {
    return issue(issuer, delegateSpec());
}

// A delegate whose signature claims one bit less than it has; the bit is 0, so that the octets stay what they are.
Identity withUnusedBit(const Identity& issuer) {
    Identity delegate = delegateOf(issuer);
    while ((delegate.certificate.back() & 1) != 0) {
        delegate = delegateOf(issuer);
    }
    Bytes& der = delegate.certificate;
    std::size_t at = der.size() - 1;
    while (der[at] != 0x03 || der[at + 1] != der.size() - at - 2 || der[at + 2] != 0) {
        --at;
    }
    der[at + 2] = 1;
    return delegate;
}

// Nothing between the certificate and a root has been asked about revocation: set on every chain without CRLs.
constexpr DWORD kOpen = OCSP_CHAIN_REVOCATION_UNKNOWN;

class ResponderPolicy : public ::testing::Test {
protected:
    const Pki& pki = Pki::shared();
    TrustWorld world{{pki.root}};
    const CertIdSpec asked = certIdOf(pki.good, pki.ca);
};

struct RefusalRow {
    const char* name;
    std::function<Question()> question;
    DWORD error;  // status.dwError
    DWORD mask;   // when that is 0; with kOpen alone the refusal is in rgAuthorized
};

TEST_F(ResponderPolicy, RefusesWhoeverMayNotAnswer) {
    const auto withUsage = [&](const char* usage) {
        return Question{
            delegateOf(pki.ca, [&](CertificateSpec& spec) { spec.extendedKeyUsage = usage; }), {asked}, {pki.ca}};
    };
    const auto issuedBy = [&](const Identity& issuer, std::vector<Identity> extra) {
        return Question{delegateOf(issuer), {asked}, std::move(extra)};
    };
    const auto changed = [&](const std::function<void(CertificateSpec&)>& change) {
        return Question{delegateOf(pki.ca, change), {asked}, {pki.ca}};
    };
    const Identity rootedNamesake = issueCa(pki.root, "ca");
    CertificateSpec sameKey;
    sameKey.commonName = "another name";
    sameKey.ca = true;
    sameKey.key = pki.ca.key;
    const Identity renamedCa = issue(pki.root, sameKey);
    const Identity madeUp = rootCa("made up");
    CertificateSpec lastSpec;
    lastSpec.commonName = "last of its line";
    lastSpec.ca = true;
    lastSpec.pathLength = 0;
    const Identity last = issue(pki.root, lastSpec);
    const Identity belowLast = issueCa(last, "one too many");
    CertificateSpec limitedSpec;
    limitedSpec.commonName = "limited";
    limitedSpec.ca = true;
    limitedSpec.criticalExtensions = {
        {"2.5.29.30", tlv::sequence({tlv::context(0, tlv::sequence({tlv::context(4, pki.sibling.subject())}))})}};
    const Identity limited = issue(pki.root, limitedSpec);
    CertificateSpec notSigningSpec;
    notSigningSpec.commonName = "not signing";
    notSigningSpec.ca = true;
    notSigningSpec.keyUsage = "critical,digitalSignature,cRLSign";
    const Identity notSigning = issue(pki.root, notSigningSpec);
    const auto delegateFor = [&](const Identity& issuer, std::vector<Identity> extra) {
        return Question{delegateOf(issuer), {certIdOf(pki.good, issuer)}, std::move(extra)};
    };

    const RefusalRow rows[] = {
        {"delegate without extended key usage", [&] { return withUsage(""); }, 0, OCSP_CHAIN_WRONG_USAGE},
        {"anyExtendedKeyUsage", [&] { return withUsage("2.5.29.37.0"); }, 0, OCSP_CHAIN_WRONG_USAGE},
        {"a usage below OCSPSigning", [&] { return withUsage("1.3.6.1.5.5.7.3.9.1"); }, 0, OCSP_CHAIN_WRONG_USAGE},
        {"a usage whose text begins alike", [&] { return withUsage("1.3.6.1.5.5.7.3.99"); }, 0, OCSP_CHAIN_WRONG_USAGE},
        {"other usages", [&] { return withUsage("serverAuth,clientAuth"); }, 0, OCSP_CHAIN_WRONG_USAGE},

        {"namesake of the issuer, self-made, in the response",
         [&] {
             return issuedBy(pki.sameNameCa, {pki.sameNameCa, pki.ca});
         },
         CERT_E_UNTRUSTEDROOT, 0},
        {"namesake of the issuer, not in the response", [&] { return issuedBy(pki.sameNameCa, {pki.ca}); }, 0,
         OCSP_CHAIN_NOT_SIGNATURE_VALID},
        {"namesake of the issuer under the trusted root",
         [&] {
             return issuedBy(rootedNamesake, {rootedNamesake, pki.ca});
         },
         0, 0},
        {"the issuer's key under another name",
         [&] {
             return issuedBy(renamedCa, {renamedCa, pki.ca});
         },
         0, 0},
        {"made-up issuer in the response",
         [&] {
             return issuedBy(madeUp, {madeUp, pki.ca});
         },
         CERT_E_UNTRUSTEDROOT, 0},
        {"self-made delegate",
         [&] {
             return Question{selfSigned(delegateSpec()), {asked}, {pki.ca}};
         },
         CERT_E_UNTRUSTEDROOT, 0},
        {"issuer not to be had", [&] { return issuedBy(pki.subCa, {}); }, CERT_E_CHAINING, 0},

        {"delegate of the grandparent", [&] { return issuedBy(pki.root, {pki.ca}); }, 0, 0},
        {"delegate of a sibling",
         [&] {
             return issuedBy(pki.sibling, {pki.sibling, pki.ca});
         },
         0, 0},
        {"delegate of a CA below",
         [&] {
             return issuedBy(pki.subCa, {pki.subCa, pki.ca});
         },
         0, 0},
        {"a CA below the issuer",
         [&] {
             return Question{pki.subCa, {asked}, {pki.ca}};
         },
         0, OCSP_CHAIN_WRONG_USAGE},
        {"path too long",
         [&] {
             return delegateFor(belowLast, {belowLast, last});
         },
         0, OCSP_CHAIN_INVALID},
        {"outside of the names that the issuer may give", [&] { return delegateFor(limited, {limited}); }, 0,
         OCSP_CHAIN_INVALID},
        {"issuer that may not sign certificates", [&] { return delegateFor(notSigning, {notSigning}); }, 0,
         OCSP_CHAIN_INVALID},
        {"signature that does not end at an octet",
         [&] {
             return Question{withUnusedBit(pki.ca), {asked}, {pki.ca}};
         },
         0, OCSP_CHAIN_NOT_SIGNATURE_VALID},
        {"sibling of the issuer",
         [&] {
             return Question{pki.sibling, {asked}, {pki.ca}};
         },
         0, OCSP_CHAIN_WRONG_USAGE},
        {"the root above the issuer",
         [&] {
             return Question{pki.root, {asked}, {pki.ca}};
         },
         0, OCSP_CHAIN_WRONG_USAGE},
        {"the asked certificate",
         [&] {
             return Question{pki.good, {asked}, {pki.ca}};
         },
         0, OCSP_CHAIN_WRONG_USAGE},
        {"another certificate of the issuer",
         [&] {
             return Question{pki.revoked, {asked}, {pki.ca}};
         },
         0, OCSP_CHAIN_WRONG_USAGE},
        {"delegate that an end certificate issued",
         [&] {
             return issuedBy(pki.good, {pki.good, pki.ca});
         },
         0, OCSP_CHAIN_INVALID},

        {"expired at producedAt", [&] { return changed([](CertificateSpec& spec) { spec.notAfterSeconds = -1; }); }, 0,
         OCSP_CHAIN_NOT_TIME_VALID},
        {"not yet valid at producedAt",
         [&] { return changed([](CertificateSpec& spec) { spec.notBeforeSeconds = 60; }); }, 0,
         OCSP_CHAIN_NOT_TIME_VALID},
        {"issuer not yet valid at producedAt",
         [&] {
             Question question = changed([](CertificateSpec& spec) { spec.notBeforeSeconds = -8000; });
             question.producedAtSeconds = -7200;
             return question;
         },
         0, OCSP_CHAIN_NOT_TIME_NESTED},
        {"key usage for encryption",
         [&] { return changed([](CertificateSpec& spec) { spec.keyUsage = "critical,keyEncipherment"; }); }, 0,
         OCSP_CHAIN_WRONG_KEY_USAGE},
        {"delegate whose key may sign certificates alone",
         [&] { return changed([](CertificateSpec& spec) { spec.keyUsage = "keyCertSign,cRLSign"; }); }, 0,
         OCSP_CHAIN_WRONG_KEY_USAGE},
        {"critical extension that nobody knows",
         [&] { return changed([](CertificateSpec& spec) {
                   spec.criticalExtensions = {{"1.2.3.4", {5, 0}}};
               }); }, 0,
         OCSP_CHAIN_INVALID},
        {"two extended key usages extensions",
         [&] {
             return changed([](CertificateSpec& spec) {
                 spec.extensions = {{"2.5.29.37", fromHex("300A06082B06010505070309")}};
             });
         },
         0, OCSP_CHAIN_WRONG_USAGE},
    };
    for (const RefusalRow& row : rows) {
        SCOPED_TRACE(row.name);
        const Verdict verdict = judge(row.question());
        EXPECT_EQ(verdict.error, row.error);
        if (row.error == 0) {
            EXPECT_EQ(verdict.mask & row.mask, row.mask);
            EXPECT_TRUE(row.mask != 0 || verdict.mask == kOpen) << verdict.mask;
        }
        EXPECT_EQ(verdict.authorized, std::vector<int>{0});
    }
}

TEST_F(ResponderPolicy, AcceptsTheIssuerItsDelegateAndWhomTheAdministratorNames) {
    struct Row {
        const char* name;
        std::function<Question()> question;
        std::vector<int> authorized = {1};
    };
    CertificateSpec caWithoutSignatures;
    caWithoutSignatures.commonName = "strict ca";
    caWithoutSignatures.ca = true;
    caWithoutSignatures.keyUsage = "critical,keyCertSign,cRLSign";
    const Identity strictCa = issue(pki.root, caWithoutSignatures);
    CertificateSpec forServers;
    forServers.commonName = "server ca";
    forServers.ca = true;
    forServers.extendedKeyUsage = "serverAuth";
    const Identity serverCa = issue(pki.root, forServers);
    CertificateSpec again;
    again.commonName = "ca";
    again.ca = true;
    again.key = pki.ca.key;
    const Identity renewed = issue(pki.root, again);
    const auto idWith = [&](const char* hash) { return certIdOf(pki.good, pki.ca, hash); };
    const Identity delegate = delegateOf(pki.ca);

    const Row rows[] = {
        {"the issuer",
         [&] {
             return Question{pki.ca, {asked}};
         }},
        {"the issuer, with a key for certificates and CRLs alone",
         [&] {
             return Question{strictCa, {certIdOf(pki.good, strictCa)}};
         }},
        {"the root for what it issued",
         [&] {
             return Question{pki.root, {certIdOf(pki.ca, pki.root)}};
         }},
        {"a delegate",
         [&] {
             return Question{delegate, {asked}, {pki.ca}};
         }},
        {"a delegate with further usages and nonRepudiation",
         [&] {
             return Question{delegateOf(pki.ca,
                                        [](CertificateSpec& spec) {
                                            spec.extendedKeyUsage = "critical,serverAuth,OCSPSigning";
                                            spec.keyUsage = "nonRepudiation";
                                        }),
                             {asked},
                             {pki.ca}};
         }},
        {"a delegate that is a CA as well",
         [&] {
             return Question{delegateOf(pki.ca,
                                        [](CertificateSpec& spec) {
                                            spec.ca = true;
                                            spec.keyUsage = "critical,digitalSignature,keyCertSign";
                                        }),
                             {asked},
                             {pki.ca}};
         }},
        // Whoever could answer himself gives away nothing that is not his.
        {"a delegate of a CA that is itself for servers alone",
         [&] {
             return Question{delegateOf(serverCa), {certIdOf(pki.good, serverCa)}, {serverCa}};
         }},
        {"a delegate, when the issuer has two certificates",
         [&] {
             return Question{delegate, {asked}, {renewed, pki.ca}};
         }},
        {"a delegate that has expired since",
         [&] {
             const Identity expired = delegateOf(pki.ca, [](CertificateSpec& spec) { spec.notAfterSeconds = -60; });
             return Question{.responder = expired, .entries = {asked}, .extra = {pki.ca}, .producedAtSeconds = -120};
         }},
        {"entries by other hashes",
         [&] {
             return Question{delegate, {idWith(kSha256Oid), idWith(kSha384Oid), idWith(kSha512Oid)}, {pki.ca}};
         },
         {1, 1, 1}},
        {"entries of several issuers",
         [&] {
             return Question{
                 delegate, {asked, certIdOf(pki.good, pki.sibling), asked, certIdOf(pki.ca, pki.root)}, {pki.ca}};
         },
         {1, 0, 1, 0}},
        {"a CA for what it issued, but not for what its own issuer issued",
         [&] {
             return Question{pki.ca, {asked, certIdOf(pki.sibling, pki.root)}};
         },
         {1, 0}},
        {"an issuer without the usage, for its own entry alone",
         [&] {
             return Question{pki.sibling, {certIdOf(pki.good, pki.sibling), asked}, {pki.ca}};
         },
         {1, 0}},
        {"named by the administrator, whoever issued it",
         [&] {
             return Question{.responder = pki.good,
                             .entries = {asked, certIdOf(pki.ca, pki.root)},
                             .extra = {pki.ca},
                             .isNamed = sayYes};
         },
         {1, 1}},
        {"no entries",
         [&] {
             return Question{delegate, {}, {pki.ca}};
         },
         {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const Verdict verdict = judge(row.question());
        EXPECT_EQ(verdict.error, 0U);
        EXPECT_EQ(verdict.mask & ~kOpen, 0U);
        EXPECT_EQ(verdict.authorized, row.authorized);
    }
}

TEST_F(ResponderPolicy, BelievesNoHashThatItCannotMakeOrThatIsNotWhole) {
    CertIdSpec unknownHash = asked;
    unknownHash.hashOid = "1.2.3.4";
    CertIdSpec otherHash = asked;
    otherHash.hashOid = kSha256Oid;
    CertIdSpec shortened = asked;
    shortened.issuerKeyHash.pop_back();
    CertIdSpec empty = asked;
    empty.issuerKeyHash.clear();
    empty.issuerNameHash.clear();
    CertIdSpec nameAlone = asked;
    nameAlone.issuerKeyHash.back() ^= 1;
    CertIdSpec keyAlone = asked;
    keyAlone.issuerNameHash.back() ^= 1;
    const Verdict verdict =
        judge({delegateOf(pki.ca), {unknownHash, otherHash, shortened, empty, nameAlone, keyAlone, asked}, {pki.ca}});
    EXPECT_EQ(verdict.authorized, (std::vector<int>{0, 0, 0, 0, 0, 0, 1}));
}

TEST_F(ResponderPolicy, FindsTheWayThroughExtraAndLoopingCertificatesInAnyOrder) {
    // ca signed by b, b signed by ca, a cross certificate of ca under a root that nobody trusts, and namesakes.
    const Identity stranger = rootCa("stranger");
    const auto crossOf = [](const Identity& subject, const char* name, const Identity& issuer) {
        CertificateSpec spec;
        spec.commonName = name;
        spec.ca = true;
        spec.key = subject.key;
        return issue(issuer, spec);
    };
    const Identity b = issueCa(pki.ca, "b");
    std::vector<Identity> extra = {
        stranger, crossOf(pki.ca, "ca", stranger), crossOf(pki.ca, "ca", b), b, pki.sameNameCa, pki.good, pki.ca};
    const Identity delegate = delegateOf(pki.ca, [](CertificateSpec& spec) { spec.keyIdentifiers = false; });
    for (std::size_t turn = 0; turn < extra.size(); ++turn) {
        SCOPED_TRACE(turn);
        std::rotate(extra.begin(), extra.begin() + 1, extra.end());
        for (const std::vector<Identity>& order : {extra, std::vector<Identity>(extra.rbegin(), extra.rend())}) {
            const Verdict verdict = judge({delegate, {asked}, order});
            EXPECT_EQ(verdict.error, 0U);
            EXPECT_EQ(verdict.mask, kOpen);
            EXPECT_EQ(verdict.authorized, std::vector<int>{1});
        }
    }
}

TEST_F(ResponderPolicy, FindsTheIssuerBehindHundredsOfNamesakes) {
    CertificateSpec namesake;
    namesake.commonName = "ca";
    namesake.ca = true;
    namesake.key = pki.sameNameCa.key;
    std::vector<Identity> extra;
    for (int i = 0; i < 500; ++i) {
        extra.push_back(issue(pki.sameNameCa, namesake));
    }
    extra.push_back(pki.ca);
    const Verdict verdict = judge({pki.delegate, {asked}, extra});
    EXPECT_EQ(verdict.error, 0U);
    EXPECT_EQ(verdict.authorized, std::vector<int>{1});
}

TEST_F(ResponderPolicy, TellsTheNoCheckMarkAndWhatCrlsSaid) {
    const Identity marked = delegateOf(pki.ca, [](CertificateSpec& spec) { spec.ocspNoCheck = true; });
    EXPECT_TRUE(judge({marked, {asked}, {pki.ca}}).noCheck);
    const Identity delegate = delegateOf(pki.ca);
    EXPECT_FALSE(judge({delegate, {asked}, {pki.ca}}).noCheck);

    const Bytes rootCrl = makeCrl(pki.root, {});
    Question question{delegate, {asked}, {pki.ca}, {rootCrl, makeCrl(pki.ca, {})}};
    question.chainFlags |= CERT_CHAIN_REVOCATION_CHECK_CHAIN;
    EXPECT_EQ(judge(question).mask, 0U);
    question.crls = {rootCrl, makeCrl(pki.ca, {.revokedSerials = {delegate.serial()}})};
    const Verdict revoked = judge(question);
    EXPECT_EQ(revoked.mask, OCSP_CHAIN_REVOKED);
    EXPECT_EQ(revoked.authorized, std::vector<int>{0});
}

TEST_F(ResponderPolicy, RefusesWeakSignaturesAndKeys) {
    const Key rsa = Key::make(KeyKind::kRsa2048);
    CertificateSpec caSpec;
    caSpec.commonName = "rsa ca";
    caSpec.ca = true;
    caSpec.key = rsa;
    const Identity rsaCa = issue(pki.root, caSpec);
    const CertIdSpec entry = certIdOf(pki.good, rsaCa);
    const auto question = [&](const char* hash, bool pss) {
        return Question{delegateOf(rsaCa,
                                   [&](CertificateSpec& spec) {
                                       spec.hash = hash;
                                       spec.pss = pss;
                                   }),
                        {entry},
                        {rsaCa}};
    };
    EXPECT_EQ(judge(question("SHA256", false)).mask, kOpen);
    EXPECT_EQ(judge(question("SHA256", true)).mask, kOpen);
    EXPECT_EQ(judge(question("MD5", false)).mask, kOpen | OCSP_CHAIN_NOT_SIGNATURE_VALID);
    EXPECT_EQ(judge(question("SHA1", false)).mask, kOpen | OCSP_CHAIN_NOT_SIGNATURE_VALID);
    EXPECT_EQ(judge(question("SHA1", true)).mask, kOpen | OCSP_CHAIN_NOT_SIGNATURE_VALID);
    CertificateSpec weakSpec = delegateSpec();
    weakSpec.key = Key::make(KeyKind::kRsa512);
    EXPECT_EQ(judge({issue(pki.ca, weakSpec), {asked}, {pki.ca}}).mask, kOpen | OCSP_CHAIN_NOT_SIGNATURE_VALID);

    const TrustWorld lenient({pki.root}, "accept_sha1 = true\n");
    EXPECT_EQ(judge(question("SHA1", false)).mask, kOpen);
    EXPECT_EQ(judge(question("MD5", false)).mask, kOpen | OCSP_CHAIN_NOT_SIGNATURE_VALID);
}

TEST_F(ResponderPolicy, TakesNoMalformedQuestion) {
    const ChainPtr chain = chainOf({.end = pki.delegate, .extra = {pki.ca}});
    OCSPChainPolicyPara noTime{sizeof noTime, nullptr, 0, nullptr, nullptr};
    OCSPChainPolicyStatus result{sizeof result, 0, {}, 0, nullptr};
    CERT_CHAIN_POLICY_PARA parameters{sizeof parameters, 0, &noTime};
    CERT_CHAIN_POLICY_STATUS status{sizeof status, 0, 0, 0, &result};
    const auto lastErrorFor = [&](const char* policy) {
        EXPECT_FALSE(CertVerifyCertificateChainPolicy(policy, chain.get(), &parameters, &status));
        return GetLastError();
    };
    EXPECT_EQ(lastErrorFor(CERT_CHAIN_POLICY_OCSP_RESPONDER), E_INVALIDARG);
    EXPECT_EQ(lastErrorFor("{00000000-0000-0000-0000-000000000000}"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(lastErrorFor(reinterpret_cast<const char*>(1)), ERROR_FILE_NOT_FOUND);
}

}  // namespace
}  // namespace testkit
