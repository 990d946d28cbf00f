#include <initializer_list>
#include <utility>

#include "python/conversions.h"
#include "python/module.h"

namespace tallow::python {

namespace {

template <typename Enum>
struct Member {
    const char* name;
    Enum value;
};

// A class of Python's module enum, by the name `base` there.
template <typename Enum>
py::object define(py::module_& module, const char* name, const char* base, const char* doc,
                  std::initializer_list<Member<Enum>> members) {
    py::list list;
    for (const Member<Enum>& member : members) {
        list.append(py::make_tuple(member.name, static_cast<int>(member.value)));
    }
    py::object type = py::module_::import("enum").attr(base)(name, list, py::arg("module") = "tallow");
    type.attr("__doc__") = doc;
    module.attr(name) = type;
    EnumClass<Enum>::type = py::object(type).release();
    return type;
}

// Members of an ordinary enum are true, whatever they mean: `if verdict.answer:` would accept a revoked certificate.
void forbidTruth(const py::object& type) {
    const std::string name = py::str(type.attr("__name__"));
    type.attr("__bool__") = py::cpp_function(
        [name](const py::object& /*self*/) -> bool {
            throw py::type_error("a member of " + name + " is neither true nor false; compare it with `is`");
        },
        py::name("__bool__"), py::is_method(type));
}

}  // namespace

void defineEnums(py::module_& module) {
    forbidTruth(define<Answer>(module, "Answer", "Enum",
                               "What a verified response says. UNPROVEN: none was verified, so nothing is known.",
                               {{"UNPROVEN", Answer::kUnproven},
                                {"GOOD", Answer::kGood},
                                {"REVOKED", Answer::kRevoked},
                                {"UNKNOWN", Answer::kUnknown}}));
    define<Step>(
        module, "Step", "IntEnum",
        "How far a check got, in this order: INPUT (the arguments were read), EXCHANGE (a responder was asked), "
        "DECODING, NONCE, SIGNATURE, SIGNER (its chain, authorisation and revocation), ENTRY (the entries about "
        "the certificate), CHAIN (that of the certificate, with verify_chain), PROVEN (all of these passed).",
        {{"INPUT", Step::kInput},
         {"EXCHANGE", Step::kExchange},
         {"DECODING", Step::kDecoding},
         {"NONCE", Step::kNonce},
         {"SIGNATURE", Step::kSignature},
         {"SIGNER", Step::kSigner},
         {"ENTRY", Step::kEntry},
         {"CHAIN", Step::kChain},
         {"PROVEN", Step::kProven}});
    forbidTruth(
        define<Freshness>(module, "Freshness", "Enum",
                          "What shows that the response is not an old one. Without NONCE_MATCHED only its dates do.",
                          {{"NONE", Freshness::kNone},
                           {"NONCE_MATCHED", Freshness::kNonceMatched},
                           {"NONCE_NOT_RETURNED", Freshness::kNonceNotReturned},
                           {"NONCE_NOT_SENT", Freshness::kNonceNotSent}}));
    forbidTruth(
        define<Authority>(module, "Authority", "Enum",
                          "Why the signer may answer (RFC 6960, 4.2.2.2): it is the ISSUER, the DELEGATE of the "
                          "issuer, or named by the administrator's POLICY.",
                          {{"NONE", Authority::kNone},
                           {"ISSUER", Authority::kIssuer},
                           {"DELEGATE", Authority::kDelegate},
                           {"POLICY", Authority::kPolicy}}));
    define<Reason>(module, "Reason", "Enum", "The reason of a revocation, numbered as in RFC 5280, 5.3.1.",
                   {{"UNSPECIFIED", Reason::kUnspecified},
                    {"KEY_COMPROMISE", Reason::kKeyCompromise},
                    {"CA_COMPROMISE", Reason::kCaCompromise},
                    {"AFFILIATION_CHANGED", Reason::kAffiliationChanged},
                    {"SUPERSEDED", Reason::kSuperseded},
                    {"CESSATION_OF_OPERATION", Reason::kCessationOfOperation},
                    {"CERTIFICATE_HOLD", Reason::kCertificateHold},
                    {"REMOVE_FROM_CRL", Reason::kRemoveFromCrl},
                    {"PRIVILEGE_WITHDRAWN", Reason::kPrivilegeWithdrawn},
                    {"AA_COMPROMISE", Reason::kAaCompromise}});
    define<Nonce>(
        module, "Nonce", "Enum",
        "REQUIRE: only a response with the nonce of the request counts. TRY: a response without one is accepted "
        "by its dates. OFF: none is sent. A wrong nonce is always refused.",
        {{"REQUIRE", Nonce::kRequire}, {"TRY", Nonce::kTry}, {"OFF", Nonce::kOff}});
    using Signer = ReceivedRequest::Signer;
    forbidTruth(define<Signer>(
        module, "Signer", "Enum",
        "Who signed a received request. UNDECIDED: the check could not be made, or the certificate was not found. "
        "INVALID: signature, chain or a critical extension was refused.",
        {{"UNDECIDED", Signer::kUndecided},
         {"INVALID", Signer::kInvalid},
         {"UNSIGNED", Signer::kUnsigned},
         {"PROVEN", Signer::kProven}}));
}

}  // namespace tallow::python
