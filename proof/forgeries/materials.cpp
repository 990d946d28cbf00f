#include "proof/forgeries/materials.h"

#include "tests/support/gost_keys.h"
#include "tests/support/ocsp_builder.h"
#include "tests/support/tlv.h"

namespace proof {

namespace {

namespace tlv = testkit::tlv;
using testkit::CertificateSpec;
using testkit::CrlSpec;
using testkit::EntrySpec;
using testkit::EntryStatus;
using testkit::Identity;
using testkit::Key;
using testkit::ResponseSpec;

constexpr long kYear = 365L * 24 * 3600;
constexpr const char* kUnknownExtension = "1.3.6.1.4.1.99999.5";
constexpr const char* kUnknownHashOid = "1.3.6.1.4.1.99999.7";

// ---- Keys -----------------------------------------------------------------------------------------------------------

enum Role {
    kRootRole,
    kUpperRole,
    kIssuerRole,
    kLeafRole,
    kDelegateRole,
    kOtherRole,
    kWrongRole,
    kElsewhereRole,
    kRoles
};
constexpr std::size_t kPool = 61;  // each case uses kRoles of them

struct KeySet {
    std::vector<Key> keys;
    std::string hash;  // of GOST
};

struct AllKeys {
    KeySet ec, gost256, gost512;
};

AllKeys& allKeys() {
    static AllKeys& keys = *new AllKeys;  // never freed: keys of an engine must not outlive OpenSSL's own clean-up
    return keys;
}

const KeySet& keySet(const Description& d, std::uint64_t number) {
    return !d.isGost ? allKeys().ec : number % 2 == 0 ? allKeys().gost256 : allKeys().gost512;
}

// ---- Certificates ---------------------------------------------------------------------------------------------------

class Maker {
public:
    Maker(const Description& description, std::uint64_t number)
        : d_(description), number_(number), keys_(keySet(description, number)) {}

    Materials make();

private:
    Key key(Role role) const { return keys_.keys[(number_ + role) % keys_.keys.size()]; }
    std::string hash() const { return d_.isGost ? keys_.hash : "SHA256"; }

    CertificateSpec specFor(const char* name, Role role, Dates dates) const;
    CertificateSpec specFor(const char* name, Role role, const Authority& authority) const;
    // By `issuer`, or with a wrong signature; self-signed without an issuer.
    Identity certify(const Identity* issuer, CertificateSpec spec, bool isForged) const;
    Bytes crl(const Identity& issuer, const Authority& authority, std::vector<Bytes> serials) const;

    void makeAuthorities();
    void makeSigner();
    void makeCrls();
    EntrySpec entry(const Entry& described) const;
    Bytes response() const;
    Bytes request() const;
    Bytes nonce(Nonce kind) const;
    Bytes stated() const;  // another signature algorithm than the right one

    const Description& d_;
    std::uint64_t number_;
    const KeySet& keys_;
    Identity root_, upper_, issuer_, leaf_, other_, signer_;
    Materials made_;
};

CertificateSpec Maker::specFor(const char* name, Role role, Dates dates) const {
    CertificateSpec spec{.commonName = name, .key = key(role)};
    spec.notBeforeSeconds = dates == Dates::kNotYetValid ? 3600 : dates == Dates::kYoung ? -600 : -kYear;
    spec.notAfterSeconds = dates == Dates::kExpired ? -3600 : kYear;
    spec.hash = hash();
    return spec;
}

CertificateSpec Maker::specFor(const char* name, Role role, const Authority& authority) const {
    CertificateSpec spec = specFor(name, role, authority.dates);
    spec.ca = authority.isCa;
    spec.pathLength = authority.pathLength;
    spec.keyUsage = std::string("critical,cRLSign") + (authority.maySignCertificates ? ",keyCertSign" : "") +
                    (authority.maySignResponses ? ",digitalSignature" : "");
    if (authority.hasUnknownCritical) {
        spec.criticalExtensions.emplace_back(kUnknownExtension, tlv::null());
    }
    return spec;
}

Identity Maker::certify(const Identity* issuer, CertificateSpec spec, bool isForged) const {
    if (issuer == nullptr) {
        return testkit::selfSigned(spec);
    }
    if (!isForged) {
        return testkit::issue(*issuer, spec);
    }
    spec.keyIdentifiers = false;
    return testkit::issue({issuer->certificate, key(kWrongRole)}, spec);
}

void Maker::makeAuthorities() {
    root_ = certify(nullptr, specFor("root", kRootRole, d_.root), false);
    upper_ = d_.depth == 2 ? certify(&root_, specFor("upper", kUpperRole, d_.upper), d_.upper.isForged) : root_;
    issuer_ = d_.depth == 0 ? root_ : certify(&upper_, specFor("issuer", kIssuerRole, d_.issuer), d_.issuer.isForged);
    other_ = certify(&root_, specFor("other", kOtherRole, Authority()), false);
    CertificateSpec leaf = specFor("leaf", kLeafRole, Dates::kValid);
    leaf.notAfterSeconds = d_.isLeafExpired ? -10L * 24 * 3600 : kYear;
    leaf_ = certify(&issuer_, leaf, d_.isLeafForged);
}

void Maker::makeSigner() {
    CertificateSpec spec = specFor("delegate", kDelegateRole, d_.delegate.dates);
    static constexpr const char* kUsages[] = {"", "critical,digitalSignature", "critical,nonRepudiation",
                                              "critical,keyEncipherment", "critical,keyCertSign"};
    static constexpr const char* kExtendedUsages[] = {"", "OCSPSigning", "OCSPSigning,serverAuth", "serverAuth",
                                                      "anyExtendedKeyUsage"};
    spec.keyUsage = kUsages[static_cast<int>(d_.delegate.keyUsage)];
    spec.extendedKeyUsage = kExtendedUsages[static_cast<int>(d_.delegate.extendedUsage)];
    spec.ocspNoCheck = d_.delegate.hasNoCheck;
    if (d_.delegate.hasUnknownCritical) {
        spec.criticalExtensions.emplace_back(kUnknownExtension, tlv::null());
    }
    switch (d_.signer) {
        case SignerKind::kIssuer:
            signer_ = issuer_;
            break;
        case SignerKind::kAbove:
            signer_ = upper_;
            break;
        case SignerKind::kLeaf:
            signer_ = leaf_;
            break;
        case SignerKind::kDelegate:
            signer_ = certify(&issuer_, spec, d_.delegate.isForged);
            break;
        case SignerKind::kDelegateOfOther:
            signer_ = certify(&other_, spec, d_.delegate.isForged);
            break;
        case SignerKind::kDelegateOfRoot:
            signer_ = certify(&upper_, spec, d_.delegate.isForged);
            break;
        case SignerKind::kSelfSigned:
            signer_ = certify(nullptr, spec, false);
            break;
        case SignerKind::kSameName:
            spec = specFor(d_.depth == 0 ? "root" : "issuer", kDelegateRole, Authority());
            signer_ = certify(nullptr, spec, false);
            break;
    }
}

Bytes Maker::crl(const Identity& issuer, const Authority& authority, std::vector<Bytes> serials) const {
    CrlSpec spec{.revokedSerials = std::move(serials), .hash = hash()};
    if (authority.crl == CrlState::kStale) {
        spec.lastUpdateSeconds = -10L * 24 * 3600;
        spec.nextUpdateSeconds = -3600;
    }
    const bool isForged = authority.crl == CrlState::kForged;
    return testkit::makeCrl(isForged ? Identity{issuer.certificate, key(kWrongRole)} : issuer, spec);
}

void Maker::makeCrls() {
    std::vector<Bytes> byRoot;
    std::vector<Bytes> byUpper;
    std::vector<Bytes> byIssuer;
    std::vector<Bytes> byOther;
    std::vector<Bytes>& above = d_.depth == 2 ? byUpper : byRoot;
    if (d_.depth == 2 && d_.upper.isRevoked) {
        byRoot.push_back(upper_.serial());
    }
    if (d_.depth > 0 && d_.issuer.isRevoked) {
        above.push_back(issuer_.serial());
    }
    if (isDelegate(d_) && d_.delegate.isRevoked) {
        std::vector<Bytes>& list = d_.signer == SignerKind::kDelegateOfOther  ? byOther
                                   : d_.signer == SignerKind::kDelegateOfRoot ? above
                                   : d_.depth == 0                            ? byRoot
                                                                              : byIssuer;
        list.push_back(signer_.serial());
    }
    const auto add = [this](const Identity& issuer, const Authority& authority, const std::vector<Bytes>& serials) {
        if (authority.crl != CrlState::kMissing) {
            made_.crls.push_back(crl(issuer, authority, serials));
        }
    };
    add(root_, d_.root, byRoot);
    if (d_.depth == 2) {
        add(upper_, d_.upper, byUpper);
    }
    if (d_.depth > 0) {
        add(issuer_, d_.issuer, byIssuer);
    }
    if (d_.signer == SignerKind::kDelegateOfOther) {
        add(other_, Authority(), byOther);
    }
}

// ---- Request and response -------------------------------------------------------------------------------------------

Bytes Maker::nonce(Nonce kind) const {
    Bytes octets = testkit::digest(testkit::kSha1Oid, testkit::bytesOf("nonce " + std::to_string(number_)));
    octets[0] ^= kind == Nonce::kOther ? 1 : 0;
    if (kind == Nonce::kLonger) {
        octets.push_back(0);
    }
    return octets;
}

Bytes Maker::request() const {
    const Bytes id = testkit::certIdOf(leaf_, issuer_).encode();
    const Bytes extensions =
        d_.requestHasNonce ? tlv::context(2, tlv::sequence({testkit::nonceExtension(nonce(Nonce::kMatching)).encode()}))
                           : Bytes();
    return tlv::sequence({tlv::sequence({tlv::sequence({tlv::sequence({id})}), extensions})});
}

EntrySpec Maker::entry(const Entry& described) const {
    const std::string hashOid = described.hash == Hash::kSha1     ? testkit::kSha1Oid
                                : described.hash == Hash::kSha512 ? testkit::kSha512Oid
                                                                  : testkit::kSha256Oid;
    testkit::CertIdSpec id = testkit::certIdOf(leaf_, issuer_, hashOid);
    if (described.about == Subject::kOtherSerial) {
        id.serial.back() ^= 1;
    } else if (described.about == Subject::kOtherName) {
        id.issuerNameHash = testkit::digest(hashOid, other_.subject());
    } else if (described.about == Subject::kOtherKey) {
        id.issuerKeyHash = testkit::digest(hashOid, key(kOtherRole).publicKeyBits());
    }
    if (described.hash == Hash::kUnknown) {
        id.hashOid = kUnknownHashOid;
    }
    EntrySpec spec(id, described.status == Status::kGood      ? EntryStatus::kGood
                       : described.status == Status::kRevoked ? EntryStatus::kRevoked
                                                              : EntryStatus::kUnknown);
    spec.revocationTime = testkit::generalizedTimeText(-40L * 24 * 3600);
    spec.revocationReason = described.reason;
    spec.thisUpdate = testkit::generalizedTimeText(described.thisUpdate);
    spec.nextUpdate.reset();
    if (described.nextUpdate) {
        spec.nextUpdate = testkit::generalizedTimeText(*described.nextUpdate);
    }
    if (described.hasExtension) {
        spec.extensions.push_back({"1.3.6.1.4.1.99999.8", false, tlv::null()});
    }
    if (described.hasUnknownCritical) {
        spec.extensions.push_back({kUnknownExtension, true, tlv::null()});
    }
    return spec;
}

Bytes Maker::stated() const {
    return d_.isGost || d_.hash == Hash::kSha512
               ? tlv::sequence({tlv::oid("1.2.840.10045.4.3.2")})   // ECDSA with SHA-256
               : tlv::sequence({tlv::oid("1.2.840.10045.4.3.4")});  // ECDSA with SHA-512
}

Bytes Maker::response() const {
    ResponseSpec spec(signer_);
    for (const Entry& one : d_.entries) {
        spec.entries.push_back(entry(one));
    }
    spec.responseStatus = d_.responseStatus;
    if (d_.hasOtherType) {
        spec.responseType = "1.3.6.1.5.5.7.48.1.99";
    }
    spec.version = d_.version;
    if (d_.hasTrailing) {
        spec.trailing = {0x05, 0x00};
    }
    const Bytes name = d_.isIdOfOther ? leaf_.subject() : signer_.subject();
    const Key& idKey = d_.isIdOfOther ? leaf_.key : signer_.key;
    const bool isLeafItself = d_.isIdOfOther && d_.signer == SignerKind::kLeaf;
    spec.responderId =
        d_.idKind == IdKind::kName
            ? tlv::context(1, isLeafItself ? other_.subject() : name)
            : tlv::context(2, tlv::octetString(testkit::digest(
                                  testkit::kSha1Oid, (isLeafItself ? key(kOtherRole) : idKey).publicKeyBits())));
    spec.producedAt = testkit::generalizedTimeText(d_.producedAt);
    if (d_.hasExtension) {
        spec.extensions.push_back({"1.3.6.1.4.1.99999.8", false, tlv::null()});
    }
    if (d_.nonce != Nonce::kAbsent) {
        spec.extensions.push_back(testkit::nonceExtension(nonce(d_.nonce)));
    }
    if (d_.hasCriticalExtension) {
        spec.extensions.push_back({kUnknownExtension, true, tlv::null()});
    }
    spec.hash = d_.isGost                  ? keys_.hash
                : d_.hash == Hash::kSha1   ? "SHA1"
                : d_.hash == Hash::kSha512 ? "SHA512"
                                           : "SHA256";
    std::vector<Bytes> carried;
    if (d_.carried == Carried::kImpostorFirst) {
        CertificateSpec impostor = specFor("", kWrongRole, Dates::kValid);
        impostor.subject = signer_.subject();
        impostor.extendedKeyUsage = "OCSPSigning";
        carried.push_back(testkit::selfSigned(impostor).certificate);
    }
    if (d_.carried != Carried::kNone) {
        carried.push_back(signer_.certificate);
    }
    if (d_.carried == Carried::kSignerAndOthers) {
        carried.insert(carried.begin() + static_cast<std::ptrdiff_t>(number_ % 2),
                       {leaf_.certificate, other_.certificate, root_.certificate});
    }
    spec.exactCertificates = carried;
    switch (d_.signing) {
        case Signing::kRight:
            break;
        case Signing::kCorrupted:
            spec.corruptSignature = true;
            break;
        case Signing::kOtherKey:
            spec.signer.key = key(kWrongRole);
            break;
        case Signing::kOtherAlgorithm:
            spec.signatureAlgorithm = stated();
            break;
    }
    return testkit::buildResponse(spec);
}

Materials Maker::make() {
    makeAuthorities();
    makeSigner();
    makeCrls();
    if (d_.isRootTrusted) {
        made_.trusted = root_.certificate;
    } else {
        made_.trusted = certify(nullptr, specFor("elsewhere", kElsewhereRole, Authority()), false).certificate;
        made_.certificates.push_back(root_.certificate);
    }
    if (d_.depth == 2) {
        made_.certificates.push_back(upper_.certificate);
    }
    made_.certificates.push_back(other_.certificate);
    made_.leaf = leaf_.certificate;
    made_.issuer = issuer_.certificate;
    made_.request = request();
    made_.response = response();
    return made_;
}

}  // namespace

bool prepareKeys() {
    AllKeys& keys = allKeys();
    for (std::size_t i = 0; i < kPool; ++i) {
        keys.ec.keys.push_back(Key::make());
        for (auto [set, bits] : {std::pair{&keys.gost256, 256}, {&keys.gost512, 512}}) {
            if (i >= kRoles + 4) {
                continue;
            }
            const std::optional<testkit::GostKey> gost = testkit::makeGostKey(bits);
            if (gost) {
                set->keys.push_back(gost->key);
                set->hash = gost->hash;
            }
        }
    }
    return !keys.gost256.keys.empty();
}

Materials makeMaterials(const Description& description, std::uint64_t number) {
    return Maker(description, number).make();
}

Files filesOf(const Materials& materials) {
    Files files{{"trusted.der", materials.trusted},
                {"leaf.der", materials.leaf},
                {"issuer.der", materials.issuer},
                {"request.der", materials.request},
                {"response.der", materials.response}};
    std::string command =
        "tallow verify --settings /dev/null --trust trusted.der --cert leaf.der --issuer issuer.der --request "
        "request.der -v";
    for (std::size_t i = 0; i < materials.certificates.size(); ++i) {
        const std::string name = "certificate-" + std::to_string(i) + ".der";
        files[name] = materials.certificates[i];
        command += " --certs " + name;
    }
    for (std::size_t i = 0; i < materials.crls.size(); ++i) {
        const std::string name = "crl-" + std::to_string(i) + ".der";
        files[name] = materials.crls[i];
        command += " --crl " + name;
    }
    files["command"] = testkit::bytesOf(command + " response.der\n");
    return files;
}

}  // namespace proof
