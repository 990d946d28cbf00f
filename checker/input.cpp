#include "checker/input.h"

#include <algorithm>
#include <limits>
#include <new>

#include "handles/certificate_in.h"
#include "handles/status.h"
#include "platform/crypto/crypto_service.h"

namespace tallow {

namespace {

// One finding of the service's reader; called through C, so nothing may be thrown.
struct Reading {
    Contents contents;
    bool isOutOfMemory = false;
};

void take(const CRYPTO_STORE_ITEM* item, void* context) {
    auto& reading = *static_cast<Reading*>(context);
    Contents& contents = reading.contents;
    try {
        if (item->dwKind == CRYPTO_STORE_ITEM_CERTIFICATE) {
            ATL2::CCertContext certificate = ATL2::certificateIn(item->pbEncoded, item->cbEncoded);
            reading.isOutOfMemory = reading.isOutOfMemory || !certificate;
            contents.certificates.push_back(std::move(certificate));
        } else if (item->dwKind == CRYPTO_STORE_ITEM_CRL) {
            contents.crls.emplace_back(item->pbEncoded, item->pbEncoded + item->cbEncoded);
        } else if (contents.problem.empty()) {
            contents.problem = item->szProblem;
            contents.isBroken = item->dwKind == CRYPTO_STORE_ITEM_BROKEN;
        }
    } catch (const std::bad_alloc&) {
        reading.isOutOfMemory = true;
    }
}

// A short text of one line with a dot or a slash: a common slip.
bool looksLikePath(Input input) {
    constexpr std::size_t kLongestPath = 4096;
    const auto isPrintable = [](std::uint8_t octet) { return octet >= ' ' && octet != 0x7F; };
    const auto isOfPath = [](std::uint8_t octet) { return octet == '/' || octet == '.'; };
    return input.bytes.size() < kLongestPath && std::all_of(input.bytes.begin(), input.bytes.end(), isPrintable) &&
           std::any_of(input.bytes.begin(), input.bytes.end(), isOfPath);
}

void require(bool isFound, const Contents& contents, Input input, const std::string& what, const char* kind) {
    if (isFound && !contents.isBroken) {
        return;
    }
    if (looksLikePath(input)) {
        throw BadInput(status::kAsn1Error, what + " looks like a path; read the file and pass its content");
    }
    throw BadInput(status::kAsn1Error, what +
                                           (contents.problem.empty() ? std::string(" contains no ") + kind
                                                                     : " is not usable: it " + contents.problem) +
                                           "; pass a " + kind + " in DER or PEM");
}

}  // namespace

Contents contentsOf(Input input) {
    if (input.bytes.size() > std::numeric_limits<DWORD>::max()) {
        throw BadInput(status::kInvalidArgument, "more than 4 GiB were passed; pass single certificates");
    }
    Reading reading;
    if (!crypto_read_store_content(input.bytes.data(), static_cast<DWORD>(input.bytes.size()), nullptr, take,
                                   &reading) ||
        reading.isOutOfMemory) {
        throw std::bad_alloc();
    }
    return std::move(reading.contents);
}

std::vector<ATL2::CCertContext> certificatesIn(Input input, const std::string& what) {
    Contents contents = contentsOf(input);
    require(!contents.certificates.empty(), contents, input, what, "certificate");
    return std::move(contents.certificates);
}

std::vector<Bytes> crlsIn(Input input, const std::string& what) {
    Contents contents = contentsOf(input);
    require(!contents.crls.empty(), contents, input, what, "CRL");
    return std::move(contents.crls);
}

Orvane::CBlob blobOf(Input input) {
    return {input.bytes.data(), input.bytes.size()};
}

Bytes bytesOf(const Orvane::CBlob& blob) {
    return {blob.pbData(), blob.pbData() + blob.cbData()};
}

Bytes encodingOf(const ATL2::CCertContext& certificate) {
    return {certificate->pbCertEncoded, certificate->pbCertEncoded + certificate->cbCertEncoded};
}

}  // namespace tallow
