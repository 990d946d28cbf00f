// Verification: from the bytes of a response to the verdict on one certificate, without a network.
#include <memory>
#include <string>
#include <vector>

#include "bench/material.h"
#include "bench/openssl_side.h"
#include "bench/row.h"
#include "bench/verdict.h"

namespace bench {

namespace {

using namespace Orvane::PKI::OCSP;

// What the contenders of one row need besides responses.
struct Verdicts {
    explicit Verdicts(const Pki& pki)
        : machine(pki.root),
          store(storeWith(pki.root.certificate)),
          opensslId(identifierOf(pki.leaf.certificate, pki.root.certificate)),
          request(requestOf(pki)) {}

    Machine machine;
    std::shared_ptr<X509_STORE> store;
    OcspCertIdPtr opensslId;
    std::shared_ptr<Client::CRequest> request;
    std::vector<Bytes> responses;
};

// Each response is by a responder that no contender has seen: another key, another certificate.
Row newRow(KeyKind kind, unsigned count, std::size_t maxCalls) {
    const Pki& pki = Pki::of(kind);
    const auto verdicts = std::make_shared<Verdicts>(pki);
    const std::vector<testkit::EntrySpec> entries = entriesOf(pki, count);
    return {.openssl =
                [=](std::size_t call) {
                    opensslVerdict(verdicts->responses.at(call), verdicts->store.get(), verdicts->opensslId.get());
                },
            .tallow = [=](std::size_t call) { verdict(verdicts->responses.at(call), *verdicts->request); },
            .prepare =
                [=, &pki](std::size_t calls) {
                    verdicts->responses.clear();
                    for (std::size_t i = 0; i < calls; ++i) {
                        verdicts->responses.push_back(responseOf(pki.freshResponder(), entries));
                    }
                },
            .maxCalls = maxCalls};
}

Row warmRow(KeyKind kind, unsigned count) {
    const Pki& pki = Pki::of(kind);
    const auto verdicts = std::make_shared<Verdicts>(pki);
    const Bytes der = responseOf(pki.responder, entriesOf(pki, count));
    return {.openssl = [=](std::size_t) { opensslVerdict(der, verdicts->store.get(), verdicts->opensslId.get()); },
            .tallow = [=](std::size_t) { verdict(der, *verdicts->request); }};
}

Row signatureRow() {
    const Pki& pki = Pki::of(KeyKind::kRsa2048);
    const auto machine = std::make_shared<Machine>(pki.root);
    const Bytes der = responseOf(pki.responder, entriesOf(pki, 1));
    return {.openssl =
                [=](std::size_t) {
                    expect(OCSP_basic_verify(parseResponse(der).get(), nullptr, nullptr, OCSP_NOVERIFY) == 1);
                },
            .tallow =
                [=](std::size_t) {
                    static_cast<void>(machine);  // in force as long as the row exists
                    Client::CResponse response;
                    response.Import(der.data(), der.size(), nullptr);
                    expect(response.Verify(nullptr, nullptr) == 0);
                }};
}

}  // namespace

void addVerifyRows() {
    constexpr std::size_t kMaxNew = 40;
    constexpr std::size_t kMaxNewLarge = 8;
    addRow("decode, verify, find: RSA, 1 entry, new", [] { return newRow(KeyKind::kRsa2048, 1, kMaxNew); });
    addRow("decode, verify, find: RSA, 1 entry, warm", [] { return warmRow(KeyKind::kRsa2048, 1); });
    addRow("decode, verify, find: EC, 1 entry, new", [] { return newRow(KeyKind::kEcP256, 1, kMaxNew); });
    addRow("decode, verify, find: EC, 1 entry, warm", [] { return warmRow(KeyKind::kEcP256, 1); });
    addRow("decode, verify, find: RSA, 1000 entries, new",
           [] { return newRow(KeyKind::kRsa2048, 1000, kMaxNewLarge); });
    addRow("decode, verify, find: RSA, 1000 entries, warm", [] { return warmRow(KeyKind::kRsa2048, 1000); });
    addRow("decode, check the signature only: RSA, warm", signatureRow);
}

}  // namespace bench
