#include "proof/forgeries/contenders.h"

#include <openssl/ocsp.h>

#include <memory>
#include <stdexcept>

#include "checker/checker.h"
#include "tests/support/openssl_ptr.h"
#include "tests/support/process.h"
#include "tests/support/temp_dir.h"

namespace proof {

namespace {

using testkit::FreeWith;

struct FreeStack {
    void operator()(STACK_OF(X509) * certificates) const { sk_X509_pop_free(certificates, X509_free); }
};

using ResponsePtr = std::unique_ptr<OCSP_RESPONSE, FreeWith<OCSP_RESPONSE_free>>;
using RequestPtr = std::unique_ptr<OCSP_REQUEST, FreeWith<OCSP_REQUEST_free>>;
using BasicPtr = std::unique_ptr<OCSP_BASICRESP, FreeWith<OCSP_BASICRESP_free>>;
using CertIdPtr = std::unique_ptr<OCSP_CERTID, FreeWith<OCSP_CERTID_free>>;
using StorePtr = std::unique_ptr<X509_STORE, FreeWith<X509_STORE_free>>;
using StackPtr = std::unique_ptr<STACK_OF(X509), FreeStack>;

Answer answerOf(int status) {
    return status == V_OCSP_CERTSTATUS_GOOD      ? Answer::kGood
           : status == V_OCSP_CERTSTATUS_REVOKED ? Answer::kRevoked
                                                 : Answer::kUnknown;
}

constexpr long kTolerance = 180;
constexpr int kWrongUsage = 64;

// The materials as files of a directory, whose names are those of filesOf, and certificates also as PEM.
struct Folder {
    explicit Folder(const Materials& materials) {
        for (const auto& [name, content] : filesOf(materials)) {
            dir.write(name, content);
        }
        std::string others = testkit::toPem(materials.issuer, "CERTIFICATE");
        for (const Bytes& certificate : materials.certificates) {
            others += testkit::toPem(certificate, "CERTIFICATE");
        }
        dir.write("others.pem", others);
        dir.write("issuer.pem", testkit::toPem(materials.issuer, "CERTIFICATE"));
        dir.write("leaf.pem", testkit::toPem(materials.leaf, "CERTIFICATE"));
        dir.write("trusted.pem", testkit::toPem(materials.trusted, "CERTIFICATE"));
    }
    std::string operator()(const char* name) const { return dir.file(name); }
    testkit::TempDir dir;
};

bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

}  // namespace

Answer byLibrary(const Materials& materials, std::string& why) {
    tallow::Trust trust;
    trust.addRoots(materials.trusted);
    for (const Bytes& certificate : materials.certificates) {
        trust.addCertificates(certificate);
    }
    for (const Bytes& crl : materials.crls) {
        trust.addCrls(crl);
    }
    const tallow::Checker checker(trust, {.downloads = false});
    tallow::Stored stored;
    stored.certificate = materials.leaf;
    stored.issuer = materials.issuer;
    stored.request = materials.request;
    const std::vector<tallow::Verdict> verdicts = checker.verify(materials.response, stored);
    if (verdicts.size() != 1) {
        throw std::runtime_error("not one verdict");
    }
    why = verdicts[0].why();
    switch (verdicts[0].answer) {
        case tallow::Answer::kGood:
            return Answer::kGood;
        case tallow::Answer::kRevoked:
            return Answer::kRevoked;
        case tallow::Answer::kUnknown:
            return Answer::kUnknown;
        case tallow::Answer::kUnproven:
            break;
    }
    return Answer::kUnproven;
}

Answer byCommand(const std::string& command, const Materials& materials, bool mayRefuseIssuer, std::string& output) {
    const Folder folder(materials);
    std::vector<std::string> arguments{command,      "verify",
                                       "--settings", "/dev/null",
                                       "--trust",    folder("trusted.pem"),
                                       "--cert",     folder("leaf.pem"),
                                       "--issuer",   folder("issuer.pem"),
                                       "--request",  folder("request.der"),
                                       "--certs",    folder("others.pem")};
    for (std::size_t i = 0; i < materials.crls.size(); ++i) {
        arguments.insert(arguments.end(), {"--crl", folder(("crl-" + std::to_string(i) + ".der").c_str())});
    }
    arguments.push_back(folder("response.der"));
    const testkit::ProcessResult result = testkit::run(arguments);
    output = result.out + result.err;
    switch (result.exitStatus) {
        case 0:
            return Answer::kGood;
        case 1:
            return Answer::kRevoked;
        case 2:
            return Answer::kUnknown;
        case 3:
            return Answer::kUnproven;
        default:
            if (result.exitStatus == kWrongUsage && mayRefuseIssuer && contains(output, "--issuer")) {
                return Answer::kUnproven;
            }
            throw std::runtime_error("the command ended with " + std::to_string(result.exitStatus) + ": " + output);
    }
}

Answer byOpenSsl(const Materials& materials, bool comparesNonce, std::string& why) {
    why.clear();
    const auto fail = [&why] {
        why = ERR_peek_last_error() == 0 ? "no error" : ERR_error_string(ERR_peek_last_error(), nullptr);
        const char* data = nullptr;
        ERR_peek_last_error_data(&data, nullptr);
        why += data == nullptr ? "" : data;
        ERR_clear_error();
        return Answer::kUnproven;
    };
    const unsigned char* at = materials.response.data();
    const ResponsePtr response(d2i_OCSP_RESPONSE(nullptr, &at, static_cast<long>(materials.response.size())));
    if (response == nullptr || OCSP_response_status(response.get()) != OCSP_RESPONSE_STATUS_SUCCESSFUL) {
        return fail();
    }
    const BasicPtr basic(OCSP_response_get1_basic(response.get()));
    if (basic == nullptr) {
        return fail();
    }
    const StorePtr store(X509_STORE_new());
    const StackPtr others(sk_X509_new_null());
    X509_STORE_add_cert(store.get(), testkit::parseCertificate(materials.trusted).get());
    const testkit::X509Ptr issuer = testkit::parseCertificate(materials.issuer);
    const testkit::X509Ptr leaf = testkit::parseCertificate(materials.leaf);
    X509_up_ref(issuer.get());
    sk_X509_push(others.get(), issuer.get());
    for (const Bytes& certificate : materials.certificates) {
        sk_X509_push(others.get(), testkit::parseCertificate(certificate).release());
    }
    if (OCSP_basic_verify(basic.get(), others.get(), store.get(), 0) != 1) {
        return fail();
    }
    at = materials.request.data();
    const RequestPtr request(d2i_OCSP_REQUEST(nullptr, &at, static_cast<long>(materials.request.size())));
    testkit::require(request != nullptr, "reading the request");
    if (comparesNonce && OCSP_check_nonce(request.get(), basic.get()) == 0) {
        return fail();
    }
    const CertIdPtr id(OCSP_cert_to_id(EVP_sha1(), leaf.get(), issuer.get()));
    int status = 0;
    int reason = 0;
    ASN1_GENERALIZEDTIME* revoked = nullptr;
    ASN1_GENERALIZEDTIME* thisUpdate = nullptr;
    ASN1_GENERALIZEDTIME* nextUpdate = nullptr;
    if (OCSP_resp_find_status(basic.get(), id.get(), &status, &reason, &revoked, &thisUpdate, &nextUpdate) != 1 ||
        OCSP_check_validity(thisUpdate, nextUpdate, kTolerance, -1) != 1) {
        return fail();
    }
    return answerOf(status);
}

Answer byOpenSslCommand(const Materials& materials, std::string& output) {
    const Folder folder(materials);
    const testkit::ProcessResult result =
        testkit::run({"openssl", "ocsp", "-issuer", folder("issuer.pem"), "-cert", folder("leaf.pem"), "-no_nonce",
                      "-respin", folder("response.der"), "-CAfile", folder("trusted.pem"), "-no-CApath", "-no-CAstore",
                      "-verify_other", folder("others.pem"), "-validity_period", std::to_string(kTolerance)});
    output = result.out + result.err;
    if (!contains(output, "Response verify OK") || contains(output, "Status times invalid")) {
        return Answer::kUnproven;
    }
    return contains(output, "leaf.pem: good")      ? Answer::kGood
           : contains(output, "leaf.pem: revoked") ? Answer::kRevoked
           : contains(output, "leaf.pem: unknown") ? Answer::kUnknown
                                                   : Answer::kUnproven;
}

bool hasGnuTls() {
    return testkit::run({"ocsptool", "--version"}).exitStatus == 0;
}

bool isAuthenticForGnuTls(const Materials& materials, std::string& output) {
    const Folder folder(materials);
    const testkit::ProcessResult result = testkit::run(
        {"ocsptool", "--verify-response", "--load-trust", folder("issuer.pem"), "--infile", folder("response.der")});
    output = result.out + result.err;
    return contains(output, "Verifying OCSP Response: Success");
}

}  // namespace proof
