#include "cli/store.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <new>
#include <optional>
#include <vector>

#include "asn1/codec/tlv_reader.h"
#include "checker/text/certificate_text.h"
#include "checker/text/name_text.h"
#include "checker/text/safe_text.h"
#include "checker/text/times.h"
#include "cli/closest_name.h"
#include "cli/help.h"
#include "cli/input_files.h"
#include "cli/output.h"
#include "cli/output_file.h"
#include "cli/run_inputs.h"
#include "cli/settings_table.h"
#include "cli/show_values.h"
#include "foundation/date_time.h"
#include "handles/certificate_in.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::cli {

using namespace text;

namespace {

// A certificate or a CRL.
struct Item {
    std::string thumbprint;
    std::string der;
    std::string notAfter;  // of a certificate; empty for a CRL
    std::string name;      // the subject of a certificate, the issuer of a CRL
    bool isRoot = false;

    bool isCrl() const { return notAfter.empty(); }
    std::string what() const { return isCrl() ? "CRL of " + name : "certificate until " + notAfter + ": " + name; }
};

// One file of the store. The service reads these, but has no call that writes one.
struct StoreFile {
    std::filesystem::path path;
    std::vector<Item> items;
    bool holdsOthers = false;
};

struct StoreFolder {
    std::vector<StoreFile> files;
    std::vector<std::pair<std::string, std::string>> problems;  // a path that is ignored, and why

    // Complete lines.
    std::string problemLines() const;
};

std::string problemLine(const std::string& path, const std::string& reason) {
    return "tallow: " + safeLine(path + ": " + reason) + '\n';
}

Octets octetsOf(const std::string& der) {
    return {reinterpret_cast<const unsigned char*>(der.data()), der.size()};
}

Item itemOf(const ATL2::CCertContext& certificate) {
    const Orvane::CDateTime notAfter(certificate->pCertInfo->NotAfter);
    const CERT_INFO& info = *certificate->pCertInfo;
    const std::string der(reinterpret_cast<const char*>(certificate->pbCertEncoded), certificate->cbCertEncoded);
    const bool isRoot = info.Subject.cbData == info.Issuer.cbData &&
                        std::equal(info.Subject.pbData, info.Subject.pbData + info.Subject.cbData, info.Issuer.pbData);
    return {thumbprintOf(certificate.get()), der, iso8601(&notAfter), subjectOf(certificate.get()), isRoot};
}

std::string crlIssuer(const std::string& der) {
    using namespace Orvane::ASN1;
    TlvReader tbsCertList(TlvReader(TlvReader(octetsOf(der)).next()).next());
    static_cast<void>(tbsCertList.nextIf(TlvElement::kInteger));  // version
    tbsCertList.skip();                                           // signature
    const std::optional<TlvElement> issuer = tbsCertList.next();
    return issuer ? nameText(issuer->whole) : "";
}

Item itemOf(const std::string& crl) {
    unsigned char hash[64];
    DWORD size = sizeof hash;
    const Octets octets = octetsOf(crl);
    if (!CryptHashCertificate(0, 0, 0, octets.data(), static_cast<DWORD>(octets.size()), hash, &size)) {
        throw std::bad_alloc();  // as for certificates: an empty thumbprint would name every CRL
    }
    return {hexOf(Octets(hash, size)), crl, "", crlIssuer(crl), false};
}

std::vector<Item> itemsOf(const StoreContent& content) {
    std::vector<Item> items;
    for (const ATL2::CCertContext& certificate : content.certificates) {
        items.push_back(itemOf(certificate));
    }
    for (const std::string& crl : content.crls) {
        items.push_back(itemOf(crl));
    }
    return items;
}

// Only letters, digits, - and _: the name is that of a directory.
bool isStoreName(const std::string& name) {
    return !name.empty() &&
           name.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_") ==
               std::string::npos;
}

// A misspelt name must not make a new store, which the library would never read.
void requireStore(const std::string& name, const std::filesystem::path& folder) {
    const std::vector<std::string> kKnown{"ROOT", "CA", "My", "AddressBook", "Trust", "TrustedPeople"};
    std::error_code error;
    if (std::find(kKnown.begin(), kKnown.end(), name) != kKnown.end() || std::filesystem::exists(folder, error)) {
        return;
    }
    const std::string near = closestName(name, kKnown);
    throw InputError(name, near.empty() ? "is not a store; name ROOT, CA, My, AddressBook, Trust or TrustedPeople, or "
                                          "make the directory " +
                                              folder.string()
                                        : "is not a store; did you mean " + near + "?");
}

std::filesystem::path folderOf(const StoreOptions& options) {
    const std::string& name = options.name;
    if (!isStoreName(name)) {
        throw InputError(name,
                         name.find_first_of("./") != std::string::npos
                             ? "is not the name of a store; name the store first, then the file"
                             : "is not the name of a store; use letters, digits, - and _, for example ROOT or CA");
    }
    const std::string stores = storesFolder(options.machine);
    if (stores.empty()) {
        throw InputError(name, "cannot locate the user's stores; set user_stores in [crypto], or HOME");
    }
    std::filesystem::path folder = std::filesystem::path(stores) / name;
    requireStore(name, folder);
    return folder;
}

StoreFile& fileNamed(const char* path, std::vector<StoreFile>& files) {
    if (files.empty() || files.back().path != path) {
        files.push_back({path, {}, false});
    }
    return files.back();
}

void take(const CRYPTO_STORE_ITEM* item, void* context) {
    auto& folder = *static_cast<StoreFolder*>(context);
    if (item->dwKind == CRYPTO_STORE_ITEM_CERTIFICATE) {
        const auto certificate = ATL2::certificateIn(item->pbEncoded, item->cbEncoded);
        fileNamed(item->szPath, folder.files).items.push_back(itemOf(certificate));
    } else if (item->dwKind == CRYPTO_STORE_ITEM_CRL) {
        const std::string der(reinterpret_cast<const char*>(item->pbEncoded), item->cbEncoded);
        fileNamed(item->szPath, folder.files).items.push_back(itemOf(der));
    } else {
        if (!folder.files.empty() && folder.files.back().path == item->szPath) {
            folder.files.back().holdsOthers = true;
        }
        folder.problems.emplace_back(item->szPath, item->szProblem);
    }
}

// As the library reads it.
StoreFolder readFolder(const StoreOptions& options, const std::filesystem::path& path) {
    StoreFolder folder;
    const DWORD which = options.machine ? CERT_SYSTEM_STORE_LOCAL_MACHINE : CERT_SYSTEM_STORE_CURRENT_USER;
    if (!crypto_list_store(options.name.c_str(), which, take, &folder)) {
        if (GetLastError() == E_OUTOFMEMORY) {
            throw std::bad_alloc();  // of a thumbprint, for example
        }
        throw InputError(path.string(), "cannot be read; check that it is a directory and that you may read it");
    }
    return folder;
}

struct Obstacle {
    std::string folder;
    std::string path, reason;
};

// A problem of the directory, or of one above it, affects everything in it.
void takeObstacle(const CRYPTO_STORE_ITEM* item, void* context) {
    auto& obstacle = *static_cast<Obstacle*>(context);
    const std::string path = item->szPath;
    if (item->dwKind == CRYPTO_STORE_ITEM_BROKEN && (obstacle.folder + '/').starts_with(path + '/')) {
        obstacle.path = path;
        obstacle.reason = item->szProblem;
    }
}

// Throws when everything in the directory would be ignored. A directory that cannot be read is found later.
void requireCounting(const StoreOptions& options, const std::filesystem::path& folder) {
    Obstacle obstacle{folder.string(), {}, {}};
    const DWORD which = options.machine ? CERT_SYSTEM_STORE_LOCAL_MACHINE : CERT_SYSTEM_STORE_CURRENT_USER;
    static_cast<void>(crypto_list_store(options.name.c_str(), which, takeObstacle, &obstacle));
    if (const std::string mistake = settingsMistake(); !mistake.empty()) {
        throw InputError("settings", mistake, status::kNoPolicy);
    }
    if (!obstacle.path.empty()) {
        throw InputError(obstacle.path, obstacle.reason + "; nothing was added");
    }
}

std::string StoreFolder::problemLines() const {
    std::string lines;
    for (const auto& [path, reason] : problems) {
        lines += problemLine(path, reason);
    }
    return lines;
}

Shown shownOf(const StoreOptions& options, const std::filesystem::path& path, const StoreFolder& folder) {
    Shown items = Shown::list("items");
    for (const StoreFile& file : folder.files) {
        for (const Item& item : file.items) {
            Shown shown = Shown::object("");
            shown.add("kind", item.isCrl() ? "CRL" : "certificate");
            shown.add("thumbprint", item.thumbprint);
            shown.add(item.isCrl() ? "issuer" : "subject", item.name);
            if (!item.isCrl()) {
                shown.add("notAfter", item.notAfter);
            }
            shown.add("file", file.path.string());
            items.add(std::move(shown));
        }
    }
    Shown problems = Shown::list("problems");
    for (const auto& [problemPath, reason] : folder.problems) {
        Shown problem = Shown::object("");
        problem.add("file", problemPath);
        problem.add("text", reason);
        problems.add(std::move(problem));
    }
    Shown store = Shown::object("store");
    store.add("name", options.name);
    store.add("directory", path.string());
    store.add(std::move(items));
    store.add(std::move(problems));
    return store;
}

Outcome list(const StoreOptions& options, const std::filesystem::path& path) {
    Outcome outcome;
    const StoreFolder folder = readFolder(options, path);
    outcome.err = folder.problemLines();
    if (options.json) {
        outcome.out = toJson(kStoreSchema, shownOf(options, path, folder));
        return outcome;
    }
    for (const StoreFile& file : folder.files) {
        for (const Item& item : file.items) {
            outcome.out +=
                safeLine(item.thumbprint + " " + item.what()) + "\n    " + safeLine(file.path.string()) + '\n';
        }
    }
    return outcome;
}

std::vector<Item> itemsToUse(const std::string& path) {
    const StoreContent content = readStoreContent(path);
    std::vector<Item> items = itemsOf(content);
    if (items.empty()) {
        const bool isArchive =
            !content.problems.empty() && content.problems.front().reason.find("PKCS #12") != std::string::npos;
        const std::string reason = isArchive ? content.problems.front().reason : "holds no certificate and no CRL";
        throw InputError(path, reason + "; name a file with a certificate or a CRL");
    }
    return items;
}

bool holds(const StoreFile& file, const std::string& thumbprint) {
    return std::any_of(file.items.begin(), file.items.end(),
                       [&](const Item& item) { return item.thumbprint == thumbprint; });
}

// One file each, named by its thumbprint: an existing file is found again, and no untrusted file name is used.
Outcome add(const StoreOptions& options, const std::filesystem::path& folder) {
    const std::vector<Item> items = itemsToUse(options.file);
    if (options.name == "ROOT" && !std::all_of(items.begin(), items.end(), [](const Item& i) { return i.isRoot; })) {
        throw InputError(options.file, "is not a root: only self-signed certificates count in ROOT; use the store CA");
    }
    requireCounting(options, folder);
    // Independent of the umask: roots that a group can write are ignored.
    ::umask(::umask(0) | S_IWGRP | S_IWOTH);
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) {
        throw InputError(folder.string(), "cannot be made: " + error.message());
    }
    requireCounting(options, folder);  // again, now that it exists
    const StoreFolder present = readFolder(options, folder);
    const std::vector<StoreFile>& files = present.files;
    Outcome outcome;
    outcome.err = present.problemLines();
    for (const Item& item : items) {
        const auto found = std::find_if(files.begin(), files.end(),
                                        [&](const StoreFile& file) { return holds(file, item.thumbprint); });
        const std::string path =
            found != files.end() ? found->path.string() : (folder / (item.thumbprint + ".der")).string();
        if (found == files.end()) {
            OutputFile(path).write(octetsOf(item.der).data(), item.der.size());
        }
        outcome.out += std::string(found == files.end() ? "added " : "already there ") +
                       safeLine(item.thumbprint + " " + item.what()) + "\n    " + safeLine(path) + '\n';
    }
    return outcome;
}

bool isThumbprint(const std::string& text) {
    constexpr std::size_t kSha1Digits = 40;
    return text.size() == kSha1Digits && text.find_first_not_of("0123456789ABCDEFabcdef") == std::string::npos;
}

std::vector<std::string> thumbprintsToRemove(const std::string& file) {
    std::error_code error;
    std::vector<std::string> thumbprints;
    if (isThumbprint(file) && !std::filesystem::exists(file, error)) {
        std::string& thumbprint = thumbprints.emplace_back(file);
        std::transform(thumbprint.begin(), thumbprint.end(), thumbprint.begin(),
                       [](char c) { return c >= 'a' && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c; });
        return thumbprints;
    }
    for (Item& item : itemsToUse(file)) {
        thumbprints.push_back(std::move(item.thumbprint));
    }
    return thumbprints;
}

// The files to delete. One that also contains other certificates stays.
std::vector<const StoreFile*> filesToRemove(const std::vector<StoreFile>& files,
                                            const std::vector<std::string>& thumbprints) {
    std::vector<const StoreFile*> found;
    for (const StoreFile& file : files) {
        const auto isMeant = [&](const Item& item) {
            return std::find(thumbprints.begin(), thumbprints.end(), item.thumbprint) != thumbprints.end();
        };
        if (std::none_of(file.items.begin(), file.items.end(), isMeant)) {
            continue;
        }
        if (file.holdsOthers || !std::all_of(file.items.begin(), file.items.end(), isMeant)) {
            throw InputError(file.path.string(), "holds something else as well; nothing was removed, edit that file");
        }
        found.push_back(&file);
    }
    return found;
}

Outcome remove(const StoreOptions& options, const std::filesystem::path& folder) {
    const std::vector<std::string> thumbprints = thumbprintsToRemove(options.file);
    const std::vector<StoreFile> files = readFolder(options, folder).files;
    for (const std::string& thumbprint : thumbprints) {
        if (std::none_of(files.begin(), files.end(), [&](const StoreFile& f) { return holds(f, thumbprint); })) {
            throw InputError(options.file, "is not in the store " + options.name + "; nothing was removed");
        }
    }
    Outcome outcome;
    for (const StoreFile* file : filesToRemove(files, thumbprints)) {
        std::error_code error;
        if (!std::filesystem::remove(file->path, error)) {
            throw InputError(file->path.string(), "cannot be removed: " + error.message());
        }
        outcome.out += "removed " + safeLine(file->path.string()) + '\n';
    }
    return outcome;
}

void takeWarning(const CRYPTO_STORE_ITEM* item, void* context) {
    if (item->dwKind == CRYPTO_STORE_ITEM_BROKEN) {
        auto& lines = *static_cast<std::string*>(context);
        const std::string line = problemLine(item->szPath, item->szProblem);
        // A fault of the directory of all stores is reported for each of them.
        lines += lines.find(line) == std::string::npos ? line : "";
    }
}

}  // namespace

std::string storeWarnings() {
    std::string lines;
    if (!settingsMistake().empty()) {
        return lines;  // there are none then; the caller reports the mistake
    }
    for (const char* name : {"ROOT", "CA"}) {
        for (const DWORD which : {CERT_SYSTEM_STORE_CURRENT_USER, CERT_SYSTEM_STORE_LOCAL_MACHINE}) {
            static_cast<void>(crypto_list_store(name, which, takeWarning, &lines));
        }
    }
    return lines;
}

Outcome runStore(const StoreOptions& options) {
    openSettings(options);
    const std::filesystem::path folder = folderOf(options);
    switch (options.action) {
        case StoreAction::kAdd:
            return add(options, folder);
        case StoreAction::kRemove:
            return remove(options, folder);
        default:
            return list(options, folder);
    }
}

}  // namespace tallow::cli
