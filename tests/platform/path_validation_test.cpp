// The rules of RFC 5280 section 6.1: the profile of each certificate, policies, names, self-issued certificates, and
// the choice among several paths.
#include <gtest/gtest.h>

#include <openssl/asn1t.h>
#include <openssl/x509.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <sstream>

#include "tests/platform/trust_fixture.h"
#include "tests/support/tlv.h"
#include "tests/support/vectors.h"

static std::atomic<int> numNamesRead = 0;

// Replaces OpenSSL's function to count the calls.
X509_NAME* d2i_X509_NAME(X509_NAME** name, const unsigned char** in, long size) {
    ++numNamesRead;
    return reinterpret_cast<X509_NAME*>(
        ASN1_item_d2i(reinterpret_cast<ASN1_VALUE**>(name), in, size, ASN1_ITEM_rptr(X509_NAME)));
}

namespace testkit {
namespace {

using Change = std::function<void(CertificateSpec&)>;

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

// The policies of a certificate, in words: "1" or "any" is a policy, "1>2" a mapping, E0
// requireExplicitPolicy, M0 inhibitPolicyMapping and A0 inhibitAnyPolicy with a number, "self" makes it self-issued.
Change saying(const std::string& text) {
    const auto oidOf = [](const std::string& word) {
        return tlv::oid(word == "any" ? "2.5.29.32.0" : "1.2.3." + word);
    };
    std::vector<Bytes> policies;
    std::vector<Bytes> mappings;
    std::vector<Bytes> constraints;
    std::vector<Change> changes;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        const std::size_t arrow = word.find('>');
        const Bytes number{static_cast<std::uint8_t>(word.back() == '-' ? -1 : word.back() - '0')};
        if (arrow != std::string::npos) {
            mappings.push_back(tlv::sequence({oidOf(word.substr(0, arrow)), oidOf(word.substr(arrow + 1))}));
        } else if (word[0] == 'E' || word[0] == 'M') {
            constraints.push_back(tlv::contextPrimitive(word[0] == 'E' ? 0 : 1, number));
        } else if (word[0] == 'A') {
            changes.push_back(with("2.5.29.54", tlv::integer(number)));
        } else if (word == "self") {
            changes.push_back([](CertificateSpec& spec) { spec.commonName = kSelfIssued; });
        } else {
            policies.push_back(tlv::sequence({oidOf(word)}));
        }
    }
    const auto add = [&](const char* oid, const std::vector<Bytes>& list) {
        if (!list.empty()) {
            changes.push_back(with(oid, tlv::sequence(list)));
        }
    };
    add("2.5.29.32", policies);
    add("2.5.29.33", mappings);
    add("2.5.29.36", constraints);
    return all(changes);
}

void nothing(CertificateSpec& /*spec*/) {}

// A name of one attribute.
Bytes nameOf(const char* type, const Bytes& value) {
    return tlv::sequence({tlv::set({tlv::sequence({tlv::oid(type), value})})});
}

Change pathLength(int length) {
    return [=](CertificateSpec& spec) { spec.pathLength = length; };
}

struct PathRow {
    const char* name;
    std::vector<Change> path;  // from the first CA down
    DWORD error = 0;
};

// A certificate of a CA with the name of pki.ca.
Identity namesake(const Key& key, const Identity& issuer, const Change& change = nothing) {
    CertificateSpec spec{.commonName = "ca", .key = key, .ca = true};
    change(spec);
    return issue(issuer, spec);
}

class PathValidation : public ::testing::Test {
protected:
    // CAs under the root and an end certificate under the last, each with its change; the end certificate first.
    std::vector<Identity> pathOf(const std::vector<Change>& changes) const {
        std::vector<Identity> path{pki.root};
        std::string issuerName = "root";
        for (std::size_t i = 0; i < changes.size(); ++i) {
            CertificateSpec spec{.commonName = "element " + std::to_string(i), .ca = i + 1 < changes.size()};
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

TEST_F(PathValidation, ProcessesPolicies) {
    const auto verdict = [&](const std::string& row) -> std::string {
        const std::size_t colon = row.find(" : ");
        const std::string required = row.substr(0, colon);
        const TrustWorld asked({pki.root}, required == "none" ? "" : "required_policies = " + required + "\n");
        std::istringstream elements(row.substr(colon + 3) + '/');
        std::vector<Change> path;
        for (std::string element; std::getline(elements, element, '/');) {
            path.push_back(saying(element));
        }
        const DWORD error = errorOfPath(pathOf(path));
        return error == 0              ? "valid"
               : error == kPolicyFault ? "policy fault"
               : error == kNotRequired ? "not required"
                                       : std::to_string(error);
    };
    expectVectors("platform/path_policies.txt", {{"policies", verdict}});
    // Each policy continues in each: a tree would have 20 to the power of 8 leaves.
    std::string crowd;
    for (int from = 1; from <= 20; ++from) {
        crowd += std::to_string(from) + " ";
        for (int to = 1; to <= 20; ++to) {
            crowd += std::to_string(from) + ">" + std::to_string(to) + " ";
        }
    }
    std::string crowds;
    for (int i = 0; i < 9; ++i) {
        crowds += crowd + "/ ";
    }
    EXPECT_EQ(verdict("[\"1.2.3.7\"] : " + crowds + "20"), "valid");
}

TEST_F(PathValidation, RejectsCertificatesOutsideTheProfile) {
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
    const auto critical = [](const char* oid, const Bytes& value) {
        return [=](CertificateSpec& spec) { spec.criticalExtensions.emplace_back(oid, value); };
    };
    const Change harmless = all({critical("1.3.6.1.5.5.7.48.1.5", {5, 0}), critical("2.5.29.18", {0x30, 2, 0x82, 0}),
                                 critical("2.16.840.1.113730.1.1", {3, 2, 7, 0x80})});
    const Change oddMark = critical("1.3.6.1.5.5.7.48.1.5", {4, 0});
    const Change crowded = [](CertificateSpec& spec) {
        for (int i = 0; i < 65; ++i) {
            spec.extensions.emplace_back("1.2.3." + std::to_string(i), tlv::null());
        }
    };
    const Bytes pointer = tlv::sequence({tlv::oid("1.3.6.1.5.5.7.2.1"), tlv::integer(1)});
    const Bytes badQualifier = tlv::sequence({tlv::sequence({tlv::oid("1.2.3"), tlv::sequence({pointer})})});
    const Change oldWithExtension = all({version(1), alternative});
    constexpr DWORD kBasic = CERT_TRUST_INVALID_BASIC_CONSTRAINTS;
    constexpr DWORD kExtension = CERT_TRUST_INVALID_EXTENSION;
    constexpr DWORD kCritical = CERT_TRUST_HAS_NOT_SUPPORTED_CRITICAL_EXT;
    constexpr DWORD kNames = CERT_TRUST_INVALID_NAME_CONSTRAINTS;
    constexpr DWORD kTime = CERT_TRUST_IS_NOT_TIME_VALID;
    const PathRow rows[] = {
        {"nothing unusual", {nothing, alternative}, 0},
        {"no policy in the list", {nothing, with("2.5.29.32", {0x30, 0})}, kPolicyFault},
        {"policy qualifier that is no text", {nothing, with("2.5.29.32", badQualifier)}, kPolicyFault},
        {"version 1 at the end", {nothing, version(1)}, 0},
        {"version 1 with an extension", {nothing, oldWithExtension}, kExtension},
        {"version 1 as a CA", {version(1), nothing}, kBasic},
        {"CA without basic constraints", {notCa, nothing}, kBasic},
        {"basic constraints of an end certificate in a CA", {all({notCa, basic({})}), nothing}, kBasic},
        {"path length without CA", {nothing, basic({tlv::integer(0)})}, kBasic},
        {"negative path length", {all({notCa, basic({tlv::boolean(true), tlv::integer(-1)})}), nothing}, kBasic},
        {"octets after the basic constraints", {nothing, with("2.5.29.19", {0x30, 0, 5, 0})}, kBasic},
        {"an extension twice", {nothing, all({alternative, alternative})}, kExtension},
        {"an unknown extension twice", {nothing, all({with("1.2.3", {5, 0}), with("1.2.3", {4, 0})})}, kExtension},
        {"more than 64 extensions", {nothing, crowded}, kExtension},
        {"an unknown extension", {nothing, with("1.2.3", {5, 0})}, 0},
        {"critical extensions that change nothing", {nothing, harmless}, 0},
        {"critical no-check mark that is not NULL", {nothing, oddMark}, kCritical},
        {"critical unknown extension beside it", {nothing, all({harmless, critical("1.2.3", {5, 0})})}, kCritical},
        {"no alternative name in the list", {nothing, with("2.5.29.17", {0x30, 0})}, kExtension},
        {"alternative names that cannot be decoded", {nothing, with("2.5.29.17", {5, 0})}, kExtension},
        {"key usage that cannot be decoded", {nothing, with("2.5.29.15", {5, 0})}, kExtension},
        {"key usage for nothing", {nothing, with("2.5.29.15", tlv::bitString({}))}, kExtension},
        {"name constraints that cannot be decoded", {with("2.5.29.30", {5, 0}), nothing}, kNames},
        {"name constraints on nothing", {with("2.5.29.30", {0x30, 0}), nothing}, kNames},
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
    for (const PathRow& row : rows) {
        SCOPED_TRACE(row.name);
        const DWORD error = errorOfPath(pathOf(row.path));
        EXPECT_EQ(error & row.error, row.error);
        EXPECT_EQ(error == 0, row.error == 0);
    }
}

TEST_F(PathValidation, AppliesPathLengthAndNameConstraints) {
    const auto named = [](const std::string& text) { return nameOf("2.5.4.3", tlv::utf8String(text)); };
    const auto subtree = [](unsigned list, const Bytes& base, const Bytes& range = {}) {
        return with("2.5.29.30", tlv::sequence({tlv::context(list, tlv::sequence({concat({base, range})}))}));
    };
    const auto kind = [](unsigned number, const std::string& value) {
        return tlv::contextPrimitive(number, bytesOf(value));
    };
    const auto alternative = [&](unsigned number, const std::string& value) {
        return with("2.5.29.17", tlv::sequence({kind(number, value)}));
    };
    const Change mailInSubject = [](CertificateSpec& spec) {
        spec.subject = nameOf("1.2.840.113549.1.9.1", tlv::ia5String("me@other.example"));
    };
    constexpr DWORD kBasic = CERT_TRUST_INVALID_BASIC_CONSTRAINTS;
    constexpr DWORD kUnsupported = CERT_TRUST_HAS_NOT_SUPPORTED_NAME_CONSTRAINT;
    constexpr DWORD kOutside = CERT_TRUST_HAS_NOT_PERMITTED_NAME_CONSTRAINT;
    constexpr DWORD kExcluded = CERT_TRUST_HAS_EXCLUDED_NAME_CONSTRAINT;
    const Change onlyEnd = subtree(0, tlv::context(4, named("element 2")));
    const PathRow rows[] = {
        {"path length kept", {pathLength(0), nothing}},
        {"path length exceeded", {pathLength(0), nothing, nothing}, kBasic},
        {"self-issued does not count", {pathLength(0), saying("self"), nothing}},
        {"self-issued does not count, another does", {pathLength(0), saying("self"), nothing, nothing}, kBasic},
        {"a longer length below", {pathLength(1), pathLength(9), nothing, nothing}, kBasic},
        {"self-issued at the end is constrained",
         {all({onlyEnd, [](CertificateSpec& spec) { spec.commonName = "element 1"; }}), saying("self")},
         kOutside},
        {"self-issued between is not", {onlyEnd, saying("self"), nothing}},
        {"another between is", {onlyEnd, nothing, nothing}, kOutside},
        {"name in another case", {subtree(0, tlv::context(4, named("ELEMENT  1"))), nothing}},
        {"DNS name permitted", {subtree(0, kind(2, "b.example")), alternative(2, "a.B.example")}},
        {"DNS name outside", {subtree(0, kind(2, "b.example")), alternative(2, "ab.example")}, kOutside},
        {"mail permitted", {subtree(0, kind(1, "a.example")), alternative(1, "me@a.example")}},
        {"mail in the subject outside", {subtree(0, kind(1, "a.example")), mailInSubject}, kOutside},
        {"URI permitted", {subtree(0, kind(6, ".a.example")), alternative(6, "http://b.a.example/x")}},
        {"URI excluded", {subtree(1, kind(6, "a.example")), alternative(6, "https://a.example:8/")}, kExcluded},
        {"odd DNS name beside a URI constraint", {subtree(1, kind(6, "a.example")), alternative(2, "a.example.")}},
        {"wildcard permitted", {subtree(0, kind(2, ".b.example")), alternative(2, "*.b.example")}},
        {"odd constraint without a name", {subtree(0, kind(2, "b.example.")), nothing}},
        {"range of a subtree",
         {subtree(0, kind(2, "example"), tlv::contextPrimitive(0, {1})), alternative(2, "a.example")},
         kUnsupported},
    };
    for (const PathRow& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(errorOfPath(pathOf(row.path)), row.error);
    }

    const auto verdictOnOdd = [&](const std::string& row) -> std::string {
        const std::size_t afterKind = row.find(';') + 1;
        const std::size_t nameAt = row.find(';', afterKind) + 1;
        const auto number = static_cast<unsigned>(row[0] - '0');
        const Change leaf = alternative(number, row.substr(nameAt));
        EXPECT_EQ(errorOfPath(pathOf({nothing, leaf})), 0U) << row;
        const Change excluding = subtree(1, kind(number, row.substr(afterKind, nameAt - afterKind - 1)));
        return (errorOfPath(pathOf({excluding, leaf})) & kUnsupported) != 0 ? "unsupported" : "understood";
    };
    expectVectors("platform/odd_names.txt", {{"odd", verdictOnOdd}});
}

TEST_F(PathValidation, IgnoresCaseAndStringTypeOfNames) {
    const auto name = [](const Bytes& value) { return nameOf("2.5.4.3", value); };
    const auto caNamed = [&](const Bytes& value) { return caUnder(pki.root, {.subject = name(value)}); };
    const auto errorWith = [&](const Bytes& inCa, const Bytes& inLeaf) {
        const Identity ca = caNamed(inCa);
        return errorOfPath({issue(ca, {.issuer = name(inLeaf)}), ca});
    };
    const Bytes plain = tlv::printableString("A Certification  Authority");
    EXPECT_EQ(errorWith(plain, tlv::utf8String(" a certification authority ")), 0U);
    EXPECT_EQ(errorWith(tlv::utf8String("\xD0\xA6\xD0\x90"), tlv::raw(0x1E, {0x04, 0x26, 0x04, 0x10})), 0U);
    EXPECT_EQ(errorWith(plain, tlv::utf8String("A CertificationAuthority")), CERT_TRUST_IS_PARTIAL_CHAIN);

    // An expired certificate with the same spelling does not hide the valid one.
    const Bytes spelling = name(tlv::utf8String("a certification authority"));
    const Identity ca = caNamed(plain);
    const Identity leaf = issue(ca, {.issuer = spelling});
    const Identity expired = caUnder(pki.root, {.key = ca.key, .notAfterSeconds = -60, .subject = spelling});
    EXPECT_EQ(errorOfPath({leaf, expired, ca}), 0U);

    // Each name is parsed once, and at most 256 KiB of them.
    const TrustWorld empty({});
    const std::vector<Identity> untrusted = pathOf(std::vector<Change>(8, nothing));
    numNamesRead = 0;
    EXPECT_EQ(errorOfPath(untrusted), CERT_TRUST_IS_PARTIAL_CHAIN);
    EXPECT_EQ(numNamesRead, 8 * 4 + 7);  // 8 names of issuers, for each origin, and 7 of certificates
    const TrustWorld trusting({pki.root});
    for (const int numLong : {4, 5}) {
        std::vector<Identity> path{leaf};
        for (int i = 0; i < numLong; ++i) {
            path.push_back(caNamed(tlv::utf8String(std::string(60000, static_cast<char>('a' + i)))));
        }
        path.push_back(ca);
        EXPECT_EQ(errorOfPath(path), numLong == 4 ? 0U : CERT_TRUST_IS_PARTIAL_CHAIN);
    }
}

// In each row there is a path without a fault.
TEST_F(PathValidation, FindsTheValidPathAmongOthers) {
    struct Row {
        const char* name;
        Identity issuer;
        std::vector<Identity> extra;
        std::vector<Identity> stored = {};
    };
    const Identity forgedRoot{pki.root.certificate, Key::make()};
    const Identity forged = namesake(pki.ca.key, forgedRoot);
    const Change old = [](CertificateSpec& spec) { spec.notAfterSeconds = -60; };
    const Identity below = issueCa(pki.ca, "below");
    const Identity narrow = caUnder(pki.root, {.pathLength = 0});
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
    const Identity newRoot = issueCa(pki.root, "root");
    // More of them than signature checks.
    const std::vector<Identity> many = crowd(90, [] { return Key::make(); });
    const std::vector<Identity> some(many.begin(), many.begin() + 60);
    const Row rows[] = {
        {"the CA's key in a forged certificate", pki.ca, {forged, pki.ca}},
        {"forty of them", pki.ca, then(crowd(40, [&] { return pki.ca.key; }), {pki.ca})},
        {"namesakes", pki.ca, then(some, {pki.ca})},
        {"namesakes, above another CA", pki.subCa, then(some, {pki.subCa, pki.ca})},
        {"namesakes after the CA", pki.ca, then({pki.ca}, many)},
        {"namesakes, the CA in a store", pki.ca, many, {pki.ca}},
        {"namesakes with one key", pki.ca, then(crowd(90, [&] { return wrong; }), {pki.ca})},
        {"new key of the root, certified by the old one", newRoot, {newRoot}},
        {"expired certificate of the CA", pki.ca, {namesake(pki.ca.key, pki.root, old), pki.ca}},
        {"cross certificate of an unknown root", pki.ca, {namesake(pki.ca.key, rootCa("unknown")), pki.ca}},
        {"loop of two CAs", pki.ca, {namesake(pki.ca.key, below), below, pki.ca}},
        {"cross certificate over a path that is too long", pki.ca, {namesake(pki.ca.key, narrow), narrow, pki.ca}},
        {"certificate of the CA for other names", pki.ca, {namesake(pki.ca.key, pki.root, other), pki.ca}},
        {"certificate of the CA that needs a policy", pki.ca, {namesake(pki.ca.key, pki.root, saying("E0")), pki.ca}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const TrustWorld own({pki.root});
        for (std::size_t i = 0; i < row.stored.size(); ++i) {
            own.add("CA/" + std::to_string(i) + ".pem", row.stored[i]);
        }
        // A new certificate each time, since the signers of known ones are cached.
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
    // Revoked on both paths, one of which has another fault too.
    const std::vector<Bytes> revoking{makeCrl(pki.root, {}), makeCrl(pki.ca, {.revokedSerials = {pki.good.serial()}})};
    EXPECT_EQ(errorOf(chainOf({pki.good, {namesake(pki.ca.key, pki.root, saying("E0")), pki.ca}, revoking, kChecked})),
              CERT_TRUST_IS_REVOKED);
}

TEST_F(PathValidation, LimitsTheSizeOfPaths) {
    const auto reissued = [&](const Identity& issuer, const Change& change) {
        return namesake(pki.ca.key, issuer, change);
    };
    const Change large = all({saying("E0"), with("1.2.3.4", Bytes(100000))});
    std::vector<Identity> path{pki.good, reissued(pki.root, large), reissued(pki.root, large), pki.ca};
    EXPECT_EQ(errorOfPath(path), 0U);
    path.insert(path.begin() + 1, reissued(pki.root, large));
    EXPECT_EQ(errorOfPath(path), kPolicyFault);

    const Identity unknown = rootCa("unknown");
    path = {pki.good, reissued(unknown, saying("E0")), reissued(unknown, nothing), unknown};
    EXPECT_EQ(errorOfPath(path), CERT_TRUST_IS_UNTRUSTED_ROOT | kPolicyFault) << "of the first";
    path.push_back(pki.ca);
    EXPECT_EQ(errorOfPath(path), 0U);

    EXPECT_EQ(errorOfPath(pathOf(std::vector<Change>(11, nothing))), 0U) << "twelve certificates";
    EXPECT_EQ(errorOfPath(pathOf(std::vector<Change>(12, nothing))), CERT_TRUST_IS_PARTIAL_CHAIN);
}

}  // namespace
}  // namespace testkit
