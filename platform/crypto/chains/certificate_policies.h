// Certificate policies of a path (RFC 5280 section 6.1). The standard describes a tree, which a hostile path can make
// exponentially large. Only the newest level of it is needed to continue, and each policy is kept once, so
// this keeps one level of distinct policies: the work grows with the size of the certificates.
#pragma once

#include <climits>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/crypto/certificates/certificate.h"

namespace tallow::platform {

// The content octets of an OBJECT IDENTIFIER.
using PolicyOid = std::string;

// What one certificate says about policies.
struct PolicyStatements {
    static constexpr int kAbsent = INT_MAX;

    bool isReadable = true;  // false: malformed, a policy twice, anyPolicy in a mapping, or a negative number
    bool isSelfIssued = false;
    bool acceptsAny = false;                              // anyPolicy is among the policies
    std::set<PolicyOid> policies;                         // without anyPolicy
    std::vector<std::pair<PolicyOid, PolicyOid>> mapped;  // issuerDomainPolicy, subjectDomainPolicy
    int requireExplicitPolicy = kAbsent;                  // certificates that may still follow
    int inhibitPolicyMapping = kAbsent;
    int inhibitAnyPolicy = kAbsent;
};
PolicyStatements policyStatementsOf(const Certificate& certificate);

// The setting required_policies: a path must be valid for one of these policies.
struct RequiredPolicies {
    bool isMalformed = false;  // then no path is valid
    bool any = true;           // every policy is accepted: no list, or anyPolicy in it
    bool isRequired = false;   // there is a list, so a path without any policy is not valid
    std::set<PolicyOid> accepted;
};
RequiredPolicies requiredPolicies();

// Follows the policies from the first certificate below the trust anchor down to the end certificate.
class PolicyPath {
public:
    // `size`: certificates on the path, the trust anchor not counted. `required` must outlive the object.
    PolicyPath(std::size_t size, const RequiredPolicies& required)
        : required_(required), left_(size), explicit_(size + 1), mapping_(size + 1), inhibitAny_(size + 1) {}

    // The next certificate. CERT_TRUST_INVALID_POLICY_CONSTRAINTS when a policy is required and none is left;
    // CERT_TRUST_NO_ISSUANCE_CHAIN_POLICY at the end certificate when none of the required policies is left.
    DWORD add(const PolicyStatements& statements);

private:
    struct Policy {
        bool isAccepted = false;       // below a policy that the setting accepts
        std::set<PolicyOid> expected;  // the policies that continue it in the next certificate
    };

    void follow(const PolicyStatements& statements, bool isEnd);
    void map(const PolicyStatements& statements);
    void count(const PolicyStatements& statements);
    bool accepts(const PolicyOid& policy) const { return required_.any || required_.accepted.contains(policy); }
    bool isEmpty() const { return policies_.empty() && !hasAny_; }
    DWORD verdictAtEnd() const;

    const RequiredPolicies& required_;
    std::size_t left_;
    std::size_t explicit_;
    std::size_t mapping_;
    std::size_t inhibitAny_;
    bool hasAny_ = true;
    std::map<PolicyOid, Policy> policies_;
};

}  // namespace tallow::platform
