#include <pybind11/stl.h>

#include <cstdio>

#include "python/conversions.h"
#include "python/module.h"

namespace tallow::python {

namespace {

// Statuses are unsigned here, as the documents write them: verdict.status == 0x80092010.
template <typename Result>
std::uint32_t statusOf(const Result& result) {
    return static_cast<std::uint32_t>(result.status);
}

// A serial number as an integer, which is how the package cryptography has it.
template <typename Result>
std::optional<py::int_> serialOf(const Result& result) {
    if (result.serial.empty()) {
        return std::nullopt;
    }
    const py::handle type(reinterpret_cast<PyObject*>(&PyLong_Type));
    return py::int_(type.attr("from_bytes")(bytesOf(result.serial), "big", py::arg("signed") = true));
}

// A class whose objects cannot be changed from Python.
template <typename Result>
class ResultClass {
public:
    ResultClass(py::module_& module, const char* name, const char* doc) : class_(module, name, doc) {}

    template <typename Value>
    ResultClass& field(const char* name, Value Result::*member, const char* doc = "") {
        return property(
            name, [member](const Result& self) { return self.*member; }, doc);
    }
    ResultClass& field(const char* name, Bytes Result::*member, const char* doc = "") {
        return property(
            name, [member](const Result& self) { return bytesOf(self.*member); }, doc);
    }
    template <typename Get>
    ResultClass& property(const char* name, Get get, const char* doc = "") {
        class_.def_property_readonly(name, get, doc);
        return *this;
    }
    py::class_<Result>& type() { return class_; }

private:
    py::class_<Result> class_;
};

// <Verdict GOOD 'CN=leaf'>, <Verdict UNPROVEN 0x80092012 'CN=leaf'>
std::string reprOf(const Verdict& verdict) {
    std::string text = "<Verdict " + py::cast(verdict.answer).attr("name").cast<std::string>();
    if (verdict.answer == Answer::kUnproven) {
        char number[16];
        std::snprintf(number, sizeof number, " 0x%08X", statusOf(verdict));
        text += number;
    }
    if (!verdict.subject.empty()) {
        text += " " + py::repr(py::str(verdict.subject)).cast<std::string>();
    }
    return text + ">";
}

void defineAttempt(py::module_& module) {
    ResultClass<Attempt>(module, "Attempt", "One responder, or one address on the way to it.")
        .field("url", &Attempt::url, "Without user name and password.")
        .field("reached", &Attempt::reached)
        .property("status", statusOf<Attempt>, "0 when its answer was accepted.")
        .field("http_status", &Attempt::httpStatus, "0 when no HTTP response came, and with an `exchange`.")
        .field("duration", &Attempt::duration)
        .field("is_redirect", &Attempt::isRedirect, "This address led to the next one.")
        .field("is_skipped", &Attempt::isSkipped, "Not asked: a limit was reached.")
        .field("is_from_cache", &Attempt::isFromCache)
        .field("reason", &Attempt::reason, "Why its answer was not accepted; empty when it was.");
}

void defineVerdict(py::module_& module) {
    ResultClass<Verdict> verdict(
        module, "Verdict",
        "The result of a check. Members that do not apply are None or empty.\n\n"
        "A verdict is neither true nor false, so that `if checker.check(...)` cannot be mistaken for a check of the "
        "answer: bool(verdict) raises TypeError. Compare `answer`.");
    verdict.field("answer", &Verdict::answer, "GOOD, REVOKED and UNKNOWN are proven; UNPROVEN says nothing.")
        .field("reached", &Verdict::reached, "Step.PROVEN exactly when `answer` is not UNPROVEN.")
        .property("status", statusOf<Verdict>, "0 exactly when the certificate is good.")
        .field("subject", &Verdict::subject, "Of the certificate, RFC 4514; empty when only its number is known.")
        .property("serial", serialOf<Verdict>, "Serial number of the certificate.")
        .field("revoked_at", &Verdict::revokedAt, "Also for a good verdict of proved_at, when it was revoked later.")
        .field("reason", &Verdict::reason, "Of the revocation.")
        .field("produced_at", &Verdict::producedAt, "Of the response.")
        .field("this_update", &Verdict::thisUpdate, "Of the entry that counted.")
        .field("next_update", &Verdict::nextUpdate, "Of the entry that counted.")
        .field("freshness", &Verdict::freshness)
        .field("responder", &Verdict::responder, "The address that answered; empty for a stored response.")
        .field("signer", &Verdict::signer, "Subject of the certificate that signed the response, RFC 4514.")
        .field("signer_certificate", &Verdict::signerCertificate, "DER.")
        .field("authority", &Verdict::authority)
        .field("is_chain_valid", &Verdict::isChainValid, "The certificate's own chain was validated (verify_chain).")
        .field("request", &Verdict::request, "What was sent.")
        .field("response", &Verdict::response, "The verified response, to be stored; empty when UNPROVEN.")
        .field("unverified", &Verdict::unverified,
               "The last answer that was refused. For diagnosis only: an attacker may have written it.")
        .field("attempts", &Verdict::attempts)
        .field("cause", &Verdict::cause, "Why the certificate is not proven, in one line; empty when it is.");
    verdict.type()
        .def(py::init<>(), "A verdict without a check: Answer.UNPROVEN.")
        .def("why", &Verdict::why, "One sentence for people: the certificate, what is known, and the cause.")
        .def("__str__", &Verdict::why)
        .def("__repr__", &reprOf)
        .def("__bool__", [](const Verdict& /*self*/) -> bool {
            throw py::type_error("a verdict is neither true nor false; write `verdict.answer is tallow.Answer.GOOD`");
        });
}

void defineReceived(py::module_& module) {
    using Asked = ReceivedRequest::Asked;
    ResultClass<Asked>(module, "Asked", "One certificate that a received request asks about.")
        .field("hash_oid", &Asked::hashOid)
        .field("issuer_name_hash", &Asked::issuerNameHash)
        .field("issuer_key_hash", &Asked::issuerKeyHash)
        .property("serial", serialOf<Asked>);
    ResultClass<ReceivedRequest>(module, "ReceivedRequest", "A request that a client sent.")
        .field("signer", &ReceivedRequest::signer)
        .property("status", statusOf<ReceivedRequest>, "0 exactly for Signer.UNSIGNED and Signer.PROVEN.")
        .field("requestor", &ReceivedRequest::requestor,
               "Subject of the signer's certificate, or of one with its name, RFC 4514.")
        .field("requestor_certificate", &ReceivedRequest::requestorCertificate,
               "DER. Whether it may ask is for the caller to decide.")
        .field("signature_algorithm", &ReceivedRequest::signatureAlgorithm,
               "Dotted OID; empty for an unsigned request.")
        .field("asked", &ReceivedRequest::asked, "Empty unless UNSIGNED or PROVEN.")
        .field("cause", &ReceivedRequest::cause, "In one line; empty for UNSIGNED and PROVEN.");
    ResultClass<Sent>(module, "Sent", "What came back for a request that was sent as it is.")
        .field("answer", &Sent::answer, "Not verified; empty when none came.")
        .property("status", statusOf<Sent>,
                  "0: a successful response that fits the request, as far as that is known unverified.")
        .field("attempts", &Sent::attempts)
        .field("cause", &Sent::cause, "In one line; empty when `status` is 0.");
}

}  // namespace

void defineResults(py::module_& module) {
    defineAttempt(module);
    defineVerdict(module);
    defineReceived(module);
}

}  // namespace tallow::python
