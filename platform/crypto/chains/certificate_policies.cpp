#include "platform/crypto/chains/certificate_policies.h"

#include <openssl/x509v3.h>

#include <algorithm>
#include <string_view>

#include "platform/crypto/base/current_check.h"
#include "platform/crypto/base/openssl_handles.h"
#include "platform/crypto/chains/certificate_rules.h"
#include "platform/support/settings_table.h"

namespace tallow::platform {

namespace {

constexpr std::string_view kAnyPolicy("\x55\x1D\x20\x00", 4);  // 2.5.29.32.0

using PoliciesPtr = std::unique_ptr<CERTIFICATEPOLICIES, OpenSslFree<CERTIFICATEPOLICIES_free>>;
inline void freeMappings(POLICY_MAPPINGS* mappings) noexcept {
    sk_POLICY_MAPPING_pop_free(mappings, POLICY_MAPPING_free);
}
using MappingsPtr = std::unique_ptr<POLICY_MAPPINGS, OpenSslFree<freeMappings>>;
using ConstraintsPtr = std::unique_ptr<POLICY_CONSTRAINTS, OpenSslFree<POLICY_CONSTRAINTS_free>>;
using IntegerPtr = std::unique_ptr<ASN1_INTEGER, OpenSslFree<ASN1_INTEGER_free>>;
using ObjectPtr = std::unique_ptr<ASN1_OBJECT, OpenSslFree<ASN1_OBJECT_free>>;

PolicyOid octetsOf(const ASN1_OBJECT* oid) {
    return {reinterpret_cast<const char*>(OBJ_get0_data(oid)), OBJ_length(oid)};
}

bool has(const Certificate& certificate, int nid) {
    return X509_get_ext_by_NID(certificate.x509(), nid, -1) >= 0;
}

// The extension decoded; null when it is absent or malformed, and then `isReadable` says which.
template <typename Owner>
Owner extensionOf(const Certificate& certificate, int nid, bool& isReadable) {
    Owner value(static_cast<typename Owner::pointer>(X509_get_ext_d2i(certificate.x509(), nid, nullptr, nullptr)));
    isReadable = isReadable && (value != nullptr || !has(certificate, nid));
    return value;
}

// A number of certificates. A number larger than any path means no limit.
int countOf(const ASN1_INTEGER* number, bool& isReadable) {
    std::int64_t value = 0;
    if (number == nullptr) {
        return PolicyStatements::kAbsent;
    }
    if (ASN1_STRING_type(number) == V_ASN1_NEG_INTEGER) {
        isReadable = false;
        return 0;
    }
    return ASN1_INTEGER_get_int64(&value, number) == 1 && value < PolicyStatements::kAbsent ? static_cast<int>(value)
                                                                                            : PolicyStatements::kAbsent;
}

void readPolicies(const Certificate& certificate, PolicyStatements& statements) {
    const PoliciesPtr policies = extensionOf<PoliciesPtr>(certificate, NID_certificate_policies, statements.isReadable);
    for (int i = 0; policies && i < sk_POLICYINFO_num(policies.get()); ++i) {
        const PolicyOid oid = octetsOf(sk_POLICYINFO_value(policies.get(), i)->policyid);
        const bool isRepeated = oid == kAnyPolicy ? statements.acceptsAny : !statements.policies.insert(oid).second;
        statements.acceptsAny = statements.acceptsAny || oid == kAnyPolicy;
        statements.isReadable = statements.isReadable && !isRepeated;
    }
    statements.isReadable = statements.isReadable && (!policies || sk_POLICYINFO_num(policies.get()) > 0);
}

void readMappings(const Certificate& certificate, PolicyStatements& statements) {
    const MappingsPtr mappings = extensionOf<MappingsPtr>(certificate, NID_policy_mappings, statements.isReadable);
    for (int i = 0; mappings && i < sk_POLICY_MAPPING_num(mappings.get()); ++i) {
        const POLICY_MAPPING* const mapping = sk_POLICY_MAPPING_value(mappings.get(), i);
        statements.mapped.emplace_back(octetsOf(mapping->issuerDomainPolicy), octetsOf(mapping->subjectDomainPolicy));
        const auto& [from, to] = statements.mapped.back();
        statements.isReadable = statements.isReadable && from != kAnyPolicy && to != kAnyPolicy;
    }
    statements.isReadable = statements.isReadable && (!mappings || sk_POLICY_MAPPING_num(mappings.get()) > 0);
}

void readConstraints(const Certificate& certificate, PolicyStatements& statements) {
    if (const ConstraintsPtr constraints =
            extensionOf<ConstraintsPtr>(certificate, NID_policy_constraints, statements.isReadable)) {
        statements.requireExplicitPolicy = countOf(constraints->requireExplicitPolicy, statements.isReadable);
        statements.inhibitPolicyMapping = countOf(constraints->inhibitPolicyMapping, statements.isReadable);
    }
    const IntegerPtr inhibited = extensionOf<IntegerPtr>(certificate, NID_inhibit_any_policy, statements.isReadable);
    statements.inhibitAnyPolicy = countOf(inhibited.get(), statements.isReadable);
}

void decrement(std::size_t& counter) {
    counter -= counter > 0 ? 1 : 0;
}

void limit(std::size_t& counter, int most) {
    counter = std::min(counter, static_cast<std::size_t>(most));
}

bool addRequired(std::string_view text, RequiredPolicies& required) {
    const ObjectPtr oid(OBJ_txt2obj(std::string(text).c_str(), 1));
    if (!oid) {
        return false;
    }
    const PolicyOid octets = octetsOf(oid.get());
    required.any = required.any || octets == kAnyPolicy;
    required.accepted.insert(octets);
    return true;
}

}  // namespace

PolicyStatements policyStatementsOf(const Certificate& certificate) {
    PolicyStatements statements;
    statements.isSelfIssued = isSelfIssued(certificate);
    readPolicies(certificate, statements);
    readMappings(certificate, statements);
    readConstraints(certificate, statements);
    return statements;
}

RequiredPolicies requiredPolicies() {
    RequiredPolicies required;
    if (isForbidden(CRYPTO_CHECK_NO_STORES)) {
        return required;  // the trust of this check is not that of the machine
    }
    const TextValue policies = textValueOf(setting::required_policies);
    required.isMalformed = policies.source == TextValue::Source::kUnreadable;
    required.isRequired = !policies.text.empty();
    required.any = policies.text.empty();
    std::string_view rest(policies.text);
    while (!required.isMalformed && !rest.empty()) {
        const std::size_t end = std::min(rest.find('\0'), rest.size());
        required.isMalformed = !addRequired(rest.substr(0, end), required);
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return required;
}

DWORD PolicyPath::add(const PolicyStatements& statements) {
    const bool isEnd = --left_ == 0;
    follow(statements, isEnd);
    DWORD error = isEmpty() && explicit_ == 0 ? CERT_TRUST_INVALID_POLICY_CONSTRAINTS : 0U;
    if (isEnd) {
        decrement(explicit_);
        if (statements.requireExplicitPolicy == 0) {
            explicit_ = 0;
        }
        return error | verdictAtEnd();
    }
    map(statements);
    count(statements);
    return error;
}

// Steps (d) and (e) of section 6.1.3.
void PolicyPath::follow(const PolicyStatements& statements, bool isEnd) {
    std::map<PolicyOid, bool> expected;  // whether an accepted policy expects it
    for (const auto& [oid, policy] : policies_) {
        for (const PolicyOid& next : policy.expected) {
            bool& isAccepted = expected[next];
            isAccepted = isAccepted || policy.isAccepted;
        }
    }
    std::map<PolicyOid, Policy> level;
    for (const PolicyOid& oid : statements.policies) {
        if (const auto parent = expected.find(oid); parent != expected.end()) {
            level[oid] = {parent->second, {oid}};
        } else if (hasAny_) {
            level[oid] = {accepts(oid), {oid}};
        }
    }
    const bool anyCounts = statements.acceptsAny && (inhibitAny_ > 0 || (!isEnd && statements.isSelfIssued));
    if (anyCounts) {
        for (const auto& [oid, isAccepted] : expected) {
            level.try_emplace(oid, Policy{isAccepted, {oid}});
        }
    }
    hasAny_ = hasAny_ && anyCounts;
    policies_ = std::move(level);
}

// Steps (a) and (b) of section 6.1.4.
void PolicyPath::map(const PolicyStatements& statements) {
    std::map<PolicyOid, std::set<PolicyOid>> targets;
    for (const auto& [from, to] : statements.mapped) {
        targets[from].insert(to);
    }
    for (auto& [from, expected] : targets) {
        if (mapping_ == 0) {
            policies_.erase(from);
        } else if (const auto found = policies_.find(from); found != policies_.end()) {
            found->second.expected = std::move(expected);
        } else if (hasAny_) {
            policies_[from] = {accepts(from), std::move(expected)};
        }
    }
}

// Steps (h) to (j) of section 6.1.4.
void PolicyPath::count(const PolicyStatements& statements) {
    if (!statements.isSelfIssued) {
        decrement(explicit_);
        decrement(mapping_);
        decrement(inhibitAny_);
    }
    limit(explicit_, statements.requireExplicitPolicy);
    limit(mapping_, statements.inhibitPolicyMapping);
    limit(inhibitAny_, statements.inhibitAnyPolicy);
}

// Step (g) of section 6.1.5: the accepted policies that remain.
DWORD PolicyPath::verdictAtEnd() const {
    const bool isAnyLeft = hasAny_ || std::any_of(policies_.begin(), policies_.end(),
                                                  [](const auto& entry) { return entry.second.isAccepted; });
    if (isAnyLeft) {
        return 0;
    }
    return (explicit_ == 0 ? CERT_TRUST_INVALID_POLICY_CONSTRAINTS : 0U) |
           (required_.isRequired ? CERT_TRUST_NO_ISSUANCE_CHAIN_POLICY : 0U);
}

}  // namespace tallow::platform
