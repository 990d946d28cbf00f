// The rules of RFC 5280 section 6.1, on paths made for them: what each certificate may say, policies, names,
// self-issued certificates, and the choice among several paths.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "tests/platform/trust_fixture.h"
#include "tests/support/tlv.h"

namespace testkit {
namespace {

using Change = std::function<void(CertificateSpec&)>;

constexpr const char* kAny = "2.5.29.32.0";
constexpr const char* kSelfIssued = "(name of the issuer)";
constexpr DWORD kPolicyFault = CERT_TRUST_INVALID_POLICY_CONSTRAINTS;
constexpr DWORD kNotRequired = CERT_TRUST_NO_ISSUANCE_CHAIN_POLICY;

Change all(std::vector<Change> changes) {
    return [changes = std::move(changes)](CertificateSpec& spec) {
        for (const Change& change : changes) {
            change(spec);
        }
    };
}

Change with(const char* oid, const Bytes& value) {
    return [=](CertificateSpec& spec) { spec.extensions.emplace_back(oid, value); };
}

Change policies(const std::vector<std::string>& oids) {
    std::vector<Bytes> list;
    std::transform(oids.begin(), oids.end(), std::back_inserter(list),
                   [](const std::string& oid) { return tlv::sequence({tlv::oid(oid)}); });
    return with("2.5.29.32", tlv::sequence(list));
}

Change maps(const std::vector<std::pair<std::string, std::string>>& pairs) {
    std::vector<Bytes> list;
    std::transform(pairs.begin(), pairs.end(), std::back_inserter(list), [](const auto& pair) {
        return tlv::sequence({tlv::oid(pair.first), tlv::oid(pair.second)});
    });
    return with("2.5.29.33", tlv::sequence(list));
}

Change constrains(unsigned which, std::uint8_t certificates) {
    return with("2.5.29.36", tlv::sequence({tlv::contextPrimitive(which, {certificates})}));
}
Change needsPolicy(std::uint8_t certificates) {
    return constrains(0, certificates);
}
Change forbidsMapping(std::uint8_t certificates) {
    return constrains(1, certificates);
}
Change forbidsAny(std::uint8_t certificates) {
    return with("2.5.29.54", tlv::integer(certificates));
}

void isSelfIssued(CertificateSpec& spec) {
    spec.commonName = kSelfIssued;
}
void nothing(CertificateSpec& /*spec*/) {}

Change pathLength(int length) {
    return [=](CertificateSpec& spec) { spec.pathLength = length; };
}

class PathValidation : public ::testing::Test {
protected:
    // CAs under the root and an end certificate under the last, each as its change wants it; the end certificate first.
    std::vector<Identity> pathOf(const std::vector<Change>& changes) const {
        std::vector<Identity> path{pki.root};
        std::string issuerName = "root";
        for (std::size_t i = 0; i < changes.size(); ++i) {
            CertificateSpec spec;
            spec.ca = i + 1 < changes.size();
            spec.commonName = "element " + std::to_string(i);
            changes[i](spec);
            spec.commonName = spec.commonName == kSelfIssued ? issuerName : spec.commonName;
            issuerName = spec.commonName;
            path.push_back(issue(path.back(), spec));
        }
        path.erase(path.begin());
        std::reverse(path.begin(), path.end());
        return path;
    }

    static DWORD errorOfPath(const std::vector<Identity>& path) {
        return errorOf(chainOf({.end = path[0], .extra = {path.begin() + 1, path.end()}}));
    }

    const Pki& pki = Pki::shared();
    TrustWorld world{{pki.root}};
};

TEST_F(PathValidation, FollowsPoliciesToTheEnd) {
    struct Row {
        const char* name;
        const char* required;  // the setting; null for none
        std::vector<Change> path;
        DWORD error = 0;
    };
    const std::string p1 = "1.2.3.1";
    const std::string p2 = "1.2.3.2";
    const Change one = policies({p1});
    const Change two = policies({p2});
    const Change any = policies({kAny});
    // Each policy continues in each: a tree would have 20 to the power of 8 leaves.
    std::vector<std::string> crowd;
    std::vector<std::pair<std::string, std::string>> mesh;
    for (int i = 0; i < 20; ++i) {
        crowd.push_back("1.2.3." + std::to_string(i + 1));
    }
    for (const std::string& from : crowd) {
        for (const std::string& to : crowd) {
            mesh.emplace_back(from, to);
        }
    }
    std::vector<Change> crowded(9, all({policies(crowd), maps(mesh)}));
    crowded.push_back(policies({"1.2.3.20"}));

    const Row rows[] = {
        {"none anywhere", nullptr, {nothing, nothing}},
        {"required", R"(["1.2.3.1"])", {one, one}},
        {"one of those required", R"(["1.2.9", "1.2.3.1"])", {one, one}},
        {"other than required", R"(["1.2.3.1"])", {two, two}, kNotRequired},
        {"none, required", R"(["1.2.3.1"])", {nothing, nothing}, kNotRequired},
        {"not in the CA", R"(["1.2.3.1"])", {two, one}, kNotRequired},
        {"not in the end certificate", R"(["1.2.3.1"])", {one, two}, kNotRequired},
        {"any that leads to the end", R"(["2.5.29.32.0"])", {two, two}},
        {"any, none leads to the end", R"(["2.5.29.32.0"])", {two, one}, kNotRequired},
        {"setting without a policy", "[]", {nothing, nothing}},
        {"setting that is no identifier", R"(["1.2.3.1", "1.2.x"])", {one, one}, kNotRequired},
        {"setting with an empty text", R"([""])", {one, one}, kNotRequired},

        {"the CA needs one", nullptr, {needsPolicy(0), nothing}, kPolicyFault},
        {"the CA needs one, and there is", nullptr, {all({one, needsPolicy(0)}), one}},
        {"the CA needs one, and it breaks off", nullptr, {all({one, needsPolicy(0)}), two}, kPolicyFault},
        {"needed after two more", nullptr, {needsPolicy(2), nothing, nothing}, kPolicyFault},
        {"needed after three more", nullptr, {needsPolicy(3), nothing, nothing}},
        {"needed after two more, one self-issued", nullptr, {needsPolicy(2), isSelfIssued, nothing}},
        {"the end certificate needs one", nullptr, {nothing, needsPolicy(0)}, kPolicyFault},
        {"a lower number stays", nullptr, {needsPolicy(0), needsPolicy(9), nothing}, kPolicyFault},

        {"mapped", R"(["1.2.3.1"])", {all({one, maps({{p1, p2}})}), two}},
        {"mapped, the name below is not required", R"(["1.2.3.2"])", {all({one, maps({{p1, p2}})}), two}, kNotRequired},
        {"mapped away", R"(["1.2.3.1"])", {all({one, maps({{p1, p2}})}), one}, kNotRequired},
        {"mapped from any", R"(["1.2.3.1"])", {all({any, maps({{p1, p2}})}), two}},
        {"mapping forbidden above",
         R"(["1.2.3.1"])",
         {all({one, forbidsMapping(0)}), all({one, maps({{p1, p2}})}), two},
         kNotRequired},
        {"mapping allowed for one more",
         R"(["1.2.3.1"])",
         {all({one, forbidsMapping(1)}), all({one, maps({{p1, p2}})}), two}},
        {"mapping allowed for one more, which does not map",
         R"(["1.2.3.1"])",
         {all({one, forbidsMapping(1)}), one, all({one, maps({{p1, p2}})}), two},
         kNotRequired},
        {"any mapped", nullptr, {all({any, maps({{kAny, p1}})}), one}, kPolicyFault},
        {"mapped to any", nullptr, {all({one, maps({{p1, kAny}})}), one}, kPolicyFault},

        {"any in the CA", R"(["1.2.3.1"])", {any, one}},
        {"any in the CA, another below", R"(["1.2.3.1"])", {any, two}, kNotRequired},
        {"any everywhere", R"(["1.2.3.1"])", {any, any}},
        {"any between", R"(["1.2.3.1"])", {one, any, one}},
        {"any between, another below", R"(["1.2.3.1"])", {one, any, two}, kNotRequired},
        {"any forbidden", R"(["1.2.3.1"])", {all({any, forbidsAny(0)}), any, one}, kNotRequired},
        {"any forbidden later", R"(["1.2.3.1"])", {all({any, forbidsAny(1)}), any, one}},
        {"any forbidden, self-issued", R"(["1.2.3.1"])", {all({any, forbidsAny(0)}), all({any, isSelfIssued}), one}},
        {"any forbidden, at the end", R"(["1.2.3.1"])", {all({any, forbidsAny(0)}), any}, kNotRequired},

        {"a policy twice", nullptr, {policies({p1, p1}), one}, kPolicyFault},
        {"no policy in the list", nullptr, {policies({}), one}, kPolicyFault},
        {"a negative number", nullptr, {needsPolicy(0xFF), one}, kPolicyFault},
        {"qualifier that is no text",
         nullptr,
         {nothing, with("2.5.29.32", tlv::sequence({tlv::sequence(
                                         {tlv::oid(p1), tlv::sequence({tlv::sequence(
                                                            {tlv::oid("1.3.6.1.5.5.7.2.1"), tlv::integer(1)})})})}))},
         kPolicyFault},
        {"a crowd", R"(["1.2.3.7"])", crowded},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const TrustWorld asked(
            {pki.root}, row.required != nullptr ? "required_policies = " + std::string(row.required) + "\n" : "");
        EXPECT_EQ(errorOfPath(pathOf(row.path)), row.error);
    }
}

TEST_F(PathValidation, RefusesCertificatesThatBreakTheirProfile) {
    struct Row {
        const char* name;
        std::vector<Change> path;
        DWORD error;
    };
    const Change notCa = [](CertificateSpec& spec) { spec.ca = false; };
    const auto basic = [](std::initializer_list<Bytes> parts) {
        return with("2.5.29.19", tlv::sequence(std::vector<Bytes>(parts)));
    };
    const auto version = [](int number) {
        return [=](CertificateSpec& spec) {
            spec.version = number;
            spec.ca = number == 3 && spec.ca;
            spec.keyIdentifiers = number == 3;
        };
    };
    const auto until = [](const char* text) { return [=](CertificateSpec& spec) { spec.notAfter = text; }; };
    const Change alternative = with("2.5.29.17", tlv::sequence({tlv::contextPrimitive(2, bytesOf("a.example"))}));
    const Change oldWithExtension = all({version(1), alternative});
    constexpr DWORD kBasic = CERT_TRUST_INVALID_BASIC_CONSTRAINTS;
    constexpr DWORD kExtension = CERT_TRUST_INVALID_EXTENSION;
    constexpr DWORD kTime = CERT_TRUST_IS_NOT_TIME_VALID;
    const Row rows[] = {
        {"nothing unusual", {nothing, alternative}, 0},
        {"version 1 at the end", {nothing, version(1)}, 0},
        {"version 1 with an extension", {nothing, oldWithExtension}, kExtension},
        {"version 1 as a CA", {version(1), nothing}, kBasic},
        {"CA without basic constraints", {notCa, nothing}, kBasic},
        {"basic constraints of an end certificate in a CA", {all({notCa, basic({})}), nothing}, kBasic},
        {"path length without CA", {nothing, basic({tlv::integer(0)})}, kBasic},
        {"negative path length", {all({notCa, basic({tlv::boolean(true), tlv::integer(-1)})}), nothing}, kBasic},
        {"octets after the basic constraints",
         {nothing, with("2.5.29.19", concat({tlv::sequence({}), tlv::null()}))},
         kBasic},
        {"an extension twice", {nothing, all({alternative, alternative})}, kExtension},
        {"an unknown extension twice", {nothing, all({with("1.2.3", {5, 0}), with("1.2.3", {4, 0})})}, kExtension},
        {"an unknown extension", {nothing, with("1.2.3", {5, 0})}, 0},
        {"alternative names that cannot be decoded", {nothing, with("2.5.29.17", {5, 0})}, kExtension},
        {"key usage that cannot be decoded", {nothing, with("2.5.29.15", {5, 0})}, kExtension},
        {"key usage for nothing", {nothing, with("2.5.29.15", tlv::bitString({}))}, kExtension},
        {"name constraints that cannot be decoded",
         {with("2.5.29.30", {5, 0}), nothing},
         CERT_TRUST_INVALID_NAME_CONSTRAINTS},
        {"name constraints on nothing", {with("2.5.29.30", {0x30, 0}), nothing}, CERT_TRUST_INVALID_NAME_CONSTRAINTS},
        {"no issuer", {[](CertificateSpec& spec) { spec.subject = tlv::sequence({}); }, nothing}, kExtension},
        {"GeneralizedTime before 2050", {nothing, until("20491231235959Z")}, 0},
        {"GeneralizedTime of the last year", {nothing, until("99991231235959Z")}, 0},
        {"UTCTime of 2049", {nothing, until("491231235959Z")}, 0},
        {"UTCTime of 1950", {nothing, until("500101000000Z")}, kTime},
        {"year before all clocks", {nothing, until("00010101000000Z")}, kTime},
        {"UTCTime without seconds", {nothing, until("4912312359Z")}, kTime},
        {"time with an offset", {nothing, until("20491231235959+0100")}, kTime},
        {"time with a fraction", {nothing, until("20491231235959.5Z")}, kTime},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const DWORD error = errorOfPath(pathOf(row.path));
        EXPECT_EQ(error & row.error, row.error);
        EXPECT_EQ(error == 0, row.error == 0);
    }
}

// The outer algorithm with other parameters than the signed one.
TEST_F(PathValidation, RefusesASignatureAlgorithmThatIsNotTheSignedOne) {
    CertificateSpec spec;
    spec.ca = true;
    spec.key = Key::make(KeyKind::kRsa2048);
    const Identity ca = issue(pki.root, spec);
    Identity leaf = leafUnder(ca);
    EXPECT_EQ(errorOfPath({leaf, ca}), 0U);
    const Bytes null = {0x0B, 0x05, 0x00};  // last octet of sha256WithRSAEncryption, and its parameters
    const auto outer = std::find_end(leaf.certificate.begin(), leaf.certificate.end(), null.begin(), null.end());
    ASSERT_NE(outer, leaf.certificate.end());
    *(outer + 1) = 0x04;
    EXPECT_EQ(errorOfPath({leaf, ca}), CERT_TRUST_IS_NOT_SIGNATURE_VALID);
}

TEST_F(PathValidation, CountsAndConstrainsAllButSelfIssuedCertificates) {
    struct Row {
        const char* name;
        std::vector<Change> path;
        DWORD error = 0;
    };
    const auto named = [](const std::string& text) {
        return tlv::sequence({tlv::set({tlv::sequence({tlv::oid("2.5.4.3"), tlv::utf8String(text)})})});
    };
    const auto subtree = [](unsigned list, const Bytes& base, const Bytes& range = {}) {
        return with("2.5.29.30", tlv::sequence({tlv::context(list, tlv::sequence({concat({base, range})}))}));
    };
    const auto alternative = [](unsigned kind, const std::string& value) {
        return with("2.5.29.17", tlv::sequence({tlv::contextPrimitive(kind, bytesOf(value))}));
    };
    const auto kind = [](unsigned number, const std::string& value) {
        return tlv::contextPrimitive(number, bytesOf(value));
    };
    const Change mailInSubject = [](CertificateSpec& spec) {
        spec.subject = tlv::sequence(
            {tlv::set({tlv::sequence({tlv::oid("1.2.840.113549.1.9.1"), tlv::ia5String("me@other.example")})})});
    };
    constexpr DWORD kBasic = CERT_TRUST_INVALID_BASIC_CONSTRAINTS;
    constexpr DWORD kOutside = CERT_TRUST_HAS_NOT_PERMITTED_NAME_CONSTRAINT;
    constexpr DWORD kExcluded = CERT_TRUST_HAS_EXCLUDED_NAME_CONSTRAINT;
    const Change onlyEnd = subtree(0, tlv::context(4, named("element 2")));
    const Row rows[] = {
        {"path length kept", {pathLength(0), nothing}},
        {"path length exceeded", {pathLength(0), nothing, nothing}, kBasic},
        {"self-issued does not count", {pathLength(0), isSelfIssued, nothing}},
        {"self-issued does not count, another does", {pathLength(0), isSelfIssued, nothing, nothing}, kBasic},
        {"a longer length below", {pathLength(1), pathLength(9), nothing, nothing}, kBasic},
        {"self-issued at the end is constrained",
         {all({onlyEnd, [](CertificateSpec& spec) { spec.commonName = "element 1"; }}), isSelfIssued},
         kOutside},
        {"self-issued between is not", {onlyEnd, isSelfIssued, nothing}},
        {"another between is", {onlyEnd, nothing, nothing}, kOutside},
        {"name in another case", {subtree(0, tlv::context(4, named("ELEMENT  1"))), nothing}},
        {"DNS name permitted", {subtree(0, kind(2, "b.example")), alternative(2, "a.B.example")}},
        {"DNS name outside", {subtree(0, kind(2, "b.example")), alternative(2, "ab.example")}, kOutside},
        {"DNS name excluded", {subtree(1, kind(2, "b.example")), alternative(2, "a.b.example")}, kExcluded},
        {"mail permitted", {subtree(0, kind(1, "a.example")), alternative(1, "me@a.example")}},
        {"mail outside", {subtree(0, kind(1, "a.example")), alternative(1, "me@b.a.example")}, kOutside},
        {"mail in the subject outside", {subtree(0, kind(1, "a.example")), mailInSubject}, kOutside},
        {"URI permitted", {subtree(0, kind(6, ".a.example")), alternative(6, "http://b.a.example/x")}},
        {"URI excluded", {subtree(1, kind(6, "a.example")), alternative(6, "https://a.example:8/")}, kExcluded},
        {"range of a subtree",
         {subtree(0, kind(2, "example"), tlv::contextPrimitive(0, {1})), alternative(2, "a.example")},
         CERT_TRUST_HAS_NOT_SUPPORTED_NAME_CONSTRAINT},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(errorOfPath(pathOf(row.path)), row.error);
    }
}

TEST_F(PathValidation, ComparesNamesAsTheyRead) {
    const auto name = [](const Bytes& value) {
        return tlv::sequence({tlv::set({tlv::sequence({tlv::oid("2.5.4.3"), value})})});
    };
    const auto caNamed = [&](const Bytes& value) {
        return caUnder(pki.root, [&](CertificateSpec& spec) { spec.subject = name(value); });
    };
    const auto errorWith = [&](const Bytes& inCa, const Bytes& inLeaf) {
        CertificateSpec spec;
        spec.issuer = name(inLeaf);
        const Identity ca = caNamed(inCa);
        return errorOfPath({issue(ca, spec), ca});
    };
    const Bytes plain = tlv::printableString("A Certification  Authority");
    EXPECT_EQ(errorWith(plain, tlv::utf8String(" a certification authority ")), 0U);
    EXPECT_EQ(errorWith(tlv::utf8String("\xD0\xA6\xD0\x90"), tlv::raw(0x1E, {0x04, 0x26, 0x04, 0x10})), 0U);
    EXPECT_EQ(errorWith(plain, tlv::utf8String("A CertificationAuthority")), CERT_TRUST_IS_PARTIAL_CHAIN);

    // A namesake of the very spelling does not hide the issuer.
    CertificateSpec spec;
    spec.issuer = name(tlv::utf8String("a certification authority"));
    const Identity ca = caNamed(plain);
    const Identity namesake = caNamed(tlv::utf8String("a certification authority"));
    EXPECT_EQ(errorOfPath({issue(ca, spec), namesake, ca}), 0U);
}

TEST_F(PathValidation, GoesFromOneKeyOfACaToItsNext) {
    const Identity newRoot = rootCa("root");
    const auto reissued = [](const Identity& subject, const Identity& issuer) {
        return caUnder(issuer, [&](CertificateSpec& spec) {
            spec.commonName = "root";
            spec.key = subject.key;
        });
    };
    const Identity newWithOld = reissued(newRoot, pki.root);
    const Identity leaf = leafUnder(newRoot);
    EXPECT_EQ(simple(chainOf({leaf, {newRoot, newWithOld}})).cElement, 3U);
    EXPECT_EQ(errorOf(chainOf({leaf, {newRoot, newWithOld}})), 0U);
    EXPECT_EQ(errorOf(chainOf({leaf, {newRoot}})), CERT_TRUST_IS_UNTRUSTED_ROOT);
    const TrustWorld later({newRoot});
    EXPECT_EQ(errorOf(chainOf({pki.good, {pki.ca, pki.root, reissued(pki.root, newRoot)}})), 0U);
}

// In each row some way leads to the root without a fault.
TEST_F(PathValidation, FindsTheWayAmongOthers) {
    struct Row {
        const char* name;
        Identity issuer;
        std::vector<Identity> extra;
        std::vector<Identity> stored = {};
    };
    const auto namesake = [&](const Key& key, const Identity& issuer, const Change& change = nothing) {
        return caUnder(issuer, [&](CertificateSpec& spec) {
            spec.commonName = "ca";
            spec.key = key;
            change(spec);
        });
    };
    const Identity forgedRoot{pki.root.certificate, Key::make()};
    const Identity forged = namesake(pki.ca.key, forgedRoot);
    const Change old = [](CertificateSpec& spec) { spec.notAfterSeconds = -60; };
    const Identity narrow = caUnder(pki.root, pathLength(0));
    const Change other = [&](CertificateSpec& spec) {
        spec.criticalExtensions = {
            {"2.5.29.30", tlv::sequence({tlv::context(0, tlv::sequence({tlv::context(4, pki.sibling.subject())}))})}};
    };
    const ContextPtr ca = context(pki.ca.certificate);
    const Bytes identifier =
        bytesOf(CertFindExtension("2.5.29.14", ca->pCertInfo->cExtension, ca->pCertInfo->rgExtension)->Value);
    // Forged certificates with the name and the key identifier of the CA.
    const auto crowd = [&](int size, const std::function<Key()>& key) {
        std::vector<Identity> made;
        for (int i = 0; i < size; ++i) {
            made.push_back(namesake(key(), forgedRoot, [&](CertificateSpec& spec) {
                spec.keyIdentifiers = false;
                spec.extensions = {{"2.5.29.14", identifier}};
            }));
        }
        return made;
    };
    const auto then = [](std::vector<Identity> first, const std::vector<Identity>& more) {
        first.insert(first.end(), more.begin(), more.end());
        return first;
    };
    const Key wrong = Key::make();
    // More of them than signature checks.
    const std::vector<Identity> many = crowd(90, [] { return Key::make(); });
    const std::vector<Identity> some(many.begin(), many.begin() + 60);
    const Row rows[] = {
        {"the CA's key in a forged certificate", pki.ca, {forged, pki.ca}},
        {"the same, the CA in a store", pki.ca, {forged}, {pki.ca}},
        {"forty of them", pki.ca, then(crowd(40, [&] { return pki.ca.key; }), {pki.ca})},
        {"namesakes", pki.ca, then(some, {pki.ca})},
        {"namesakes, above another CA", pki.subCa, then(some, {pki.subCa, pki.ca})},
        {"namesakes behind the CA", pki.ca, then({pki.ca}, many)},
        {"namesakes, the CA in a store", pki.ca, many, {pki.ca}},
        {"namesakes with one key", pki.ca, then(crowd(90, [&] { return wrong; }), {pki.ca})},
        {"expired certificate of the CA", pki.ca, {namesake(pki.ca.key, pki.root, old), pki.ca}},
        {"the same in a store", pki.ca, {pki.ca}, {namesake(pki.ca.key, pki.root, old)}},
        {"cross certificate of an unknown root", pki.ca, {namesake(pki.ca.key, rootCa("unknown")), pki.ca}},
        {"cross certificate over a CA that may have none below",
         pki.ca,
         {namesake(pki.ca.key, narrow), narrow, pki.ca}},
        {"the same in a store", pki.ca, {pki.ca}, {namesake(pki.ca.key, narrow), narrow}},
        {"certificate of the CA for other names", pki.ca, {namesake(pki.ca.key, pki.root, other), pki.ca}},
        {"certificate of the CA that needs a policy", pki.ca, {namesake(pki.ca.key, pki.root, needsPolicy(0)), pki.ca}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const TrustWorld own({pki.root});
        for (std::size_t i = 0; i < row.stored.size(); ++i) {
            own.add("CA/" + std::to_string(i) + ".pem", row.stored[i]);
        }
        // A certificate that was never seen: which key signed a known one is remembered.
        EXPECT_EQ(errorOf(chainOf({leafUnder(row.issuer), row.extra})), 0U);
    }
    // The certificate of the CA itself is revoked; its cross certificate is not.
    const TrustWorld own({pki.root});
    const Identity cross = namesake(pki.ca.key, pki.sibling);
    const std::vector<Bytes> crls{makeCrl(pki.root, {.revokedSerials = {pki.ca.serial()}}), makeCrl(pki.ca, {}),
                                  makeCrl(pki.sibling, {})};
    constexpr DWORD kChecked = CERT_CHAIN_REVOCATION_CHECK_CHAIN | CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL;
    EXPECT_EQ(errorOf(chainOf({pki.good, {pki.ca}, crls, kChecked})), CERT_TRUST_IS_REVOKED);
    EXPECT_EQ(errorOf(chainOf({pki.good, {pki.ca, cross, pki.sibling}, crls, kChecked})), 0U);
}

TEST_F(PathValidation, EndsAtTwelveCertificates) {
    const std::vector<Identity> longest = pathOf(std::vector<Change>(11, nothing));
    EXPECT_EQ(errorOfPath(longest), 0U);
    EXPECT_EQ(errorOfPath(pathOf(std::vector<Change>(12, nothing))), CERT_TRUST_IS_PARTIAL_CHAIN);
}

TEST_F(PathValidation, TrustsARootOfVersion1ForItsKeyAndName) {
    CertificateSpec spec;
    spec.commonName = "old root";
    spec.version = 1;
    spec.keyIdentifiers = false;
    const Identity old = selfSigned(spec);
    const TrustWorld own({old});
    const Identity ca = issueCa(old, "ca of the old root");
    EXPECT_EQ(errorOfPath({leafUnder(ca), ca}), 0U);
}

}  // namespace
}  // namespace testkit
