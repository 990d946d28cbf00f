// Decoding: responses of several sizes until identifier, status and times of every entry are available; certificates.
#include <string>

#include "asn1rt/decode.h"
#include "bench/comparison.h"
#include "bench/material.h"
#include "bench/openssl_side.h"
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

void opensslResponse(const testkit::Bytes& der, int count) {
    const OcspBasicPtr basic = parseResponse(der);
    expect(OCSP_resp_count(basic.get()) == count);
    for (int i = 0; i < count; ++i) {
        OCSP_SINGLERESP* single = OCSP_resp_get0(basic.get(), i);
        ASN1_INTEGER* serial = nullptr;
        ASN1_GENERALIZEDTIME* thisUpdate = nullptr;
        ASN1_GENERALIZEDTIME* nextUpdate = nullptr;
        OCSP_id_get0_info(nullptr, nullptr, nullptr, &serial,
                          const_cast<OCSP_CERTID*>(OCSP_SINGLERESP_get0_id(single)));
        expect(OCSP_single_get0_status(single, nullptr, nullptr, &thisUpdate, &nextUpdate) == 0);
        benchmark::DoNotOptimize(serial);
    }
}

template <class Record, auto decode>
Record* decodeRecord(ASN1CTXT& context, const testkit::Bytes& der) {
    expect(rtInitContext(&context, nullptr) == 0);
    rtCtxtSetFlag(&context, CTX_FLAG_ZERO_COPY);
    expect(xd_setp(&context, der.data(), static_cast<int>(der.size()), nullptr, nullptr) == 0);
    auto* record = static_cast<Record*>(rtMemHeapAllocZ(&context.pTypeMemHeap, sizeof(Record)));
    expect(decode(&context, record, TAG_EXPLICIT, 0) == 0);
    return record;
}

void recordResponse(const testkit::Bytes& der, unsigned count) {
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

void importResponse(const CBlob& der, std::size_t count) {
    Client::CResponse response;
    response.Import(der.pbData(), der.cbData(), nullptr);
    expect(response.get_SRNumber() == count);
}

void addResponse(unsigned count) {
    const std::string task = "decode response, entries: " + std::to_string(count);
    const testkit::Bytes der = Material::shared().response(count);
    const CBlob data = blob(der);
    addContender(task, kOpenssl, [=] { opensslResponse(der, static_cast<int>(count)); });
    addContender(task, "record", [=] { recordResponse(der, count); });
    addContender(task, "message", [=] { messageResponse(data, count); });
    addContender(task, "import", [=] { importResponse(data, count); });
}

void addCertificate() {
    const testkit::Bytes der = Material::shared().responder.certificate;
    addContender("decode certificate", kOpenssl, [=] { parseCertificate(der); });
    addContender("decode certificate", "record", [=] {
        ASN1CTXT context;
        decodeRecord<asn1data::ASN1T_Certificate, asn1data::asn1D_Certificate>(context, der);
        rtFreeContext(&context);
    });
    addContender("decode certificate", "context", [=] {
        const _CERT_CONTEXT* context =
            CertCreateCertificateContext(X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size()));
        expect(context != nullptr);
        CertFreeCertificateContext(context);
    });
}

void addLookup() {
    constexpr unsigned kCount = 1000;
    const testkit::Bytes der = Material::shared().response(kCount);
    const std::shared_ptr<OCSP_BASICRESP> basic(parseResponse(der));
    const std::shared_ptr<OCSP_CERTID> wanted(
        OCSP_CERTID_dup(OCSP_SINGLERESP_get0_id(OCSP_resp_get0(basic.get(), kCount - 1))), OCSP_CERTID_free);
    addContender("look up the last of 1000 entries", kOpenssl,
                 [=] { expect(OCSP_resp_find(basic.get(), wanted.get(), -1) == kCount - 1); });
    const auto response = std::make_shared<Client::CResponse>();
    response->Import(der.data(), der.size(), nullptr);
    const CCertID id = response->get_SRCertID(kCount - 1);
    addContender("look up the last of 1000 entries", "response",
                 [=] { expect(response->get_SRIndexByCertID(id) == kCount - 1); });
    addContender("read an entry of 1000", kOpenssl, [=] {
        OCSP_SINGLERESP* single = OCSP_resp_get0(basic.get(), kCount - 1);
        expect(OCSP_single_get0_status(single, nullptr, nullptr, nullptr, nullptr) == 0);
    });
    addContender("read an entry of 1000", "response", [=] { expect(response->get_SRStatus(kCount - 1) == 0); });
}

}  // namespace

void addDecodeTasks() {
    for (const unsigned count : {1U, 10U, 1000U, 10000U}) {
        addResponse(count);
    }
    addCertificate();
    addLookup();
}

}  // namespace bench
