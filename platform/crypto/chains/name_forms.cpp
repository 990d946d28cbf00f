#include "platform/crypto/chains/name_forms.h"

#include <openssl/x509v3.h>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace tallow::platform {

namespace {

constexpr unsigned kAllKinds = 1U << GEN_EMAIL | 1U << GEN_DNS | 1U << GEN_URI | 1U << GEN_IPADD;

using NameConstraintsPtr = std::unique_ptr<NAME_CONSTRAINTS, OpenSslFree<NAME_CONSTRAINTS_free>>;
using GeneralNamesPtr = std::unique_ptr<GENERAL_NAMES, OpenSslFree<GENERAL_NAMES_free>>;

std::string_view textOf(const ASN1_STRING* string) {
    return {reinterpret_cast<const char*>(ASN1_STRING_get0_data(string)),
            static_cast<std::size_t>(ASN1_STRING_length(string))};
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool isInLabel(char c) {
    return isLetter(c) || isDigit(c) || c == '-' || c == '_';
}
// For an address whose host or local part may be international.
bool isInWideLabel(char c) {
    return isInLabel(c) || static_cast<unsigned char>(c) >= 0x80;
}

bool areLabels(std::string_view text, bool (*isAllowed)(char)) {
    char previous = '.';
    for (const char c : text) {
        if (c == '.' ? previous == '.' : !isAllowed(c)) {
            return false;
        }
        previous = c;
    }
    return previous != '.';
}

bool isHost(std::string_view text) {
    return areLabels(text, isInLabel);
}

std::string_view withoutPrefix(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix ? text.substr(prefix.size()) : text;
}

// Software takes a host for an IPv4 address when its last label is a number: 10.1.2.3, 0x7f.1.
bool isNumber(std::string_view host) {
    return isDigit(host[host.rfind('.') == std::string_view::npos ? 0 : host.rfind('.') + 1]);
}

bool isPlainUri(std::string_view uri) {
    const std::size_t colon = uri.find(':');
    if (colon == std::string_view::npos || colon == 0 || !isLetter(uri[0]) || uri.substr(colon + 1, 2) != "//" ||
        !std::all_of(uri.begin(), uri.begin() + static_cast<std::ptrdiff_t>(colon),
                     [](char c) { return isLetter(c) || isDigit(c) || c == '+' || c == '-' || c == '.'; })) {
        return false;
    }
    std::string_view host = uri.substr(colon + 3);
    host = host.substr(0, host.find('/'));
    if (const std::size_t port = host.find(':'); port != std::string_view::npos) {
        const std::string_view digits = host.substr(port + 1);
        if (!std::all_of(digits.begin(), digits.end(), isDigit)) {
            return false;
        }
        host = host.substr(0, port);
    }
    return isHost(host) && !isNumber(host);
}

bool isPlainMail(std::string_view mail, bool (*isAllowed)(char)) {
    constexpr std::string_view kOthers = "!#$%&'*+-/=?^_`{|}~.";
    const std::size_t at = mail.find('@');
    if (at == std::string_view::npos || at == 0) {
        return false;
    }
    const std::string_view local = mail.substr(0, at);
    return std::all_of(local.begin(), local.end(),
                       [&](char c) { return isAllowed(c) || kOthers.find(c) != std::string_view::npos; }) &&
           areLabels(mail.substr(at + 1), isAllowed);
}

bool isMappedIpv4(std::string_view address) {
    constexpr std::string_view kPrefix("\0\0\0\0\0\0\0\0\0\0\xFF\xFF", 12);
    return address.size() >= 16 && address.substr(0, kPrefix.size()) == kPrefix;
}

// The text of a name of one of the four kinds.
std::string_view textOf(const GENERAL_NAME& name) {
    return textOf(name.d.ia5);
}

bool isPlainName(const GENERAL_NAME& name) {
    const std::string_view text = textOf(name);
    switch (name.type) {
        case GEN_EMAIL:
            return isPlainMail(text, isInLabel);
        case GEN_DNS:
            return isHost(withoutPrefix(text, "*."));
        case GEN_URI:
            return isPlainUri(text);
        default:
            return !isMappedIpv4(text);
    }
}

// A constraint names a host or, with a leading dot, the names below it. An empty one covers every DNS name; for the
// other kinds RFC 5280 gives it no meaning.
bool isPlainConstraint(const GENERAL_NAME& name) {
    const std::string_view text = textOf(name);
    switch (name.type) {
        case GEN_EMAIL:
            return isHost(withoutPrefix(text, ".")) || isPlainMail(text, isInLabel);
        case GEN_DNS:
            return text.empty() || isHost(withoutPrefix(text, "."));
        case GEN_URI:
            return isHost(withoutPrefix(text, "."));
        default:
            return !isMappedIpv4(text);
    }
}

void addKinds(const STACK_OF(GENERAL_SUBTREE) * subtrees, ConstrainedKinds& kinds) {
    for (int i = 0; i < sk_GENERAL_SUBTREE_num(subtrees); ++i) {
        const GENERAL_NAME& base = *sk_GENERAL_SUBTREE_value(subtrees, i)->base;
        const unsigned kind = 1U << base.type & kAllKinds;
        kinds.any |= kind;
        if (kind != 0 && !isPlainConstraint(base)) {
            kinds.unusable |= kind;
        }
    }
}

bool isComparable(const GENERAL_NAME& name, const ConstrainedKinds& kinds) {
    if (name.type == GEN_OTHERNAME && OBJ_obj2nid(name.d.otherName->type_id) == NID_id_on_SmtpUTF8Mailbox) {
        const ASN1_TYPE* const value = name.d.otherName->value;
        return (kinds.any & 1U << GEN_EMAIL) == 0 ||
               ((kinds.unusable & 1U << GEN_EMAIL) == 0 && value->type == V_ASN1_UTF8STRING &&
                isPlainMail(textOf(value->value.utf8string), isInWideLabel));
    }
    const unsigned kind = 1U << name.type & kinds.any;
    return kind == 0 || ((kind & kinds.unusable) == 0 && isPlainName(name));
}

bool areSubjectMailsComparable(const X509_NAME* subject, const ConstrainedKinds& kinds) {
    for (int i = -1; (i = X509_NAME_get_index_by_NID(subject, NID_pkcs9_emailAddress, i)) >= 0;) {
        const ASN1_STRING* const mail = X509_NAME_ENTRY_get_data(X509_NAME_get_entry(subject, i));
        if ((kinds.unusable & 1U << GEN_EMAIL) != 0 || !isPlainMail(textOf(mail), isInLabel)) {
            return false;
        }
    }
    return true;
}

}  // namespace

void addConstrainedKinds(const Certificate& ca, ConstrainedKinds& kinds) {
    int found = 0;
    const NameConstraintsPtr constraints(
        static_cast<NAME_CONSTRAINTS*>(X509_get_ext_d2i(ca.x509(), NID_name_constraints, &found, nullptr)));
    if (constraints != nullptr) {
        addKinds(constraints->permittedSubtrees, kinds);
        addKinds(constraints->excludedSubtrees, kinds);
    } else if (found != -1) {  // present but not readable, perhaps because memory ran out
        kinds = {kAllKinds, kAllKinds};
    }
}

bool areNamesComparable(const Certificate& certificate, const ConstrainedKinds& kinds) {
    if (kinds.any == 0) {
        return true;
    }
    int found = 0;
    const GeneralNamesPtr names(
        static_cast<GENERAL_NAMES*>(X509_get_ext_d2i(certificate.x509(), NID_subject_alt_name, &found, nullptr)));
    if (names == nullptr && found != -1) {
        return false;
    }
    for (int i = 0; i < sk_GENERAL_NAME_num(names.get()); ++i) {
        if (!isComparable(*sk_GENERAL_NAME_value(names.get(), i), kinds)) {
            return false;
        }
    }
    return (kinds.any & 1U << GEN_EMAIL) == 0 ||
           areSubjectMailsComparable(X509_get_subject_name(certificate.x509()), kinds);
}

}  // namespace tallow::platform
