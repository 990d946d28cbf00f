#include "cli/certificates_to_check.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "asn1/codec/tlv_reader.h"
#include "cli/input_files.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::cli {

namespace {

using Certificates = std::vector<ATL2::CCertContext>;

std::string_view textOf(const unsigned char* octets, std::size_t size) {
    return {reinterpret_cast<const char*>(octets), size};
}
std::string_view subjectOf(const ATL2::CCertContext& certificate) {
    return textOf(certificate->pCertInfo->Subject.pbData, certificate->pCertInfo->Subject.cbData);
}
std::string_view issuerOf(const ATL2::CCertContext& certificate) {
    return textOf(certificate->pCertInfo->Issuer.pbData, certificate->pCertInfo->Issuer.cbData);
}
std::string_view encodedOf(const ATL2::CCertContext& certificate) {
    return textOf(certificate->pbCertEncoded, certificate->cbCertEncoded);
}

// Whether the certificate claims to be a CA. Old roots have no basicConstraints. One whose extension cannot be read is
// no CA, so that it is checked.
bool isCa(const ATL2::CCertContext& certificate) {
    using namespace Orvane::ASN1;
    constexpr std::string_view kBasicConstraints = "2.5.29.19";
    constexpr unsigned char kBoolean = 0x01;
    const CERT_INFO& info = *certificate->pCertInfo;
    const CERT_EXTENSION* const first = info.rgExtension;
    const CERT_EXTENSION* const end = first + info.cExtension;
    const CERT_EXTENSION* const found = std::find_if(
        first, end, [&](const CERT_EXTENSION& extension) { return kBasicConstraints == extension.pszObjId; });
    if (found == end) {
        return subjectOf(certificate) == issuerOf(certificate);
    }
    const std::optional<TlvElement> constraints = TlvReader(Octets(found->Value.pbData, found->Value.cbData)).next();
    const std::optional<TlvElement> ca = constraints ? TlvReader(*constraints).next() : std::nullopt;
    return ca && ca->whole.size() == 3 && ca->whole[0] == kBoolean && ca->whole[2] != 0;
}

bool isSignedBy(const ATL2::CCertContext& certificate, const ATL2::CCertContext& issuer) {
    return CryptVerifyCertificateSignatureEx(
               0, X509_ASN_ENCODING, CRYPT_VERIFY_CERT_SIGN_SUBJECT_CERT, const_cast<_CERT_CONTEXT*>(certificate.get()),
               CRYPT_VERIFY_CERT_SIGN_ISSUER_CERT, const_cast<_CERT_CONTEXT*>(issuer.get()), 0, nullptr) != 0;
}

// How many signatures may still be verified to find out who issued what. When none is left, no certificate counts as an
// issuer any more, so that more is checked, not less.
class Budget {
public:
    bool take() { return left_ > 0 && left_-- > 0; }

private:
    int left_ = 2000;
};

// Certificates by the name of their issuer. Self-issued ones are left out: a root that replaces another one does not
// make that an intermediate.
class Issued {
public:
    // Files are added in ascending order.
    void add(const Certificates& certificates, std::size_t file) {
        for (const ATL2::CCertContext& certificate : certificates) {
            if (subjectOf(certificate) != issuerOf(certificate)) {
                byIssuer_[issuerOf(certificate)].push_back({file, &certificate});
            }
        }
    }

    // Whether `issuer` issued one of them, but for those from the file `except`.
    bool hasOneOf(const ATL2::CCertContext& issuer, std::size_t except, Budget& budget) const {
        const auto named = byIssuer_.find(subjectOf(issuer));
        if (named == byIssuer_.end()) {
            return false;
        }
        constexpr int kMostTried = 64;
        const std::vector<Entry>& entries = named->second;
        const auto isBefore = [](const Entry& entry, std::size_t file) { return entry.file < file; };
        const auto excepted = std::lower_bound(entries.begin(), entries.end(), except, isBefore);
        const auto after = std::lower_bound(excepted, entries.end(), except + 1, isBefore);
        int numTried = 0;
        const auto isIssued = [&](const Entry& entry) {
            return ++numTried <= kMostTried && budget.take() && isSignedBy(*entry.certificate, issuer);
        };
        return anyOf(entries.begin(), excepted, isIssued) || anyOf(after, entries.end(), isIssued);
    }

private:
    struct Entry {
        std::size_t file;
        const ATL2::CCertContext* certificate;
    };
    static constexpr std::ptrdiff_t kMostLookedAt = 64;

    template <typename Iterator, typename Holds>
    static bool anyOf(Iterator first, Iterator last, Holds holds) {
        return std::any_of(first, first + std::min(last - first, kMostLookedAt), holds);
    }

    std::unordered_map<std::string_view, std::vector<Entry>> byIssuer_;
};

constexpr std::size_t kNoFile = static_cast<std::size_t>(-2);

Certificates chosen(const Certificates& certificates, const Issued& issued, bool withCas, Budget& budget) {
    Certificates found;
    std::copy_if(certificates.begin(), certificates.end(), std::back_inserter(found), [&](const auto& certificate) {
        return (withCas || !isCa(certificate)) && !issued.hasOneOf(certificate, kNoFile, budget);
    });
    return found;
}

// One file named as CERT.
struct File {
    Certificates certificates;  // each once
    Certificates leaves;
    bool hasOnlyCas = false;
    std::exception_ptr failure = {};

    void chooseLeaves(Budget& budget) {
        Issued issued;
        issued.add(certificates, 0);
        leaves = chosen(certificates, issued, false, budget);
        hasOnlyCas = leaves.empty();
        if (hasOnlyCas) {
            leaves = chosen(certificates, issued, true, budget);
        }
        if (leaves.empty()) {
            leaves.push_back(certificates.front());  // they issued each other
        }
    }
};

// `read` gives the content.
template <typename Read>
File readFile(Read read, std::vector<std::string>& crls, Budget& budget) {
    File file;
    try {
        StoreContent content = read();
        std::unordered_set<std::string_view> seen;
        for (const ATL2::CCertContext& certificate : content.certificates) {
            if (seen.insert(encodedOf(certificate)).second) {
                file.certificates.push_back(certificate);
            }
        }
        file.chooseLeaves(budget);
        std::move(content.crls.begin(), content.crls.end(), std::back_inserter(crls));
    } catch (const InputError&) {
        file.failure = std::current_exception();
    }
    return file;
}

// The files that only hold issuers of what is checked from other files.
std::vector<bool> chainFiles(const std::vector<File>& files, Budget& budget) {
    Issued issued;
    for (std::size_t i = 0; i < files.size(); ++i) {
        issued.add(files[i].leaves, i);
    }
    std::vector<bool> isChain;
    isChain.reserve(files.size());
    for (std::size_t i = 0; i < files.size(); ++i) {
        const Certificates& own = files[i].certificates;
        isChain.push_back(files[i].hasOnlyCas && std::any_of(own.begin(), own.end(), [&](const auto& certificate) {
                              return issued.hasOneOf(certificate, i, budget);
                          }));
    }
    // CAs in two files that issued each other: something must be checked.
    const bool isNothingLeft = std::all_of(isChain.begin(), isChain.end(), [](bool is) { return is; });
    return isNothingLeft ? std::vector<bool>(files.size(), false) : isChain;
}

void addLeaves(std::vector<ToCheck>& toCheck, const std::string& path, const File& file) {
    if (file.failure) {
        toCheck.push_back({shownName(path), {}, file.failure});
        return;
    }
    if (toCheck.size() + file.leaves.size() > kMostToCheck) {
        toCheck.push_back({path,
                           {},
                           std::make_exception_ptr(InputError(
                               path, "holds " + std::to_string(file.leaves.size()) +
                                         " certificates to check, and one run checks at most " +
                                         std::to_string(kMostToCheck) + "; divide them among several runs"))});
        return;
    }
    std::size_t number = 0;
    for (const ATL2::CCertContext& leaf : file.leaves) {
        ++number;
        toCheck.push_back({file.leaves.size() == 1 ? path : path + '#' + std::to_string(number), leaf});
    }
}

// What is checked of the files, and all their certificates.
void choose(const std::vector<std::string>& paths, const std::vector<File>& files, Budget& budget,
            CertificateFiles& result) {
    const std::vector<bool> isChain = chainFiles(files, budget);
    std::unordered_set<std::string_view> seen;
    for (std::size_t i = 0; i < files.size(); ++i) {
        if (!isChain[i]) {
            addLeaves(result.toCheck, paths[i], files[i]);
        }
        std::copy_if(files[i].certificates.begin(), files[i].certificates.end(),
                     std::back_inserter(result.certificates),
                     [&seen](const auto& certificate) { return seen.insert(encodedOf(certificate)).second; });
    }
}

}  // namespace

CertificateFiles readCertificateFiles(const std::vector<std::string>& paths) {
    CertificateFiles result;
    Budget budget;
    std::vector<File> files;
    files.reserve(paths.size());
    for (const std::string& path : paths) {
        files.push_back(readFile([&path] { return readCertificatesAndCrls(path); }, result.crls, budget));
    }
    choose(paths, files, budget, result);
    return result;
}

CertificateFiles certificatesToCheckIn(const std::string& name, const std::string& octets) {
    CertificateFiles result;
    Budget budget;
    const std::vector<File> files{readFile([&] { return certificatesAndCrlsIn(name, octets); }, result.crls, budget)};
    choose({name}, files, budget, result);
    return result;
}

}  // namespace tallow::cli
