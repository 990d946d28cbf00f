// Turns the lines of a list into certificates to check.
//
// A line is a path, or a JSON object:
//
//   {"certificate": "a.pem", "issuer": "ca.pem", "url": "http://ocsp.example/", "name": "the first"}
//
// `certificate` and `issuer` are paths, or texts in PEM. In place of a certificate its identifier may be given:
//
//   {"hash": "sha1", "issuerNameHash": "...", "issuerKeyHash": "...", "serial": "1F", "issuer": "...", "url": "..."}
//
// A line that cannot be used is an item with a failure.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/batch/batch_item.h"
#include "cli/batch/list_reader.h"
#include "cli/certificates_to_check.h"
#include "cli/options.h"
#include "cli/replaced_files.h"
#include "cli/run_inputs.h"

namespace tallow::cli {

/// What a line says.
struct ListEntry {
    std::string name;  // of the result
    std::string certificate, issuer, url;
    std::optional<Identifier> identifier = {};  // in place of a certificate
};

/// Reads one line of the list of this path. Throws InputError.
ListEntry entryOf(const ListLine& line, const std::string& list);

/// Which servers a check of the item asks, and with which others it belongs together. `urlOfOptions` is asked where the
/// item names none.
void addResponders(BatchItem& item, const ATL2::CCertContext& certificate, const std::string& urlOfOptions);

/// The same for an identifier, at its URL.
void addResponder(BatchItem& item);

class ItemSource {
public:
    /// The options and inputs must outlive the object. next() calls `waiting` several times a second while the list has
    /// nothing to read, and before it reads each piece of another file; what it throws ends next(). Throws InputError
    /// when the list cannot be opened, and UsageError when it names a file that an output would replace; if it is no
    /// regular file, or standard input, next() throws that.
    ItemSource(const CheckOptions& options, const RunInputs& inputs, std::function<void()> waiting);

    /// Nothing at the end. Throws InputError when the list cannot be read any further.
    std::optional<BatchItem> next();

    const ListReader& reader() const { return reader_; }

private:
    // The file of the last line. Its items are made one at a time, since each has its own copy of the issuer.
    struct File {
        std::size_t line;
        ListEntry entry;
        CertificateFiles files;
        std::shared_ptr<const std::string> others;             // as in BatchItem
        std::shared_ptr<const std::vector<std::string>> crls;  // as in BatchItem
        std::size_t numGiven = 0;
    };

    void requireKept(const ListEntry& entry) const;
    void requireAllKept() const;
    BatchItem read(const ListLine& line);
    void openFile(const ListLine& line, const ListEntry& entry);
    BatchItem nextOfFile();
    BatchItem identifierOf(const ListLine& line, const ListEntry& entry);
    void readIssuers(const std::string& named);
    std::string issuersFrom(const Input& first) const;
    std::string issuerFor(const ListEntry& entry, const ATL2::CCertContext& certificate) const;

    const CheckOptions& options_;
    const RunInputs& inputs_;
    const ReplacedFiles replaced_;
    const std::function<void()> waiting_;
    ListReader reader_;
    std::optional<File> file_;
    std::string issuerNamed_;  // the last issuer in the list, and its certificates
    std::vector<ATL2::CCertContext> issuers_;
};

}  // namespace tallow::cli
