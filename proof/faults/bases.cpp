#include "proof/faults/bases.h"

#include <algorithm>
#include <functional>
#include <stdexcept>

#include "client/request/request.h"
#include "tests/support/gost_keys.h"
#include "tests/support/ocsp_builder.h"
#include "tests/support/tlv.h"

namespace proof {

namespace {

namespace tlv = testkit::tlv;
using testkit::CertificateSpec;
using testkit::EntrySpec;
using testkit::EntryStatus;
using testkit::ExtensionSpec;
using testkit::Identity;
using testkit::Key;
using testkit::KeyKind;
using testkit::ResponderIdKind;
using testkit::ResponseSpec;

constexpr long kDay = 24L * 3600;

// What is special about one base.
struct Row {
    const char* name;
    KeyKind kind = KeyKind::kEcP256;
    int gostBits = 0;  // takes the place of `kind`
    bool byDelegate = false;
    bool byKey = false;
    bool pss = false;
    enum class Certificates { kNone, kSigner, kMany } carried = Certificates::kNone;
    std::function<void(ResponseSpec&)> change = {};
    std::function<Bytes(const Bytes&)> rewrite = {};  // DER to BER
    bool isChecked = false;                           // the delegate has no no-check extension, and a CRL instead
    bool hasIntermediate = false;
    const char* hashOid = testkit::kSha1Oid;
};

// A KEY of its own kind for every certificate.
struct Maker {
    explicit Maker(const Row& row) : row_(row) {}
    bool isPossible() const { return row_.gostBits == 0 || testkit::makeGostKey(row_.gostBits).has_value(); }
    CertificateSpec spec(CertificateSpec spec) const {
        if (row_.gostBits != 0) {
            const testkit::GostKey made = *testkit::makeGostKey(row_.gostBits);
            spec.key = made.key;
        } else {
            spec.key = Key::make(row_.kind);
        }
        spec.hash = hash();
        spec.pss = row_.pss;
        return spec;
    }
    std::string hash() const {
        return row_.gostBits == 512            ? "md_gost12_512"
               : row_.gostBits == 256          ? "md_gost12_256"
               : row_.kind == KeyKind::kEcP384 ? "SHA384"
                                               : "SHA256";
    }

private:
    const Row& row_;
};

// The content of the nonce's extnValue in a request.
Bytes nonceIn(const Bytes& request) {
    const Bytes oid = tlv::oid(testkit::kNonceOid);
    const auto found = std::search(request.begin(), request.end(), oid.begin(), oid.end());
    if (request.end() - found < static_cast<std::ptrdiff_t>(oid.size()) + 2) {
        throw std::runtime_error("the request has no nonce");
    }
    const auto value = found + static_cast<std::ptrdiff_t>(oid.size());
    return {value + 2, value + 2 + value[1]};
}

Bytes requestFor(const Identity& leaf, const Identity& issuer, const char* hashOid) {
    const auto open = [](const Bytes& der) {
        return CertCreateCertificateContext(X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size()));
    };
    const _CERT_CONTEXT* const subject = open(leaf.certificate);
    const _CERT_CONTEXT* const by = open(issuer.certificate);
    Orvane::PKI::OCSP::Client::CRequest request;
    request.put_SRCertIDFromCert(subject, by, 0, hashOid);
    request.put_UseNonce(true);
    unsigned long size = 0;
    request.Export(nullptr, &size);
    Bytes bytes(size);
    request.Export(bytes.data(), &size);
    CertFreeCertificateContext(subject);
    CertFreeCertificateContext(by);
    return bytes;
}

ExtensionSpec unknownExtension(const char* oid, const char* text) {
    return {oid, false, tlv::utf8String(text)};
}

// ---- BER ------------------------------------------------------------------------------------------------------------

// The content of the element that begins at 0; the lengths of a response have up to two octets after the first.
Bytes contentOf(const Bytes& element) {
    const std::size_t header = element[1] < 0x80 ? 2 : 2U + (element[1] & 0x7FU);
    return {element.begin() + static_cast<std::ptrdiff_t>(header), element.end()};
}
Bytes indefinite(std::uint8_t identifier, const Bytes& content) {
    return testkit::concat({Bytes{identifier, 0x80}, content, Bytes{0, 0}});
}

// `change` of the octet string in OCSPResponse { ENUMERATED, [0] { SEQUENCE { OID, OCTET STRING } } }.
Bytes withOctetString(const Bytes& response, const std::function<Bytes(const Bytes& content)>& change) {
    const Bytes outer = contentOf(response);
    const Bytes status(outer.begin(), outer.begin() + 3);
    const Bytes typed = contentOf(contentOf(Bytes(outer.begin() + 3, outer.end())));
    const std::ptrdiff_t oidSize = 2 + typed[1];
    const Bytes oid(typed.begin(), typed.begin() + oidSize);
    const Bytes octets = contentOf(Bytes(typed.begin() + oidSize, typed.end()));
    return tlv::sequence({status, tlv::context(0, tlv::sequence({oid, change(octets)}))});
}

Bytes indefiniteEnvelope(const Bytes& response) {
    return indefinite(0x30, contentOf(response));
}

Bytes octetStringInParts(const Bytes& response) {
    return withOctetString(response, [](const Bytes& content) {
        const auto middle = content.begin() + static_cast<std::ptrdiff_t>(content.size() / 2);
        return tlv::raw(0x24, testkit::concat({tlv::octetString(Bytes(content.begin(), middle)),
                                               tlv::octetString(Bytes(middle, content.end()))}));
    });
}

Bytes longLengths(const Bytes& response) {
    return withOctetString(response, [](const Bytes& content) {
        return tlv::rawLongLength(0x04, tlv::rawLongLength(0x30, contentOf(content), 3), 4);
    });
}

// ---- The rows -------------------------------------------------------------------------------------------------------

EntrySpec entryOn(const Identity& subject, const Identity& issuer, EntryStatus status) {
    EntrySpec entry(testkit::certIdOf(subject, issuer), status);
    entry.nextUpdate = testkit::generalizedTimeText(kDay);
    return entry;
}

void addExtensions(ResponseSpec& response) {
    response.extensions.push_back(unknownExtension("1.3.6.1.4.1.99999.1", "of the response"));
    response.entries[0].extensions.push_back(unknownExtension("1.3.6.1.4.1.99999.2", "of the entry"));
    response.entries[0].extensions.push_back(
        {"1.3.6.1.5.5.7.48.1.6", false, tlv::generalizedTime(testkit::generalizedTimeText(-900 * kDay))});
}

void addEntries(ResponseSpec& response) {
    for (int i = 1; i <= 3; ++i) {
        EntrySpec other = response.entries[0];
        other.id.serial = {static_cast<std::uint8_t>(i), 0x22, 0x33};
        other.status = i == 1 ? EntryStatus::kRevoked : i == 2 ? EntryStatus::kUnknown : EntryStatus::kGood;
        response.entries.insert(response.entries.begin() + i - 1, other);
    }
}

void revoke(ResponseSpec& response) {
    response.entries[0].status = EntryStatus::kRevoked;
    response.entries[0].revocationReason = 1;
}

std::vector<Row> rows() {
    using Carried = Row::Certificates;
    const auto unknown = [](ResponseSpec& response) { response.entries[0].status = EntryStatus::kUnknown; };
    const auto noNextUpdate = [](ResponseSpec& response) { response.entries[0].nextUpdate.reset(); };
    const auto bare = [](ResponseSpec& response) { response.bare = true; };
    const auto oddDefaults = [](ResponseSpec& response) {
        response.version = 0;
        response.entries[0].extensions.push_back(unknownExtension("1.3.6.1.4.1.99999.3", "beside a default"));
    };
    return {
        {.name = "rsa-issuer-name-none", .kind = KeyKind::kRsa2048},
        {.name = "rsa-delegate-key-one",
         .kind = KeyKind::kRsa2048,
         .byDelegate = true,
         .byKey = true,
         .carried = Carried::kSigner},
        {.name = "pss-issuer-key-none", .kind = KeyKind::kRsa2048, .byKey = true, .pss = true},
        {.name = "pss-delegate-name-one",
         .kind = KeyKind::kRsa2048,
         .byDelegate = true,
         .pss = true,
         .carried = Carried::kSigner},
        {.name = "p256-issuer-name-none"},
        {.name = "p256-issuer-key-one", .byKey = true, .carried = Carried::kSigner},
        {.name = "p256-delegate-key-many", .byDelegate = true, .byKey = true, .carried = Carried::kMany},
        {.name = "p384-delegate-name-one-extensions",
         .kind = KeyKind::kEcP384,
         .byDelegate = true,
         .carried = Carried::kSigner,
         .change = addExtensions},
        {.name = "ed25519-issuer-key-none", .kind = KeyKind::kEd25519, .byKey = true},
        {.name = "ed25519-delegate-name-one",
         .kind = KeyKind::kEd25519,
         .byDelegate = true,
         .carried = Carried::kSigner},
        {.name = "gost256-issuer-name-none", .gostBits = 256},
        {.name = "gost512-delegate-key-one",
         .gostBits = 512,
         .byDelegate = true,
         .byKey = true,
         .carried = Carried::kSigner},
        {.name = "p256-issuer-many-entries", .change = addEntries},
        {.name = "p256-delegate-revoked", .byDelegate = true, .carried = Carried::kSigner, .change = revoke},
        {.name = "p256-issuer-unknown-by-key", .byKey = true, .change = unknown},
        {.name = "p256-issuer-no-next-update", .change = noNextUpdate},
        {.name = "p256-bare-basic-response", .change = bare},
        {.name = "p256-default-version-written", .change = oddDefaults},
        {.name = "p256-delegate-crl-intermediate-sha256",
         .byDelegate = true,
         .carried = Carried::kSigner,
         .isChecked = true,
         .hasIntermediate = true,
         .hashOid = testkit::kSha256Oid},
        {.name = "p256-ber-indefinite-envelope", .rewrite = indefiniteEnvelope},
        {.name = "p256-ber-octet-string-in-parts", .rewrite = octetStringInParts},
        {.name = "p256-ber-long-lengths", .byKey = true, .rewrite = longLengths},
    };
}

Base makeBase(const Row& row, const Maker& maker) {
    const Identity root = testkit::selfSigned(maker.spec({.commonName = "root", .ca = true}));
    const Identity above =
        row.hasIntermediate ? testkit::issue(root, maker.spec({.commonName = "upper", .ca = true})) : root;
    const Identity ca = testkit::issue(above, maker.spec({.commonName = "ca", .ca = true}));
    const Identity leaf = testkit::issue(ca, maker.spec({.commonName = "leaf"}));
    const Identity delegate = testkit::issue(ca, maker.spec({.commonName = "delegate",
                                                             .keyUsage = "critical,digitalSignature",
                                                             .extendedKeyUsage = "OCSPSigning",
                                                             .ocspNoCheck = !row.isChecked}));

    Base base;
    base.name = row.name;
    base.leaf = leaf.certificate;
    base.issuer = ca.certificate;
    base.root = testkit::bytesOf(root.certificatePem());
    base.certificates = testkit::bytesOf(row.hasIntermediate ? above.certificatePem() : std::string());
    const testkit::CrlSpec crl{.nextUpdateSeconds = 2 * kDay, .hash = maker.hash()};
    base.crls.push_back(testkit::makeCrl(root, crl));
    if (row.hasIntermediate) {
        base.crls.push_back(testkit::makeCrl(above, crl));
    }
    if (row.isChecked) {
        base.crls.push_back(testkit::makeCrl(ca, crl));
    }
    base.request = requestFor(leaf, ca, row.hashOid);

    ResponseSpec response(row.byDelegate ? delegate : ca, {entryOn(leaf, ca, EntryStatus::kGood)});
    response.entries[0].id = testkit::certIdOf(leaf, ca, row.hashOid);
    response.responderIdKind = row.byKey ? ResponderIdKind::kByKey : ResponderIdKind::kByName;
    response.hash = maker.hash();
    response.pss = row.pss;
    response.includeSigner = row.carried != Row::Certificates::kNone;
    if (row.carried == Row::Certificates::kMany) {
        response.certificates = {ca.certificate, leaf.certificate, root.certificate};
    }
    response.extensions.push_back({testkit::kNonceOid, false, nonceIn(base.request)});
    if (row.change) {
        row.change(response);
    }
    base.reference = testkit::buildResponse(response);
    base.response = row.rewrite ? row.rewrite(base.reference) : base.reference;
    return base;
}

}  // namespace

std::vector<Base> makeBases() {
    std::vector<Base> bases;
    for (const Row& row : rows()) {
        const Maker maker(row);
        if (maker.isPossible()) {
            bases.push_back(makeBase(row, maker));
        }
    }
    return bases;
}

}  // namespace proof
