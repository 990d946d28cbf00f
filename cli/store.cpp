#include "cli/store.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <vector>

#include "cli/certificate_text.h"
#include "cli/der_view.h"
#include "cli/input_files.h"
#include "cli/name_text.h"
#include "cli/run_inputs.h"
#include "cli/safe_text.h"
#include "cli/settings_table.h"
#include "cli/show_values.h"
#include "foundation/date_time.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::cli {

namespace {

// A certificate or a CRL.
struct Item {
    std::string thumbprint;
    std::string what;
    std::string der;
    bool isRoot = false;
};

// One file of the folder. The service reads these and has no call that writes one or tells in which file something is.
struct StoreFile {
    std::filesystem::path path;
    std::vector<Item> items;
    bool holdsOthers = false;
};

Octets octetsOf(const std::string& der) {
    return {reinterpret_cast<const unsigned char*>(der.data()), der.size()};
}

Item itemOf(const ATL2::CCertContext& certificate) {
    const Orvane::CDateTime notAfter(certificate->pCertInfo->NotAfter);
    CERT_INFO const& info = *certificate->pCertInfo;
    const std::string der(reinterpret_cast<const char*>(certificate->pbCertEncoded), certificate->cbCertEncoded);
    const bool isRoot = info.Subject.cbData == info.Issuer.cbData &&
                        std::equal(info.Subject.pbData, info.Subject.pbData + info.Subject.cbData, info.Issuer.pbData);
    return {thumbprintOf(certificate.get()),
            "certificate until " + iso8601(&notAfter) + ": " + subjectOf(certificate.get()), der, isRoot};
}

std::string crlIssuer(const std::string& der) {
    DerView tbsCertList(DerView(DerView(octetsOf(der)).next()).next());
    tbsCertList.nextIf(kTagInteger);   // version
    tbsCertList.nextIf(kTagSequence);  // signature
    const std::optional<DerElement> issuer = tbsCertList.next();
    return issuer ? nameText(issuer->whole) : "";
}

Item itemOf(const std::string& crl) {
    unsigned char hash[64];
    DWORD size = sizeof hash;
    const Octets octets = octetsOf(crl);
    if (!CryptHashCertificate(0, 0, 0, octets.data(), static_cast<DWORD>(octets.size()), hash, &size)) {
        size = 0;
    }
    return {hexOf(Octets(hash, size)), "CRL of " + crlIssuer(crl), crl, false};
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

std::filesystem::path folderOf(const StoreOptions& options) {
    const std::string& name = options.name;
    if (name.front() == '.' || name.find_first_of(std::string("/\0", 2)) != std::string::npos) {
        throw InputError(name, "is no name of a store; name ROOT, CA, My or another without slash or leading dot");
    }
    const std::string stores = storesFolder(options.machine);
    if (stores.empty()) {
        throw InputError(name, "nobody knows where the user's stores are; set user_stores in [crypto], or HOME");
    }
    return std::filesystem::path(stores) / name;
}

// What the service reads: hidden files and side files are none of a store.
bool isStoreFile(const std::filesystem::directory_entry& entry) {
    std::error_code error;
    return entry.path().filename().string().front() != '.' && entry.path().extension() != ".toml" &&
           entry.is_regular_file(error);
}

std::vector<StoreFile> readFolder(const std::filesystem::path& folder) {
    std::vector<StoreFile> files;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error);
         !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        if (!isStoreFile(*entry)) {
            continue;
        }
        StoreFile& file = files.emplace_back(StoreFile{entry->path(), {}, true});
        try {
            const StoreContent content = readStoreContent(entry->path().string());
            file = {entry->path(), itemsOf(content), content.numOthers != 0};
        } catch (const InputError&) {
            // Listed as a file that holds nothing of use.
        }
    }
    if (error && error != std::errc::no_such_file_or_directory) {
        throw InputError(folder.string(), "cannot be read: " + error.message());
    }
    std::sort(files.begin(), files.end(), [](const auto& left, const auto& right) { return left.path < right.path; });
    return files;
}

Outcome list(const std::filesystem::path& folder) {
    Outcome outcome;
    for (const StoreFile& file : readFolder(folder)) {
        for (const Item& item : file.items) {
            outcome.out += safeLine(item.thumbprint + " " + item.what) + "\n    " + safeLine(file.path.string()) + '\n';
        }
        if (file.items.empty()) {
            outcome.err += "tallow: " + safeLine(file.path.string() + ": holds no certificate and no CRL") + '\n';
        }
    }
    return outcome;
}

std::vector<Item> itemsToUse(const std::string& path) {
    std::vector<Item> items = itemsOf(readStoreContent(path));
    if (items.empty()) {
        throw InputError(path, "holds no certificate and no CRL; name a file with one in PEM or DER");
    }
    return items;
}

bool holds(const StoreFile& file, const std::string& thumbprint) {
    return std::any_of(file.items.begin(), file.items.end(),
                       [&](const Item& item) { return item.thumbprint == thumbprint; });
}

// One file each, named by its thumbprint: what is there already is found again, and no name of somebody else's file
// gets in.
Outcome add(const StoreOptions& options, const std::filesystem::path& folder) {
    const std::vector<Item> items = itemsToUse(options.file);
    if (options.name == "ROOT" && !std::all_of(items.begin(), items.end(), [](const Item& i) { return i.isRoot; })) {
        throw InputError(options.file, "holds what is no root: only self-signed certificates count in ROOT; use CA");
    }
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) {
        throw InputError(folder.string(), "cannot be made: " + error.message());
    }
    const std::vector<StoreFile> files = readFolder(folder);
    Outcome outcome;
    for (const Item& item : items) {
        const auto present = std::find_if(files.begin(), files.end(),
                                          [&](const StoreFile& file) { return holds(file, item.thumbprint); });
        const std::string path =
            present != files.end() ? present->path.string() : (folder / (item.thumbprint + ".der")).string();
        if (present == files.end()) {
            writeWhole(path, octetsOf(item.der).data(), item.der.size());
        }
        outcome.out += std::string(present == files.end() ? "added " : "already there ") +
                       safeLine(item.thumbprint + " " + item.what) + "\n    " + safeLine(path) + '\n';
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

// The files to delete. One that also holds something else stays: nobody asked to take that out.
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
    const std::vector<StoreFile> files = readFolder(folder);
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

}  // namespace

Outcome runStore(const StoreOptions& options) {
    openSettings(options);
    const std::filesystem::path folder = folderOf(options);
    switch (options.action) {
        case StoreAction::kAdd:
            return add(options, folder);
        case StoreAction::kRemove:
            return remove(options, folder);
        default:
            return list(folder);
    }
}

}  // namespace tallow::cli
