#include "cli/request.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <new>

#include "checker/checker.h"
#include "checker/text/algorithm_text.h"
#include "checker/text/certificate_text.h"
#include "checker/text/policy_text.h"
#include "checker/text/safe_text.h"
#include "cli/certificates_to_check.h"
#include "cli/error_text.h"
#include "cli/input_files.h"
#include "cli/output_file.h"
#include "cli/pin.h"
#include "cli/run_inputs.h"
#include "client/request/request.h"
#include "handles/cert_store.h"
#include "handles/certificate_in.h"
#include "handles/exception.h"
#include "handles/status.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::cli {

namespace {

using Orvane::PKI::OCSP::Client::CRequest;

// ---- Whose key signs ------------------------------------------------------------------------------------------------

void nameKey(const ATL2::CCertContext& signer, const std::string& key) {
    if (!crypto_set_key_uri(signer.get(), key.c_str())) {
        throw InputError("--key", "is no path and no URI");  // not repeated: a URI may contain a PIN
    }
}

// The same certificate in the user's store, where a side file may name its key; empty when it is not there.
ATL2::CCertContext ownCertificate(const ATL2::CCertContext& signer) {
    ATL2::CCertStore store;
    if (store.Open(CERT_STORE_PROV_SYSTEM_A, 0, CERT_SYSTEM_STORE_CURRENT_USER | CERT_STORE_READONLY_FLAG, "My") != 0) {
        return {};
    }
    ATL2::CCertContext own = ATL2::CCertContext::adopt(
        CertFindCertificateInStore(store.get(), X509_ASN_ENCODING, 0, CERT_FIND_EXISTING, signer.get(), nullptr));
    DWORD size = 0;
    const bool hasKey =
        own && CertGetCertificateContextProperty(own.get(), CERT_KEY_PROV_INFO_PROP_ID, nullptr, &size) != 0;
    return hasKey ? own : ATL2::CCertContext();
}

// The signer with the location of its key: given, else the file of the certificate, else the file of the same name that
// ends in .key, else the store My.
ATL2::CCertContext findSigner(const RequestOptions& options) {
    ATL2::CCertContext signer = readCertificates(options.sign).front();
    const std::filesystem::path beside = std::filesystem::path(options.sign).replace_extension(".key");
    std::error_code error;
    if (!options.key.empty()) {
        nameKey(signer, options.key);
    } else if (options.sign == "-") {
        throw InputError("--sign", "no key belongs to standard input; name it (--key)", status::kNoKeyProperty);
    } else if (holdsPrivateKey(options.sign)) {
        nameKey(signer, options.sign);
    } else if (std::filesystem::is_regular_file(beside, error)) {
        nameKey(signer, beside.string());
    } else if (ATL2::CCertContext own = ownCertificate(signer); own) {
        return own;
    } else {
        throw InputError(options.sign, "its private key was not found in or beside its file; name it with --key",
                         status::kNoKeyProperty);
    }
    return signer;
}

CRequest::enumCertToInclude certificatesToInclude(const std::string& include) {
    struct Row {
        const char* name;
        CRequest::enumCertToInclude value;
    };
    constexpr Row kRows[] = {{"none", CRequest::CertsNone},
                             {"signer", CRequest::CertsSigner},
                             {"chain", CRequest::CertsChainNoRoot},
                             {"chain-root", CRequest::CertsChainWithRoot}};
    const auto* row = std::find_if(std::begin(kRows), std::end(kRows), [&](const Row& r) { return include == r.name; });
    return row == std::end(kRows) ? CRequest::CertsFromPolicy : row->value;
}

// ---- The request ----------------------------------------------------------------------------------------------------

// Each identifier is made by a separate request: an issuer that was found would be used for the next certificate too.
void addEntry(CRequest& request, unsigned long index, const ToCheck& asked, const Checker& checker,
              const RunInputs& inputs) {
    const Bytes encoded = checker.issuerOf(encodingOf(asked.certificate), inputs.issuerOf(asked.certificate));
    const ATL2::CCertContext issuer = ATL2::certificateIn(encoded.data(), encoded.size());
    if (!issuer) {
        throw BadInput(status::kNoSigner, "the issuer " + text::safeLine(text::issuerNameOf(asked.certificate.get())) +
                                              " of the certificate was not found; supply its certificate");
    }
    CRequest single;
    const std::string& hash = inputs.hashOid();
    single.put_SRCertIDFromCert(asked.certificate.get(), issuer.get(), 0, hash.empty() ? nullptr : hash.c_str());
    if (index > 0) {
        request.AddSingleRequest();
    }
    request.put_SRCertID(single.get_SRCertID(0), index);
}

Orvane::CBlob exported(CRequest& request) {
    try {
        unsigned long size = 0;
        request.Export(nullptr, &size);
        Orvane::CBlob bytes(size);
        request.Export(bytes.pbData(), &size);
        return bytes;
    } catch (const ATL::CAtlException& failure) {
        const std::string refusal = text::refusedRequestText(failure.status(), {.useNonce = request.get_UseNonce()});
        if (!refusal.empty()) {
            throw BadInput(failure.status(), refusal);
        }
        throw;
    }
}

}  // namespace

Outcome runRequest(const RequestOptions& options) {
    RunInputs inputs(options);
    const CertificateFiles files = readCertificateFiles(options.certificates);
    inputs.add(files.certificates, files.crls);
    const std::vector<ToCheck>& asked = files.toCheck;
    for (const ToCheck& next : asked) {
        if (next.failure) {
            std::rethrow_exception(next.failure);
        }
    }
    const ATL2::CCertContext signer = options.sign.empty() ? ATL2::CCertContext() : findSigner(options);
    const Pin pin = options.pinFile.empty() ? Pin() : Pin(options.pinFile);
    OutputFile output(options.output);
    std::string subject = options.output;
    std::string step = "reading the policy";
    try {
        CRequest request;
        const Checker checker(inputs.trust(), {.useCache = true});
        step = "finding the issuer";
        for (unsigned long i = 0; i < asked.size(); ++i) {
            subject = asked[i].label;
            addEntry(request, i, asked[i], checker, inputs);
        }
        subject = options.output;
        step = "building the request";
        if (options.nonce) {
            request.put_UseNonce(*options.nonce != Nonce::kOff);
        }
        if (signer) {
            // A URI may contain a PIN.
            const bool isPath = !options.key.empty() && options.key.find(':') == std::string::npos;
            step = isPath ? "signing with " + options.key : "signing";
            subject = options.sign;
            if (const std::string missing =
                    text::missingEngine(signer.get()->pCertInfo->SubjectPublicKeyInfo.Algorithm.pszObjId);
                !missing.empty()) {
                throw BadInput(status::kBadAlgorithm, missing);
            }
            request.Sign(signer.get(), certificatesToInclude(options.include), pin.get());
        }
        const Orvane::CBlob bytes = exported(request);
        output.write(bytes.pbData(), bytes.cbData());
    } catch (const InputError&) {
        throw;
    } catch (...) {
        return failed(subject, explainCaught(step));
    }
    return {};
}

}  // namespace tallow::cli
