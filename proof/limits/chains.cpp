// Drivers for the search for a chain, its verification and its downloads.
#include <algorithm>

#include "proof/limits/driver.h"
#include "proof/limits/measure.h"
#include "proof/limits/scene.h"
#include "tests/support/tlv.h"

namespace proof {

using namespace testkit;

namespace {

constexpr std::size_t kKiB = 1024;

// A machine that trusts a root, and what all drivers build below it.
struct Tree {
    explicit Tree(const std::string& crypto = "") : machine(crypto), root(rootCa("root")) {
        machine.write("ROOT/root.pem", bytesOf(root.certificatePem()));
    }

    // A CA with the name "ca" and this key, without key identifiers: candidates are then tried in their order.
    Bytes namesake(const Identity& issuer, const Key& key, CertificateSpec spec = {}) const {
        spec.commonName = "ca";
        spec.key = key;
        spec.ca = true;
        spec.keyIdentifiers = false;
        return issue(issuer, spec).certificate;
    }

    const Machine machine;
    const Identity root;
    const Identity ca = issueCa(root, "ca");
    const Identity leaf = issue(ca, {.commonName = "leaf", .keyIdentifiers = false});
};

void has12Certificates(Probe& probe) {
    const Tree tree;
    for (const int count : {12, 13}) {
        ChainInput input;
        Identity issuer = tree.root;
        for (int i = 2; i < count; ++i) {
            issuer = issueCa(issuer, "ca " + std::to_string(i));
            input.carried.push_back(issuer.certificate);
        }
        const ChainResult chain = chainOf(issue(issuer, {.commonName = "leaf"}).certificate, input);
        probe.expect(chain.isSound() == (count == 12),
                     "a chain of " + std::to_string(count) + (count == 12 ? " counts" : " does not count"));
        probe.expect(chain.numElements <= 12, "at most 12 elements");
    }
}

// CAs with the name and the key of the genuine one, each issued by another CA that does not exist.
void follows64(Probe& probe) {
    const Tree tree;
    const Identity stranger = rootCa("stranger");
    for (const int numDeadEnds : {62, 63}) {
        ChainInput input;
        for (int i = 0; i < numDeadEnds; ++i) {
            input.carried.push_back(
                tree.namesake(stranger, tree.ca.key, {.issuer = commonName("absent " + std::to_string(i))}));
        }
        input.carried.push_back(tree.namesake(tree.root, tree.ca.key));
        probe.expect(chainOf(tree.leaf.certificate, input).isSound() == (numDeadEnds == 62),
                     "the 64th certificate is followed, and no other");
    }
}

// CAs that may not sign certificates, before the one that may.
ChainInput faultyPaths(const Tree& tree, int count, std::size_t octetsEach = 0) {
    ChainInput input;
    for (int i = 0; i < count; ++i) {
        CertificateSpec spec{.keyUsage = "critical,cRLSign"};
        if (octetsEach > 0) {
            spec.extensions = {{"1.2.3", tlv::octetString(Bytes(octetsEach))}};
        }
        input.carried.push_back(tree.namesake(tree.root, tree.ca.key, spec));
    }
    input.carried.push_back(tree.namesake(tree.root, tree.ca.key));
    return input;
}

void verifies8Paths(Probe& probe) {
    const Tree tree;
    probe.expect(chainOf(tree.leaf.certificate, faultyPaths(tree, 7)).isSound(), "the eighth path is found");
    probe.expect(!chainOf(tree.leaf.certificate, faultyPaths(tree, 8)).isSound(), "the ninth is not");
    const ChainInput many = faultyPaths(tree, 40);
    const int paths = pathsValidated([&] { static_cast<void>(chainOf(tree.leaf.certificate, many)); });
    probe.expectWithin(paths, 8, 8, "paths that are verified");
}

void verifies256KiB(Probe& probe) {
    const Tree tree;
    probe.expect(chainOf(tree.leaf.certificate, faultyPaths(tree, 2, 126 * kKiB)).isSound(),
                 "a path after 252 KiB is verified");
    probe.expect(!chainOf(tree.leaf.certificate, faultyPaths(tree, 2, 128 * kKiB)).isSound(), "none after 256 KiB");
}

void verifiesOneUntrustedPath(Probe& probe) {
    const Tree tree;
    ChainInput input;
    for (int i = 0; i < 20; ++i) {
        input.carried.push_back(selfSigned({.commonName = "ca",
                                            .key = tree.ca.key,
                                            .serial = Bytes{0x10, static_cast<std::uint8_t>(i)},
                                            .ca = true,
                                            .keyIdentifiers = false})
                                    .certificate);
    }
    const int paths = pathsValidated([&] {
        probe.expect((chainOf(tree.leaf.certificate, input).error & CERT_TRUST_IS_UNTRUSTED_ROOT) != 0,
                     "a chain to an untrusted root");
    });
    probe.expectWithin(paths, 1, 1, "paths that are verified");
    input.carried.push_back(tree.namesake(tree.root, tree.ca.key));
    probe.expect(chainOf(tree.leaf.certificate, input).isSound(), "a trusted path beside 20 untrusted ones is found");
}

// Namesakes of the CA with other keys, and CRLs in its name that others signed.
void checks100Signatures(Probe& probe) {
    const Tree tree;
    const Identity stranger = rootCa("stranger");
    ChainInput input{.hasRevocation = true};
    input.carried.push_back(tree.namesake(tree.root, tree.ca.key));
    for (int i = 0; i < 300; ++i) {
        input.carried.push_back(tree.namesake(stranger, Key::make()));
    }
    const Identity forger = selfSigned({.commonName = "ca", .ca = true});
    const Identity rootForger = selfSigned({.commonName = "root", .ca = true});
    for (int i = 0; i < 150; ++i) {
        const CrlSpec spec{.lastUpdateSeconds = -1000 - i, .number = Bytes{static_cast<std::uint8_t>(i % 100 + 1)}};
        input.crls.push_back(makeCrl(forger, spec));
        input.crls.push_back(makeCrl(rootForger, spec));
    }
    ChainResult result;
    const int made = signatureChecks([&] { result = chainOf(tree.leaf.certificate, input); });
    probe.expect(!result.isSound(), "the revocation status is unknown");
    probe.expectWithin(made, 70, 100, "signature checks of one chain");
    probe.measured("signature checks of a hostile chain", made);
    // Within the limit: as many namesakes as there are checks for the search.
    const auto hidden = [&](int numNamesakes) {
        ChainInput few;
        for (int i = 0; i < numNamesakes; ++i) {
            few.carried.push_back(tree.namesake(stranger, Key::make()));
        }
        few.carried.push_back(tree.namesake(tree.root, tree.ca.key));
        // A new certificate: who signed one is remembered by the process.
        return !chainOf(issue(tree.ca, {.commonName = "leaf", .keyIdentifiers = false}).certificate, few).isSound();
    };
    probe.expect(!hidden(60), "60 namesakes do not hide a CA");
    probe.expect(hidden(100), "100 do");
}

// ---- Downloads ------------------------------------------------------------------------------------------------------

// A server for the certificates of a chain, each of which names the next one's address.
struct DownloadedChain {
    DownloadedChain(const Tree& tree, int count, int delayMs = 0) {
        server = new HttpServer([this, delayMs](const HttpRequest& request) {  // not waited for
            return HttpReply{.body = bodies.at(std::stoul(request.target.substr(1))), .delayMs = delayMs};
        });
        Identity issuer = tree.root;
        for (int i = count; i > 0; --i) {
            issuer = issue(issuer, {.commonName = "ca " + std::to_string(i),
                                    .ca = true,
                                    .caIssuersUrls = {server->url("/" + std::to_string(bodies.size() - 1))}});
            bodies.push_back(issuer.certificate);
        }
        leaf = issue(issuer,
                     {.commonName = "leaf", .caIssuersUrls = {server->url("/" + std::to_string(bodies.size() - 1))}});
    }
    ChainResult chain() const { return chainOf(leaf.certificate, {.hasDownloads = true}); }

    HttpServer* server = nullptr;
    std::vector<Bytes> bodies = {{}};
    Identity leaf;
};

void downloads8(Probe& probe) {
    const Tree tree;
    const DownloadedChain eight(tree, 8);
    probe.expect(eight.chain().isSound(), "8 issuers are downloaded");
    probe.expect(eight.server->requests().size() == 8, "8 requests");
    const DownloadedChain nine(tree, 9);
    probe.expect(!nine.chain().isSound(), "the ninth is not");
    probe.expect(nine.server->requests().size() == 8, "8 requests again");
}

void downloadsIn15Seconds(Probe& probe) {
    const Tree tree;
    const DownloadedChain slow(tree, 6, 4000);
    ChainResult result;
    const double seconds = secondsOf([&] { result = slow.chain(); });
    probe.expect(!result.isSound(), "downloads of 24 s do not lead to the root");
    probe.expectWithin(seconds, 14.9, 15 + kLate, "seconds");
    probe.measured("slow downloads for a chain took", seconds, "s");
    std::_Exit(0);
}

// An issuer from an https server whose own certificate names addresses for everything.
void startsNoOtherCheck(Probe& probe) {
    const Tree tree;
    HttpServer named([](const HttpRequest&) { return HttpReply{.status = 404}; });
    const Identity site = selfSigned({.commonName = "127.0.0.1",
                                      .ocspUrls = {named.url("/ocsp")},
                                      .caIssuersUrls = {named.url("/ca")},
                                      .crlUrls = {named.url("/crl")},
                                      .extensions = {{"2.5.29.17", fromHex("3006 8704 7F000001")}}});
    const std::string bundle = tree.machine.folder().write("bundle.pem", site.certificatePem());
    tree.machine.use("system_bundle = \"" + bundle + "\"\n");
    HttpServer secure([&](const HttpRequest&) { return HttpReply{.body = tree.ca.certificate}; }, &site);
    const Identity leaf = issue(tree.ca, {.commonName = "leaf", .caIssuersUrls = {secure.url()}});
    probe.expect(chainOf(leaf.certificate, {.hasDownloads = true}).isSound(), "the issuer comes over https");
    probe.expect(secure.requests().size() == 1, "one request for it");
    probe.expect(named.numConnections() == 0, "nothing that the server's certificate names is asked");
}

// Two chains in one check, with issuers of these sizes; the number of requests.
std::size_t requestsFor(const Tree& tree, const std::vector<std::size_t>& sizes, Probe& probe) {
    std::vector<Identity> issuers;
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        issuers.push_back(issue(tree.root, {.commonName = "ca " + std::to_string(i),
                                            .ca = true,
                                            .extensions = {{"1.2.3", tlv::octetString(Bytes(sizes[i]))}}}));
    }
    HttpServer server([&](const HttpRequest& request) {
        return HttpReply{.body = issuers.at(std::stoul(request.target.substr(1))).certificate};
    });
    CRYPTO_CHECK check{};
    check.cbSize = sizeof check;
    check.pwszProxy = check.pwszProxyCredentials = L"";
    probe.expect(crypto_begin_check(&check) != FALSE, "a check begins");
    for (int round = 0; round < 2; ++round) {
        for (std::size_t i = 0; i < sizes.size(); ++i) {
            const Identity leaf = issue(issuers[i], {.commonName = "leaf " + std::to_string(round),
                                                     .caIssuersUrls = {server.url("/" + std::to_string(i))}});
            probe.expect(chainOf(leaf.certificate, {.hasDownloads = true}).isSound(), "a sound chain");
        }
    }
    crypto_end_check(&check);
    return server.requests().size();
}

void downloadsIssuersOnce(Probe& probe) {
    const Tree tree;
    probe.expect(requestsFor(tree, {1000, 1000, 1000}, probe) == 3, "3 requests for 3 issuers that are needed twice");
    probe.expect(requestsFor(tree, {600 * kKiB, 400 * kKiB}, probe) == 2, "1000 KiB are kept");
    probe.expect(requestsFor(tree, {600 * kKiB, 500 * kKiB}, probe) == 3, "1100 KiB are not");
    // What is known counts: the second chain needs nothing new.
    const Identity below = issue(tree.ca, {.commonName = "below", .ca = true});
    HttpServer server([&](const HttpRequest&) { return HttpReply{.body = tree.ca.certificate}; });
    const Identity named =
        issue(tree.ca, {.commonName = "below", .key = below.key, .ca = true, .caIssuersUrls = {server.url("/ca")}});
    HttpServer second([&](const HttpRequest&) { return HttpReply{.body = named.certificate}; });
    CRYPTO_CHECK check{};
    check.cbSize = sizeof check;
    check.pwszProxy = check.pwszProxyCredentials = L"";
    probe.expect(crypto_begin_check(&check) != FALSE, "a check begins");
    const auto isSoundWith = [&](int maxFetches) {
        tree.machine.use("max_chain_fetches = " + std::to_string(maxFetches) + "\n");
        const Identity leaf = issue(below, {.commonName = "leaf", .caIssuersUrls = {second.url()}});
        return chainOf(leaf.certificate, {.hasDownloads = true}).isSound();
    };
    probe.expect(isSoundWith(2), "two downloads lead to the root");
    probe.expect(!isSoundWith(1), "one does not, although both are known");
    probe.expect(isSoundWith(2), "both are known");
    probe.expect(server.requests().size() == 1 && second.requests().size() == 1, "one request for each");
    crypto_end_check(&check);
}

}  // namespace

std::vector<Driver> chainDrivers() {
    constexpr const char* kChain = "a chain";
    return {
        {kChain, "12 certificates", has12Certificates},
        {kChain, "64 followed", follows64},
        {kChain, "8 paths verified", verifies8Paths},
        {kChain, "none after 256 KiB of them", verifies256KiB},
        {kChain, "only the first if none ends at a trusted root", verifiesOneUntrustedPath},
        {kChain, "100 signature checks, besides those repeated for each path verified", checks100Signatures},
        {kChain, "8 downloads", downloads8},
        {kChain, "in 15 s together", downloadsIn15Seconds, 15},
        {kChain, "a download never starts another check", startsNoOtherCheck},
        {kChain, "issuers of one check are downloaded once (1 MiB kept), and count each time", downloadsIssuersOnce},
    };
}

}  // namespace proof
