// Drivers for CRLs: their size, where they come from, who signed them, and which are kept.
#include <algorithm>

#include "proof/limits/driver.h"
#include "proof/limits/measure.h"
#include "proof/limits/scene.h"
#include "tests/support/tlv.h"

namespace proof {

using namespace testkit;

namespace {

constexpr std::size_t kMiB = 1 << 20;
constexpr const char* kPointsOid = "2.5.29.31";

// A root, a CA and the root's CRL in the stores of a machine without a cache.
struct CrlScene {
    CrlScene() {
        machine.write("ROOT/root.pem", bytesOf(root.certificatePem()));
        machine.write("CA/ca.pem", bytesOf(ca.certificatePem()));
        machine.write("CA/root.crl", makeCrl(root, {}));
    }
    Identity leafWith(const std::vector<std::string>& crlUrls) const {
        return issue(ca, {.commonName = "leaf", .crlUrls = crlUrls});
    }
    bool isGood(const Identity& leaf, ChainInput input = {}) const {
        input.hasRevocation = true;
        input.hasDownloads = true;
        return chainOf(leaf.certificate, input).isSound();
    }

    const Machine machine;
    const Identity root = rootCa("root");
    const Identity ca = issueCa(root, "ca");
};

Bytes crlOfSize(const Identity& ca, std::size_t size) {
    Bytes crl = makeCrl(ca, {.extensions = {{"1.2.3", tlv::octetString(Bytes(size - 1000))}}});
    const std::size_t missing = size - crl.size();
    crl = makeCrl(ca, {.extensions = {{"1.2.3", tlv::octetString(Bytes(size - 1000 + missing))}}});
    // The signature of ECDSA has 70 to 72 octets.
    while (crl.size() != size) {
        crl = makeCrl(ca, {.extensions = {{"1.2.3", tlv::octetString(Bytes(size - 1000 + missing))}}});
    }
    return crl;
}

void reads16MiB(Probe& probe) {
    const CrlScene scene;
    Bytes crl;
    HttpServer server([&](const HttpRequest&) { return HttpReply{.body = crl}; });
    const Identity leaf = scene.leafWith({server.url()});
    crl = crlOfSize(scene.ca, 16 * kMiB);
    Memory memory;
    bool isGood = false;
    memory = memoryOf([&] { isGood = scene.isGood(leaf); });
    probe.expect(isGood, "a CRL of 16 MiB counts");
    if (isMemoryCounted()) {
        probe.measured("memory for it, with the server's", static_cast<double>(memory.most) / kMiB, "MiB");
    }
    crl = crlOfSize(scene.ca, 16 * kMiB + 1);
    probe.expect(!scene.isGood(leaf), "one octet more does not");
    probe.expect(server.requests().size() == 2, "one request for each");
}

void readsOnce(Probe& probe) {
    const CrlScene scene;
    const Identity leaf = scene.leafWith({});
    const double factor = growth(
        [&](std::size_t count) -> std::function<void()> {
            CrlSpec spec;
            for (std::size_t i = 0; i < count; ++i) {
                spec.revokedSerials.push_back({0x01, static_cast<std::uint8_t>(i >> 16),
                                               static_cast<std::uint8_t>(i >> 8), static_cast<std::uint8_t>(i)});
            }
            const Bytes crl = makeCrl(scene.ca, spec);
            return [&scene, &leaf, crl] { static_cast<void>(scene.isGood(leaf, {.crls = {crl}})); };
        },
        20000);
    probe.expectWithin(factor, 0, kLinear, "times the time for four times the entries");
    probe.measured("four times the entries", factor, "times the time");
}

void asks4Addresses(Probe& probe) {
    const CrlScene scene;
    const Bytes crl = makeCrl(scene.ca, {});
    for (const int good : {4, 5}) {
        HttpServer server([&](const HttpRequest& request) {
            return request.target == "/" + std::to_string(good) ? HttpReply{.body = crl} : HttpReply{.status = 404};
        });
        std::vector<std::string> urls;
        for (int i = 1; i <= 8; ++i) {
            urls.push_back(server.url("/" + std::to_string(i)));
        }
        probe.expect(scene.isGood(scene.leafWith(urls)) == (good == 4), "four addresses are asked");
        probe.expect(server.requests().size() == 4, "4 requests");
    }
}

// ---- Lists ----------------------------------------------------------------------------------------------------------

Bytes uriName(const std::string& uri) {
    return tlv::contextPrimitive(6, bytesOf(uri));
}
Bytes pointWithNames(const Bytes& names) {
    return tlv::sequence({tlv::context(0, tlv::context(0, names))});
}

void reads32InAList(Probe& probe) {
    const CrlScene scene;
    for (const int count : {32, 33}) {
        const std::string what = std::to_string(count) + (count == 32 ? " count: " : " do not count: ");
        CrlSpec many;
        many.number = std::nullopt;
        for (int i = 0; i < count; ++i) {
            many.extensions.emplace_back("1.2.3." + std::to_string(i), tlv::null());
        }
        probe.expect(scene.isGood(scene.leafWith({}), {.crls = {makeCrl(scene.ca, many)}}) == (count == 32),
                     what + "extensions of a CRL");

        Bytes points;
        for (int i = 0; i < count; ++i) {
            const Bytes point = pointWithNames(uriName("ldap://host/" + std::to_string(i)));
            points.insert(points.end(), point.begin(), point.end());
        }
        Identity leaf = issue(scene.ca, {.commonName = "leaf", .extensions = {{kPointsOid, tlv::sequence({points})}}});
        probe.expect(scene.isGood(leaf, {.crls = {makeCrl(scene.ca, {})}}) == (count == 32),
                     what + "distribution points");

        Bytes names;
        for (int i = 0; i < count; ++i) {
            const Bytes name = uriName("ldap://host/" + std::to_string(i));
            names.insert(names.end(), name.begin(), name.end());
        }
        leaf = issue(scene.ca,
                     {.commonName = "leaf", .extensions = {{kPointsOid, tlv::sequence({pointWithNames(names)})}}});
        probe.expect(scene.isGood(leaf, {.crls = {makeCrl(scene.ca, {})}}) == (count == 32),
                     what + "names of a distribution point");
        const Bytes scope = tlv::sequence({tlv::context(0, tlv::context(0, names))});
        leaf =
            issue(scene.ca, {.commonName = "leaf",
                             .extensions = {{kPointsOid, tlv::sequence({pointWithNames(uriName("ldap://host/0"))})}}});
        probe.expect(
            scene.isGood(leaf, {.crls = {makeCrl(scene.ca, {.criticalExtensions = {{"2.5.29.28", scope}}})}}) ==
                (count == 32),
            what + "names of a CRL's scope");
    }
}

// ---- Signers --------------------------------------------------------------------------------------------------------

// Another key of the CA, certified by the root.
Identity otherKeyOf(const CrlScene& scene) {
    return issue(scene.root, {.commonName = "ca", .ca = true, .keyIdentifiers = false});
}

void tries16CarriedSigners(Probe& probe) {
    const CrlScene scene;
    const Identity signer = otherKeyOf(scene);
    const Bytes crl = makeCrl(signer, {});
    for (const int numNamesakes : {0, 15, 16}) {
        ChainInput input{.crls = {crl}};
        for (int i = 0; i < numNamesakes; ++i) {
            input.carried.push_back(selfSigned({.commonName = "ca", .ca = true, .keyIdentifiers = false}).certificate);
        }
        input.carried.push_back(signer.certificate);
        probe.expect(scene.isGood(scene.leafWith({}), input) == (numNamesakes < 16),
                     std::to_string(numNamesakes) + " namesakes before the signer of the CRL");
    }
}

// Certificates in a store with the key of the CRL's signer, but without a path to the root.
void follows16Paths(Probe& probe) {
    const Identity stranger = rootCa("stranger");
    for (const int numBad : {15, 16}) {
        const CrlScene scene;
        const Identity signer = otherKeyOf(scene);
        Bytes all;
        for (int i = 0; i < numBad; ++i) {
            const Identity bad = issue(stranger, {.commonName = "ca",
                                                  .key = signer.key,
                                                  .serial = Bytes{0x10, static_cast<std::uint8_t>(i)},
                                                  .ca = true,
                                                  .keyIdentifiers = false});
            const Bytes pem = bytesOf(bad.certificatePem());
            all.insert(all.end(), pem.begin(), pem.end());
        }
        const Bytes pem = bytesOf(signer.certificatePem());
        all.insert(all.end(), pem.begin(), pem.end());
        scene.machine.write("CA/signers.pem", all);
        probe.expect(scene.isGood(scene.leafWith({}), {.crls = {makeCrl(signer, {})}}) == (numBad == 15),
                     std::to_string(numBad) + " certificates without a path before the signer");
    }
}

// CRL issuers, each of which names the next one for its own CRL; the CRL of the root covers the last.
void nests3Signers(Probe& probe) {
    for (const int count : {1, 3, 4}) {
        const CrlScene scene;
        ChainInput input;
        const Bytes isIndirect = tlv::sequence({tlv::contextPrimitive(4, Bytes{0xFF})});
        std::string next;
        for (int i = count; i > 0; --i) {
            const std::string name = "crl issuer " + std::to_string(i);
            CertificateSpec spec{.commonName = name, .keyUsage = "critical,cRLSign"};
            if (!next.empty()) {
                spec.extensions = {
                    {kPointsOid, tlv::sequence({tlv::sequence({tlv::context(2, tlv::raw(0xA4, commonName(next)))})})}};
            }
            const Identity signer = issue(scene.root, spec);
            input.carried.push_back(signer.certificate);
            input.crls.push_back(makeCrl(signer, {.criticalExtensions = {{"2.5.29.28", isIndirect}}}));
            next = name;
        }
        const Identity leaf =
            issue(scene.ca, {.commonName = "leaf",
                             .extensions = {{kPointsOid, tlv::sequence({tlv::sequence({tlv::context(
                                                             2, tlv::raw(0xA4, commonName("crl issuer 1")))})})}}});
        probe.expect(scene.isGood(leaf, input) == (count <= 3),
                     std::to_string(count) + " CRL issuers that depend on each other");
    }
}

// ---- Memory ---------------------------------------------------------------------------------------------------------

// What stays in memory after checks of certificates that name as many addresses, all with the same CRL of so many
// entries.
double keptAfter(const CrlScene& scene, int count, int numEntries) {
    CrlSpec spec;
    for (int i = 0; i < numEntries; ++i) {
        spec.revokedSerials.push_back({0x01, static_cast<std::uint8_t>(i >> 8), static_cast<std::uint8_t>(i)});
    }
    const Bytes crl = makeCrl(scene.ca, spec);
    HttpServer server([&](const HttpRequest&) { return HttpReply{.body = crl}; });
    std::size_t before = 0;
    for (int i = -1; i < count; ++i) {
        static_cast<void>(scene.isGood(scene.leafWith({server.url("/" + std::to_string(i))})));
        before = i < 0 ? memoryInUse() : before;
    }
    return static_cast<double>(memoryInUse() - before);
}

void keeps256Crls(Probe& probe) {
    if (!isMemoryCounted()) {
        return;
    }
    const CrlScene scene;
    constexpr int kEntries = 1500;
    const double some = keptAfter(scene, 80, kEntries);
    const double more = some + keptAfter(scene, 80, kEntries);
    probe.expectWithin(more / some, 1.8, 2.2, "160 CRLs are kept");
    const double all = 80 * (more + keptAfter(scene, 200, kEntries)) / some;
    probe.expectWithin(all, 225, 285, "CRLs that are kept after 360");
    probe.measured("CRLs kept after 360", all);
}

void keeps64MiBOfCrls(Probe& probe) {
    if (!isMemoryCounted()) {
        return;
    }
    const CrlScene scene;
    constexpr int kEntries = 40000;
    const double some = keptAfter(scene, 5, kEntries);
    probe.expect(some > 5.0 * kMiB, "5 CRLs are kept");
    const double all = some + keptAfter(scene, 95, kEntries);
    probe.expectWithin(all, 40.0 * kMiB, 66.0 * kMiB, "octets that are kept");
    probe.measured("memory of 5 CRLs", some / kMiB, "MiB");
    probe.measured("memory that 100 CRLs leave", all / kMiB, "MiB");
}

// Asks for CRLs by number, with a cache that is wanted but cannot be used.
struct UnusableCache {
    explicit UnusableCache(const CrlSpec& spec) : crl(makeCrl(scene.ca, spec)) { scene.machine.useUnusableCache(); }
    // The number of all downloads after checks that need these CRLs.
    std::size_t downloadsAfter(Probe& probe, std::size_t first, std::size_t count) {
        for (std::size_t i = first; i < first + count; ++i) {
            probe.expect(scene.isGood(scene.leafWith({server.url("/" + std::to_string(i))})), "a CRL counts");
        }
        return server.requests().size();
    }

    const CrlScene scene;
    const Bytes crl;
    HttpServer server{[this](const HttpRequest&) { return HttpReply{.body = crl}; }};
};

void remembersOnly(Probe& probe, UnusableCache& cache, std::size_t count) {
    probe.expect(cache.downloadsAfter(probe, 0, count) == count, "each is downloaded");
    probe.expect(cache.downloadsAfter(probe, 0, count) == count, "once");
    probe.expect(cache.downloadsAfter(probe, count, 1) == count + 1, "one more is downloaded");
    probe.expect(cache.downloadsAfter(probe, 0, 1) == count + 2, "it takes the place of the first");
}

void remembers256Downloads(Probe& probe) {
    UnusableCache cache({});
    remembersOnly(probe, cache, 256);
}

void remembers32MiBOfDownloads(Probe& probe) {
    UnusableCache cache({.extensions = {{"1.2.3", tlv::octetString(Bytes(kMiB - 2000))}}});
    remembersOnly(probe, cache, 32);
}

}  // namespace

std::vector<Driver> crlDrivers() {
    constexpr const char* kCrls = "CRLs";
    constexpr const char* kKept = "parsed CRLs of distribution points, kept in memory";
    constexpr const char* kRemembered = "CRLs and issuers that the cache directory cannot take, kept in memory";
    return {
        {kCrls, "16 MiB each", reads16MiB},
        {kCrls, "read once", readsOnce},
        {kCrls, "4 addresses a certificate", asks4Addresses},
        {kCrls, "32 extensions, distribution points and names in a list", reads32InAList},
        {kCrls, "16 carried signers tried for a CRL", tries16CarriedSigners},
        {kCrls, "16 paths of signers a call", follows16Paths},
        {kCrls, "3 nested", nests3Signers},
        {kKept, "256 with", keeps256Crls},
        {kKept, "64 MiB together", keeps64MiBOfCrls},
        {kRemembered, "256 with", remembers256Downloads},
        {kRemembered, "32 MiB together", remembers32MiBOfDownloads},
    };
}

}  // namespace proof
