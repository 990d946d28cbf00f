// Requests for several certificates of one group, for responders that answer them.
//
// A responder is asked in this way after a check of one certificate proved an answer of it; that check also fetched the
// CRLs of its chain. A verdict counts if the response has the nonce of the request and passes all rules for the single
// certificate; the others are left to checks of one certificate. A host whose response proves none of them is not asked
// for several again.
#pragma once

#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "checker/checker.h"
#include "cli/batch/batch_item.h"

namespace tallow::cli {

/// On any thread.
class Bundles {
public:
    /// `hashOid` names the hash in identifiers; empty: that of the policy.
    explicit Bundles(std::string hashOid) : hashOid_(std::move(hashOid)) {}

    /// Notes where a certificate of the group was proven by a check of its own.
    void learn(const std::string& group, const Verdict& verdict);

    /// Asks about all items, which are of one group, at `named`, the responder of the options or the list; if it
    /// is empty, where the group was proven. As many verdicts; nothing where a check of its own is needed.
    /// `notice` is a line for people when the responder does not support this; empty otherwise.
    std::vector<std::optional<Verdict>> ask(const Checker& checker, const std::vector<BatchItem>& items,
                                            const std::string& named, std::string& notice);

private:
    // An address counts as that of who named it: one in a certificate is refused where its own check would refuse it.
    struct Responder {
        std::string url;  // without a login; empty: none
        ResponderSource source = ResponderSource::kCertificate;
    };
    Responder responderFor(const std::string& group);
    bool refuse(const std::string& url);

    const std::string hashOid_;
    std::mutex mutex_;
    std::map<std::string, Responder> responders_;  // by group
    std::set<std::string> refusing_;               // hosts
};

}  // namespace tallow::cli
