// The files of a system store. What was read is kept for the process and used again while a file looks unchanged, so
// that opening a store costs a look at its folder, and so that a key once loaded stays with its certificate.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/crypto/store.h"

namespace tallow::platform {

// What one file, with its side file, holds.
struct StoreFileContent {
    std::vector<CertificateRef> certificates;  // with the properties of the side file on the first
    std::vector<CrlRef> crls;
};

class StoreFile {
public:
    StoreFile() = default;
    explicit StoreFile(std::shared_ptr<const StoreFileContent> content) : content_(std::move(content)) {}

    bool exists() const noexcept { return content_ != nullptr; }
    // Null for a file that does not exist. Shared by everybody who reads the file: not for a caller to change.
    const StoreFileContent* content() const noexcept { return content_.get(); }
    void addTo(Store& store) const;

private:
    std::shared_ptr<const StoreFileContent> content_;
};

// The certificate and CRL files of a folder in the order of their names; `exists` says whether there is such a folder.
// A file that is neither is passed over, and traced.
std::vector<StoreFile> readStoreFolder(const std::string& folder, bool& exists);

// One file of many certificates; empty when it is missing.
StoreFile readBundle(const std::string& path);

}  // namespace tallow::platform
