#include "cli/batch/item_source.h"

#include <algorithm>
#include <climits>
#include <map>
#include <memory>
#include <new>
#include <set>
#include <utility>

#include "cli/batch/flat_object.h"
#include "cli/batch/responder_hosts.h"
#include "cli/certificates_to_check.h"
#include "cli/closest_name.h"
#include "cli/deadlines.h"
#include "cli/evidence_text.h"
#include "cli/fingerprint.h"
#include "cli/input_files.h"
#include "cli/network.h"
#include "platform/crypto/crypto_service.h"

namespace tallow::cli {

namespace {

constexpr std::size_t kLongestName = 4096;

bool isPem(const std::string& text) {
    return text.find("-----BEGIN ") != std::string::npos;
}

// A text in PEM itself, or the content of the file that it names. Standard input may be the list.
std::string contentOf(const std::string& named, const std::function<void()>& waiting) {
    if (named == "-") {
        throw InputError(named, "standard input cannot be named in a list; name a file");
    }
    return isPem(named) ? named : readRegularFile(named, kLargestFile, waiting);
}

std::string textOf(Input octets) {
    return {octets.bytes.begin(), octets.bytes.end()};
}

// The certificates of a file that are not checked, in PEM; null when there are none.
std::shared_ptr<const std::string> othersIn(const CertificateFiles& files) {
    std::set<std::string> checked;
    for (const ToCheck& one : files.toCheck) {
        if (!one.failure) {
            checked.insert(textOf(encodingOf(one.certificate)));
        }
    }
    std::string others;
    for (const ATL2::CCertContext& certificate : files.certificates) {
        if (checked.count(textOf(encodingOf(certificate))) == 0) {
            appendPem(others, certificate);
        }
    }
    return others.empty() ? nullptr : std::make_shared<const std::string>(std::move(others));
}

std::string thumbprintOf(const ATL2::CCertContext& certificate) {
    Bytes hash(32);
    auto size = static_cast<DWORD>(hash.size());
    if (!CertGetCertificateContextProperty(certificate.get(), CERT_SHA256_HASH_PROP_ID, hash.data(), &size)) {
        throw std::bad_alloc();
    }
    return hexText(hash);
}

// The lengths of an identifier's parts are part of it, and it means something only together with the issuer.
std::string thumbprintOf(const Identifier& identifier, Input issuer) {
    const ReceivedRequest::Asked asked = askedOf(identifier);
    Fingerprint fingerprint;
    fingerprint.add(asked.hashOid);
    for (const Bytes* part : {&asked.issuerNameHash, &asked.issuerKeyHash, &asked.serial}) {
        fingerprint.add(textOf(*part));
    }
    fingerprint.add(textOf(issuer));
    return fingerprint.text();
}

std::string labelOf(const ListLine& line, const std::string& list) {
    return list + ':' + std::to_string(line.number);
}

void requireKnown(const std::string& key, const std::string& label) {
    static const std::vector<std::string> kKeys{"certificate", "issuer",         "url",           "name",
                                                "hash",        "issuerNameHash", "issuerKeyHash", "serial"};
    if (std::find(kKeys.begin(), kKeys.end(), key) == kKeys.end()) {
        const std::string near = closestName(key, kKeys);
        throw InputError(label, "has the key \"" + key + "\"; " +
                                    (near.empty() ? "the keys are certificate, issuer, url and name, and those of an "
                                                    "identifier: hash, issuerNameHash, issuerKeyHash and serial"
                                                  : "did you mean " + near + "?"));
    }
}

// Longer ones name no file, and messages repeat them.
void requirePath(const std::string& what, const std::string& named, const std::string& label) {
    if (named.size() >= PATH_MAX && !isPem(named)) {
        throw InputError(label, what + " is neither a text in PEM nor a path: it has more than " +
                                    std::to_string(PATH_MAX - 1) + " octets; name a file");
    }
}

ListEntry entryOfObject(const ListLine& line, const std::string& label) {
    std::map<std::string, std::string> members;
    try {
        members = flatObject(line.text, {.onName = [&label](const std::string& key) { requireKnown(key, label); }});
    } catch (const NotFlat& mistake) {
        throw InputError(label, mistake.what());
    }
    for (const auto& [key, value] : members) {
        if (value.find('\0') != std::string::npos) {
            throw InputError(label, "has the octet 0 in \"" + key + "\"; leave it out");
        }
    }
    ListEntry entry{members["name"], members["certificate"], members["issuer"], members["url"]};
    entry.identifier = identifierIn(members, label);
    if (entry.certificate.empty() && !entry.identifier) {
        throw InputError(label, "names no certificate; add \"certificate\", a path or a text in PEM");
    }
    if (entry.name.size() > kLongestName || entry.url.size() > kLongestUrl) {
        throw InputError(label,
                         entry.url.size() > kLongestUrl
                             ? "has a \"url\" of more than " + std::to_string(kLongestUrl) + " octets; shorten it"
                             : "has a \"name\" of more than " + std::to_string(kLongestName) + " octets; shorten it");
    }
    if (const std::string mistake = mistakeInUrl("url", entry.url); !mistake.empty()) {
        throw InputError(label, mistake);
    }
    requirePath("\"certificate\"", entry.certificate, label);
    requirePath("\"issuer\"", entry.issuer, label);
    if (entry.name.empty()) {
        entry.name = entry.certificate.empty() || isPem(entry.certificate) ? label : entry.certificate;
    }
    entry.name = shownName(entry.name);
    return entry;
}

}  // namespace

ListEntry entryOf(const ListLine& line, const std::string& list) {
    if (!line.fault.empty()) {
        throw InputError(labelOf(line, list), line.fault, status::kInvalidData);
    }
    const std::string label = labelOf(line, list);
    if (line.text.front() == '{') {
        return entryOfObject(line, label);
    }
    requirePath("the line", line.text, label);
    return {shownName(line.text), line.text, "", "", {}};
}

ItemSource::ItemSource(const CheckOptions& options, const RunInputs& inputs, std::function<void()> waiting)
    : options_(options),
      inputs_(inputs),
      replaced_({options.metrics, options.report}),
      waiting_(std::move(waiting)),
      reader_(options.batch.list, waiting_) {
    requireAllKept();
}

void ItemSource::requireKept(const ListEntry& entry) const {
    for (const std::string* path : {&entry.certificate, &entry.issuer}) {
        if (!isPem(*path) && *path != "-") {
            replaced_.requireNot(*path);
        }
    }
}

// Before the first check, where the list can be read twice: reading standard input moves its position.
void ItemSource::requireAllKept() const {
    if (replaced_.isEmpty() || !reader_.part() || reader_.path() == "-") {
        return;
    }
    ListReader reader(reader_.path(), {});
    while (const std::optional<ListLine> line = reader.next()) {
        try {
            requireKept(entryOf(*line, reader.path()));
        } catch (const InputError&) {
            // The result of that line says what is wrong.
        }
    }
}

std::optional<BatchItem> ItemSource::next() {
    if (file_ && file_->numGiven < file_->files.toCheck.size()) {
        return nextOfFile();
    }
    file_.reset();
    const std::optional<ListLine> line = reader_.next();
    return line ? std::optional(read(*line)) : std::nullopt;
}

// A mistake in a line is the result of that line.
BatchItem ItemSource::read(const ListLine& line) {
    std::string label = shownName(labelOf(line, reader_.path()));
    const char* step = "reading the line";
    try {
        const ListEntry entry = entryOf(line, reader_.path());
        label = entry.name;
        requireKept(entry);
        if (entry.identifier) {
            step = "reading the identifier";
            return identifierOf(line, entry);
        }
        step = BatchItem().step;
        openFile(line, entry);
        return nextOfFile();
    } catch (const InputError&) {
        BatchItem item{line.number, 1, label, std::current_exception()};
        item.step = step;
        file_.reset();
        return item;
    }
}

void ItemSource::openFile(const ListLine& line, const ListEntry& entry) {
    CertificateFiles files = certificatesToCheckIn(isPem(entry.certificate) ? entry.name : entry.certificate,
                                                   contentOf(entry.certificate, waiting_));
    if (files.toCheck.front().failure) {
        std::rethrow_exception(files.toCheck.front().failure);
    }
    if (!entry.issuer.empty()) {
        readIssuers(entry.issuer);
    }
    std::shared_ptr<const std::string> others = othersIn(files);
    auto crls = files.crls.empty() ? nullptr : std::make_shared<const std::vector<std::string>>(std::move(files.crls));
    file_ = File{line.number, entry, std::move(files), std::move(others), std::move(crls)};
}

BatchItem ItemSource::nextOfFile() {
    File& file = *file_;
    const ATL2::CCertContext& certificate = file.files.toCheck[file.numGiven++].certificate;
    const std::string suffix = file.files.toCheck.size() == 1 ? "" : '#' + std::to_string(file.numGiven);
    BatchItem item{file.line, file.numGiven, file.entry.name + suffix};
    if (file.others) {
        appendPem(item.certificate, certificate);
    } else {
        item.certificate = textOf(encodingOf(certificate));
    }
    item.others = file.others;
    if (!options_.batch.resume.empty()) {
        item.thumbprint = thumbprintOf(certificate);
    }
    item.start = startOf(certificate);
    item.expiry = expiryOf(certificate);
    item.issuer = issuerFor(file.entry, certificate);
    item.url = file.entry.url;
    item.crls = file.crls;
    addResponders(item, certificate, options_.url);
    return item;
}

BatchItem ItemSource::identifierOf(const ListLine& line, const ListEntry& entry) {
    readIssuers(entry.issuer);
    const auto issuer = std::find_if(issuers_.begin(), issuers_.end(),
                                     [&entry](const auto& one) { return isIssuer(one, *entry.identifier); });
    if (issuer == issuers_.end()) {
        throw InputError(entry.name, "its issuer does not fit the hashes of the identifier; name the one they are of",
                         status::kIssuerMismatch);
    }
    BatchItem item{line.number, 1, entry.name};
    item.step = "asking about the identifier";
    item.identifier = entry.identifier;
    item.issuer = issuersFrom(encodingOf(*issuer));
    item.url = entry.url;
    if (!options_.batch.resume.empty()) {
        item.thumbprint = thumbprintOf(*entry.identifier, encodingOf(*issuer));
    }
    addResponder(item);
    return item;
}

void addResponder(BatchItem& item) {
    item.hosts = {hostOf(item.url)};
    Fingerprint group;
    group.add("identifiers");
    group.add(item.url);
    group.add(item.identifier->hash);
    group.add(item.identifier->issuerNameHash);
    group.add(item.identifier->issuerKeyHash);
    item.group = group.text();
}

void addResponders(BatchItem& item, const ATL2::CCertContext& certificate, const std::string& urlOfOptions) {
    const std::string& url = item.url.empty() ? urlOfOptions : item.url;
    item.hosts = url.empty() ? responderHostsOf(certificate) : std::vector{hostOf(url)};
    if (item.hosts.empty()) {
        item.hosts.emplace_back();
    }
    Fingerprint group;
    group.add("certificates");
    for (const std::string& host : item.hosts) {
        group.add(host);
    }
    group.add(item.url);
    const CERT_NAME_BLOB& issuer = certificate->pCertInfo->Issuer;
    group.add({reinterpret_cast<const char*>(issuer.pbData), issuer.cbData});
    item.group = group.text();
}

// Many lines in a row usually name the same issuer.
void ItemSource::readIssuers(const std::string& named) {
    if (named == issuerNamed_) {
        return;
    }
    issuerNamed_.clear();
    try {
        issuers_ = certificatesAndCrlsIn(isPem(named) ? "the issuer" : named, contentOf(named, waiting_)).certificates;
    } catch (const InputError& mistake) {
        throw InputError("issuer", std::string("its issuer: ") + mistake.what(), mistake.code());
    }
    issuerNamed_ = named;
}

// The issuer that the line names, before that of the options.
std::string ItemSource::issuerFor(const ListEntry& entry, const ATL2::CCertContext& certificate) const {
    return entry.issuer.empty() ? textOf(inputs_.issuerOf(certificate))
                                : issuersFrom(issuerAmong(issuers_, certificate));
}

// One of the issuers that were read. The others follow, for the chain.
std::string ItemSource::issuersFrom(const Input& first) const {
    std::string text;
    for (const bool isFirst : {true, false}) {
        for (const ATL2::CCertContext& one : issuers_) {
            if ((encodingOf(one).bytes.data() == first.bytes.data()) == isFirst) {
                appendPem(text, one);
            }
        }
    }
    return text;
}

}  // namespace tallow::cli
