// Drivers for searches by name: issuers in another spelling, signers of responses and requests, issuers of
// certificates.
#include <algorithm>

#include "proof/limits/driver.h"
#include "proof/limits/measure.h"
#include "proof/limits/scene.h"
#include "tests/support/openssl_ptr.h"
#include "tests/support/tlv.h"

namespace proof {

using namespace testkit;
using tallow::Answer;
using tallow::Checker;

namespace {

constexpr std::size_t kKiB = 1024;

// Certificates of others, each with a name of `octetsEach` octets, that all have one key.
std::vector<Bytes> fillers(std::size_t count, std::size_t octetsEach = 0) {
    const Identity other = rootCa("other");
    std::vector<Bytes> all;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string name = "filler " + std::to_string(i) + std::string(octetsEach, 'x');
        all.push_back(issue(other, {.key = other.key, .subject = commonName(name), .ca = true}).certificate);
    }
    return all;
}

// A certificate whose issuer is named in capitals, in another string type.
Identity leafOfOtherSpelling(const Identity& ca, const std::string& name) {
    const Bytes issuer = tlv::sequence({tlv::set({tlv::sequence({tlv::oid("2.5.4.3"), tlv::printableString(name)})})});
    return issue(ca, {.commonName = "leaf", .issuer = issuer});
}

void searches256Names(Probe& probe) {
    const Identity root = rootCa("root");
    const Identity ca = issueCa(root, "ca");
    const Machine machine;
    machine.write("ROOT/root.pem", bytesOf(root.certificatePem()));
    const Identity leaf = leafOfOtherSpelling(ca, "CA");
    const auto isFound = [&](std::vector<Bytes> before) {
        before.push_back(ca.certificate);
        return chainOf(leaf.certificate, {.carried = before}).isSound();
    };
    probe.expect(isFound({}), "an issuer in another spelling is found");
    probe.expect(isFound(fillers(255)), "after 255 other names");
    probe.expect(!isFound(fillers(256)), "not after 256");
    probe.expect(isFound(fillers(25, 10 * kKiB)), "after 250 KiB of names");
    probe.expect(!isFound(fillers(27, 10 * kKiB)), "not after 270 KiB");
    // Those of a store do not hide the one in the message.
    Bytes file;
    for (const Bytes& filler : fillers(300)) {
        const Bytes pem = bytesOf(toPem(filler, "CERTIFICATE"));
        file.insert(file.end(), pem.begin(), pem.end());
    }
    machine.write("CA/fillers.pem", file);
    probe.expect(isFound({}), "300 names in a store do not hide one in the message");
}

// A chain of five CAs, each of which names the next in another spelling.
void parsesEachNameOnce(Probe& probe) {
    const Machine machine;
    const Identity root = rootCa("root");
    machine.write("ROOT/root.pem", bytesOf(root.certificatePem()));
    const auto named = [&](std::size_t numFillers) {
        ChainInput input{.carried = fillers(numFillers)};
        Identity issuer = root;
        std::string name = "ROOT";
        for (int i = 0; i < 5; ++i) {
            const Bytes spelled =
                tlv::sequence({tlv::set({tlv::sequence({tlv::oid("2.5.4.3"), tlv::printableString(name)})})});
            issuer = issue(issuer, {.commonName = "ca " + std::to_string(i), .issuer = spelled, .ca = true});
            name = "CA " + std::to_string(i);
            input.carried.push_back(issuer.certificate);
        }
        const Identity leaf = leafOfOtherSpelling(issuer, name);
        return namesDecoded([&] { probe.expect(chainOf(leaf.certificate, input).isSound(), "the chain is found"); });
    };
    const int few = named(20);
    const int many = named(220);
    probe.expectWithin(many - few, 0, 200, "names that are decoded for 200 certificates more");
    probe.measured("names decoded for 226 certificates in a chain of seven", many);
}

// Certificates with the name of the signer and other keys, before its own.
void tries64Signers(Probe& probe) {
    const Machine machine;
    const SmallPki pki;
    const Identity signer = pki.delegate();
    std::vector<Bytes> namesakes;
    for (int i = 0; i < 300; ++i) {
        namesakes.push_back(selfSigned({.commonName = "responder"}).certificate);
    }
    const tallow::Stored stored{.certificate = pki.leaf.certificate, .issuer = pki.ca.certificate};
    const auto answer = [&](std::ptrdiff_t numNamesakes, bool isInTrust) {
        ResponseSpec spec = pki.good(signer);
        spec.exactCertificates = std::vector<Bytes>(namesakes.begin(), namesakes.begin() + numNamesakes);
        tallow::Trust trust = pki.trust();
        if (isInTrust) {
            trust.addCertificates(signer.certificate);
        } else {
            spec.exactCertificates->push_back(signer.certificate);
        }
        return Checker(trust).verify(buildResponse(spec), stored)[0].answer;
    };
    probe.expect(answer(63, false) == Answer::kGood, "the 64th certificate in the response is tried");
    probe.expect(answer(64, false) == Answer::kUnproven, "the 65th is not");
    probe.expect(answer(40, true) == Answer::kGood, "one in the trust is tried after 40 in the response");
    probe.expect(answer(64, true) == Answer::kUnproven, "and not after 64");
    const int made = signatureChecks([&] { static_cast<void>(answer(300, false)); });
    probe.expectWithin(made, 64, 70, "signature checks with 300 namesakes");
    probe.measured("signature checks with 300 namesakes", made);
}

void tries64Issuers(Probe& probe) {
    const Machine machine;
    const SmallPki pki;
    for (const int numNamesakes : {63, 64, 300}) {
        tallow::Trust trust = pki.trust();
        Bytes all;
        for (int i = 0; i < numNamesakes; ++i) {
            const Bytes pem =
                bytesOf(selfSigned({.commonName = "ca", .ca = true, .keyIdentifiers = false}).certificatePem());
            all.insert(all.end(), pem.begin(), pem.end());
        }
        const Bytes genuine = bytesOf(pki.ca.certificatePem());
        all.insert(all.end(), genuine.begin(), genuine.end());
        trust.addCertificates(all);
        tallow::Bytes issuer;
        const int made =
            signatureChecks([&] { issuer = Checker(trust, {.downloads = false}).issuerOf(pki.leaf.certificate); });
        probe.expect(numNamesakes >= 64 || issuer == pki.ca.certificate, "the 64th certificate is tried");
        probe.measured("signature checks for " + std::to_string(numNamesakes) + " namesakes of the issuer", made);
        probe.expectWithin(made, 0, 64 + 100, "signature checks in the store, and for a chain");
    }
}

// A request in which the certificates come in this order.
Bytes signedRequest(const SmallPki& pki, const Identity& signer, const std::vector<Bytes>& certificates) {
    const Bytes list = tlv::sequence({tlv::sequence({certIdOf(pki.leaf, pki.ca).encode()})});
    const Bytes body = tlv::sequence({tlv::context(1, tlv::raw(0xA4, signer.subject())), list});
    const Signature signature = sign(body, signer.key.get(), "SHA256");
    Bytes all;
    for (const Bytes& certificate : certificates) {
        all.insert(all.end(), certificate.begin(), certificate.end());
    }
    return tlv::sequence({body, tlv::context(0, tlv::sequence({signature.algorithm, tlv::bitString(signature.octets),
                                                               tlv::context(0, tlv::sequence({all}))}))});
}

void tries16Requestors(Probe& probe) {
    const Machine machine;
    const SmallPki pki;
    const Identity signer = issue(pki.ca, {.commonName = "requestor"});
    const Checker checker(pki.trust().addCertificates(pki.ca.certificate));
    for (const int numNamesakes : {0, 15, 16, 200}) {
        std::vector<Bytes> certificates;
        for (int i = 0; i < numNamesakes; ++i) {
            certificates.push_back(selfSigned({.commonName = "requestor"}).certificate);
        }
        certificates.push_back(signer.certificate);
        const Bytes request = signedRequest(pki, signer, certificates);
        tallow::ReceivedRequest received;
        const int made = signatureChecks([&] { received = checker.receive(request); });
        const bool isProven = received.signer == tallow::ReceivedRequest::Signer::kProven;
        probe.expect(isProven == (numNamesakes < 16),
                     std::to_string(numNamesakes) + " namesakes before the requestor: " + received.cause);
        probe.expectWithin(made, 1, 16 + 10, "signature checks");
    }
}

}  // namespace

std::vector<Driver> signerDrivers() {
    constexpr const char* kSpelling = "an issuer whose name has another spelling";
    return {
        {kSpelling, "256 names and 256 KiB of roots, of stores, of downloads and of the message", searches256Names},
        {kSpelling, "each name parsed once", parsesEachNameOnce},
        {"the signer of a response",
         "64 certificates that fit the responder id tried, those in the response and in all stores together",
         tries64Signers},
        {"the issuer of a certificate to check", "64 certificates of its name tried in one store", tries64Issuers},
        {"a received request", "16 certificates of the requestor's name tried by `FindSigner`", tries16Requestors},
    };
}

}  // namespace proof
