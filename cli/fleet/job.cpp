#include "cli/fleet/job.h"

#include <map>
#include <memory>

#include "cli/batch/flat_object.h"
#include "cli/batch/item_source.h"
#include "cli/deadlines.h"
#include "cli/input_files.h"
#include "cli/network.h"
#include "cli/run_inputs.h"

namespace tallow::cli {

namespace {

std::string pemOf(const std::string& name, const std::string& octets) {
    std::string text;
    for (const ATL2::CCertContext& certificate : certificatesAndCrlsIn(name, octets).certificates) {
        appendPem(text, certificate);
    }
    return text;
}

// Texts of certificates, never paths.
std::string checkedPem(const std::string& id, const std::string& key, const std::string& octets) {
    try {
        return octets.empty() ? std::string() : pemOf(key, octets);
    } catch (const InputError& mistake) {
        throw InputError(id, mistake.what(), status::kInvalidData);
    }
}

}  // namespace

bool isJobId(const std::string& text) {
    constexpr const char* kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.-_";
    return !text.empty() && text.size() <= kLongestJobId && text.find_first_not_of(kLetters) == std::string::npos;
}

std::string runOf(const std::string& id) {
    const std::size_t hyphen = id.rfind('-');
    return hyphen == std::string::npos ? std::string() : id.substr(0, hyphen);
}

std::string jobOf(const BatchItem& item) {
    const auto refuse = [&item] {
        throw InputError(item.label,
                         "is longer than a job may be with its other certificates; put it into a file alone",
                         status::kInvalidData);
    };
    // Before they are copied, as many times as the file has certificates.
    if (item.issuer.size() > kLongestJob || (item.others && item.others->size() > kLongestJob)) {
        refuse();
    }
    std::string job = "{\"name\":" + quoted(item.label);
    const auto add = [&job](const char* key, const std::string& value) {
        job += value.empty() ? "" : std::string(",\"") + key + "\":" + quoted(value);
    };
    if (item.identifier) {
        add("hash", item.identifier->hash);
        add("issuerNameHash", item.identifier->issuerNameHash);
        add("issuerKeyHash", item.identifier->issuerKeyHash);
        add("serial", item.identifier->serial);
    } else {
        add("certificate", pemOf(item.label, item.certificate));
    }
    add("others", item.others ? *item.others : std::string());
    add("issuer", item.issuer.empty() ? std::string() : pemOf("its issuer", item.issuer));
    add("url", item.url);
    job += '}';
    if (job.size() > kLongestJob) {
        refuse();
    }
    return job;
}

BatchItem itemOf(const std::string& id, const std::string& job, const std::string& urlOfOptions) {
    if (job.size() > kLongestJob) {
        throw InputError(id, "is longer than a job may be", status::kInvalidData);
    }
    std::map<std::string, std::string> members;
    try {
        members = flatObject(job);
    } catch (const NotFlat& mistake) {
        throw InputError(id, mistake.what(), status::kInvalidData);
    }
    BatchItem item;
    item.label = members["name"].empty() ? id : shownName(members["name"]);
    item.url = members["url"];
    item.isUrlForeign = !item.url.empty();
    if (item.url.size() > kLongestUrl) {
        throw InputError(id, "has an address of more than 2048 octets", status::kInvalidData);
    }
    if (const std::string mistake = mistakeInUrl("url", item.url); !mistake.empty()) {
        throw InputError(id, mistake, status::kInvalidData);
    }
    item.identifier = identifierIn(members, id);
    if (item.identifier) {
        item.issuer = checkedPem(id, "issuer", members["issuer"]);
        const auto issuers = certificatesAndCrlsIn("issuer", item.issuer).certificates;
        if (issuers.empty() || !isIssuer(issuers.front(), *item.identifier)) {
            throw InputError(id, "the first certificate of its issuer does not fit the identifier",
                             status::kIssuerMismatch);
        }
        item.step = "asking about the identifier";
        addResponder(item);
        return item;
    }
    const std::string certificate = checkedPem(id, "certificate", members["certificate"]);
    if (certificate.empty()) {
        throw InputError(id, "contains no certificate", status::kInvalidData);
    }
    const auto read = certificatesAndCrlsIn("certificate", certificate).certificates;
    if (read.size() != 1) {
        throw InputError(id, "contains " + std::to_string(read.size()) + " certificates to check instead of one",
                         status::kInvalidData);
    }
    const Input der = encodingOf(read.front());
    const std::string others = checkedPem(id, "others", members["others"]);
    item.others = others.empty() ? nullptr : std::make_shared<const std::string>(others);
    item.certificate = item.others ? certificate : std::string(der.bytes.begin(), der.bytes.end());
    item.issuer = checkedPem(id, "issuer", members["issuer"]);
    item.start = startOf(read.front());
    item.expiry = expiryOf(read.front());
    addResponders(item, read.front(), urlOfOptions);
    return item;
}

}  // namespace tallow::cli
