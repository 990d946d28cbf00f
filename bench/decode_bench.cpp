// Decoding: responses of several sizes until the status of every entry has been read, lookups, certificates.
#include <memory>
#include <string>
#include <vector>

#include "asn1rt/decode.h"
#include "bench/material.h"
#include "bench/openssl_side.h"
#include "bench/row.h"
#include "client/response/response.h"
#include "message/basic_response.h"
#include "message/response_message.h"
#include "platform/crypto/crypto_service.h"
#include "schema/generated/certificates.h"
#include "schema/generated/ocsp.h"

namespace bench {

namespace {

using namespace Orvane;
using namespace Orvane::PKI::OCSP;

constexpr unsigned kMany = 1000;
constexpr unsigned kVeryMany = 10000;

Bytes rsaResponse(unsigned count, bool withCertificate) {
    const Pki& pki = Pki::of(KeyKind::kRsa2048);
    return responseOf(pki.responder, entriesOf(pki, count), withCertificate);
}

void opensslResponse(const Bytes& der, unsigned count) {
    const OcspBasicPtr basic = parseResponse(der);
    expect(OCSP_resp_count(basic.get()) == static_cast<int>(count));
    for (unsigned i = 0; i < count; ++i) {
        OCSP_SINGLERESP* single = OCSP_resp_get0(basic.get(), static_cast<int>(i));
        expect(OCSP_single_get0_status(single, nullptr, nullptr, nullptr, nullptr) == 0);
    }
}

void importResponse(const Bytes& der, unsigned count) {
    Client::CResponse response;
    response.Import(der.data(), der.size(), nullptr);
    expect(response.get_SRNumber() == count);
    for (unsigned i = 0; i < count; ++i) {
        expect(response.get_SRStatus(i) == CCertStatus::kGood);
    }
}

template <class Record, auto decode>
Record* decodeRecord(ASN1CTXT& context, const Bytes& der) {
    expect(rtInitContext(&context, nullptr) == 0);
    rtCtxtSetFlag(&context, CTX_FLAG_ZERO_COPY);
    expect(xd_setp(&context, der.data(), static_cast<int>(der.size()), nullptr, nullptr) == 0);
    auto* record = static_cast<Record*>(rtMemHeapAllocZ(&context.pTypeMemHeap, sizeof(Record)));
    expect(decode(&context, record, TAG_EXPLICIT, 0) == 0);
    return record;
}

void recordResponse(const Bytes& der, unsigned count) {
    ASN1CTXT context;
    auto* response = decodeRecord<asn1data::ASN1T_OCSPResponse, asn1data::asn1D_OCSPResponse>(context, der);
    const auto* basic = static_cast<asn1data::ASN1T_BasicOCSPResponse*>(response->responseBytes.responseObject.decoded);
    expect(basic->tbsResponseData.responses.count == count);
    rtFreeContext(&context);
}

void messageResponse(const CBlob& der, std::size_t count) {
    CResponseMessage message;
    message.decode(der);
    CBasicResponse basic;
    basic.decode(message.get_response());
    expect(basic.get_responses().size() == count);
}

void addResponses() {
    const auto add = [](const std::string& name, unsigned count, bool withCertificate) {
        addRow(name, [=] {
            const Bytes der = rsaResponse(count, withCertificate);
            return Row{.openssl = [=](std::size_t) { opensslResponse(der, count); },
                       .tallow = [=](std::size_t) { importResponse(der, count); }};
        });
    };
    add("decode without certificates, 1 entry", 1, false);
    add("decode without certificates, 1000 entries", kMany, false);
    add("decode without certificates, 10000 entries", kVeryMany, false);
    addEntryCost("cost of an entry in 10000, relative to 1000", "decode without certificates, 10000 entries", kVeryMany,
                 "decode without certificates, 1000 entries", kMany);
    add("decode with an RSA certificate, 1 entry", 1, true);
    add("decode with an RSA certificate, 1000 entries", kMany, true);
    addRow("decode into schema records, 1000 entries", [] {
        const Bytes der = rsaResponse(kMany, false);
        return Row{.openssl = [=](std::size_t) { opensslResponse(der, kMany); },
                   .tallow = [=](std::size_t) { recordResponse(der, kMany); }};
    });
    addRow("decode into message classes, 1000 entries", [] {
        const Bytes der = rsaResponse(kMany, false);
        const CBlob data = blob(der);
        return Row{.openssl = [=](std::size_t) { opensslResponse(der, kMany); },
                   .tallow = [=](std::size_t) { messageResponse(data, kMany); }};
    });
}

struct Decoded {
    OcspBasicPtr basic;
    std::unique_ptr<Client::CResponse> imported = std::make_unique<Client::CResponse>();
};

Decoded decodeBoth(const Bytes& der) {
    Decoded decoded{.basic = parseResponse(der)};
    decoded.imported->Import(der.data(), der.size(), nullptr);
    return decoded;
}

// Looks up the leaf, which is the last entry. With `first` each call has a response that was just decoded.
Row lookupRow(bool first) {
    constexpr std::size_t kLookupsBefore = 50;  // enough for any index to be built
    constexpr std::size_t kMaxDecoded = 4;      // more would not fit into the processor's caches
    const Bytes der = rsaResponse(kMany, false);
    const Pki& pki = Pki::of(KeyKind::kRsa2048);
    const std::shared_ptr<OCSP_CERTID> opensslId = identifierOf(pki.leaf.certificate, pki.root.certificate);
    const CCertID id = decodeBoth(der).imported->get_SRCertID(kMany - 1);
    const auto decoded = std::make_shared<std::vector<Decoded>>();
    return {.openssl =
                [=](std::size_t call) {
                    expect(OCSP_resp_find(decoded->at(first ? call : 0).basic.get(), opensslId.get(), -1) == kMany - 1);
                },
            .tallow =
                [=](std::size_t call) {
                    expect(decoded->at(first ? call : 0).imported->get_SRIndexByCertID(id) == kMany - 1);
                },
            .prepare =
                [=](std::size_t calls) {
                    decoded->clear();
                    for (std::size_t i = 0; i < (first ? calls : 1); ++i) {
                        decoded->push_back(decodeBoth(der));
                    }
                    for (std::size_t i = 0; i < (first ? 0 : kLookupsBefore); ++i) {
                        expect(decoded->at(0).imported->get_SRIndexByCertID(id) == kMany - 1);
                    }
                },
            .maxCalls = first ? kMaxDecoded : kAnyNumber};
}

void addLookups() {
    addRow("find the last of 1000 entries, first lookup", [] { return lookupRow(true); });
    addRow("find the last of 1000 entries, again and again", [] { return lookupRow(false); });
}

void openContext(const Bytes& der) {
    const _CERT_CONTEXT* context =
        CertCreateCertificateContext(X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size()));
    expect(context != nullptr);
    CertFreeCertificateContext(context);
}

void addCertificates() {
    addRow("decode a certificate with 11 KB of extensions", [] {
        constexpr int kExtensions = 60;
        constexpr std::size_t kExtensionSize = 160;
        testkit::CertificateSpec spec;
        for (int i = 0; i < kExtensions; ++i) {
            spec.extensions.emplace_back("1.3.6.1.4.1.55555." + std::to_string(i), Bytes(kExtensionSize, 0x41));
        }
        const Bytes der = testkit::selfSigned(spec).certificate;
        return Row{.openssl = [=](std::size_t) { parseCertificate(der); },
                   .tallow =
                       [=](std::size_t) {
                           ASN1CTXT context;
                           decodeRecord<asn1data::ASN1T_Certificate, asn1data::asn1D_Certificate>(context, der);
                           rtFreeContext(&context);
                       }};
    });
    addRow("open a certificate, RSA, new", [] {
        constexpr std::size_t kMaxCertificates = 40;
        const auto fresh = std::make_shared<std::vector<Bytes>>();
        return Row{.openssl = [=](std::size_t call) { parseCertificate(fresh->at(call)); },
                   .tallow = [=](std::size_t call) { openContext(fresh->at(call)); },
                   .prepare = [=](std::size_t calls) { *fresh = Pki::of(KeyKind::kRsa2048).freshCertificates(calls); },
                   .maxCalls = kMaxCertificates};
    });
    addRow("open a certificate, RSA, warm", [] {
        const Bytes der = Pki::of(KeyKind::kRsa2048).responder.certificate;
        return Row{.openssl = [=](std::size_t) { parseCertificate(der); },
                   .tallow = [=](std::size_t) { openContext(der); }};
    });
}

}  // namespace

void addDecodeRows() {
    addResponses();
    addLookups();
    addCertificates();
}

}  // namespace bench
