#include "checker/checker.h"

#include <pybind11/stl.h>

#include <cmath>
#include <mutex>

#include "python/calls.h"
#include "python/conversions.h"
#include "python/module.h"

namespace tallow::python {

namespace {

// A Question is for one thread at a time, which Python code need not know.
struct SharedQuestion {
    explicit SharedQuestion(Question question) : question(std::move(question)) {}

    Question question;
    std::mutex mutex;
};

// A Checker, and the callable that it may hold.
struct CheckerWithCallback {
    Checker checker;
    std::shared_ptr<Callback> callback;  // null without an exchange
};

using OptionalInput = std::optional<DerOrPem>;

Input inputOf(const OptionalInput& input) {
    return input ? Input(input->octets) : Input(std::string_view());
}

std::optional<Stored::Octets> storedInputOf(const OptionalInput& input) {
    return input ? std::optional(Stored::Octets(input->octets)) : std::nullopt;
}

void defineTrust(py::module_& module) {
    constexpr const char* kDoc =
        "What is trusted: nothing at first. Everything comes from memory unless `system` or `add_system_roots` is "
        "called. The functions that add something return the object itself, and raise BadInput when the argument "
        "contains nothing usable. A Checker keeps a copy: what is added later does not change it.";
    py::class_<Trust>(module, "Trust", kDoc)
        .def(py::init<>())
        .def_static("system", &Trust::system,
                    "The machine's trust: its stores ROOT and CA with their CRLs, the system's certificates, and the "
                    "administrator's policy. They are read at each check.")
        .def(
            "add_roots",
            [](Trust& self, const DerOrPem& certificates) -> Trust& { return self.addRoots(certificates); },
            py::arg("certificates"),
            "Adds roots: self-issued certificates. Others in the same input count as intermediate.")
        .def(
            "add_system_roots",
            [](Trust& self) -> Trust& {
                // Files are read into a copy: another thread may use the object meanwhile.
                self = withoutGil([grown = self]() mutable { return grown.addSystemRoots(); });
                return self;
            },
            "Adds what the machine trusts as roots now, without its other stores and its policy.")
        .def(
            "add_certificates",
            [](Trust& self, const DerOrPem& certificates) -> Trust& { return self.addCertificates(certificates); },
            py::arg("certificates"), "Adds intermediate certificates. The issuer passed to a check is used as well.")
        .def(
            "add_crls", [](Trust& self, const DerOrPem& crls) -> Trust& { return self.addCrls(crls); }, py::arg("crls"),
            "Adds CRLs, for the chains of responders: they show that its CAs are not revoked. For proved_at, those of "
            "that time.");
}

void defineQuestion(py::module_& module) {
    py::class_<SharedQuestion>(module, "Question",
                               "A question for a responder. Judge the response with the question that was sent: it "
                               "contains the nonce.")
        .def_property_readonly(
            "request", [](const SharedQuestion& self) { return bytesOf(self.question.request()); },
            "POST it with Content-Type application/ocsp-request.")
        .def_property_readonly(
            "responders", [](const SharedQuestion& self) { return self.question.responders(); },
            "Where to send it, the best address first; empty when the certificate names none.");
}

constexpr const char* kCheckerDoc =
    R"(Makes checks. Immutable: one object serves any number of threads.

timeout: of one call, all responders, redirects and downloads together, in seconds. Absent: the setting check_timeout_ms
    where the policy applies, else 10 s.
responders: asked instead of the addresses in the certificate, in this order.
nonce: absent: what the policy says, else Nonce.TRY.
max_age: narrows how old thisUpdate may be, in seconds. Absent: nextUpdate decides, and 7 days without one.
clock_skew: how far the clock of a responder may be ahead, in seconds.
downloads: whether issuers and CRLs are downloaded from addresses in certificates.
proxy: "http://host:port", with a login if needed; empty: none, or that of the policy.
hash_oid: dotted OID of the hash in certificate identifiers; empty: that of the policy, else SHA-1, which every
    responder knows. No security depends on it.
use_cache: whether downloaded issuers and CRLs are kept and used again. Responses are always asked for.
verify_chain: whether a good certificate must also have a valid chain. Without this only its status is checked.
policy: whether the administrator's policy applies; absent: for Trust.system() only.
exchange: called instead of the built-in HTTP, for responders only, as exchange(url, request, seconds_left), on the
    thread of the check. It returns the body of a response with HTTP status 200, or None. An exception counts as no
    answer, and its text is the reason of the attempt; KeyboardInterrupt and SystemExit end the check and are raised.

Raises BadInput for an option that cannot be used.)";

constexpr const char* kAskDoc =
    R"(The first half of a check, for callers with their own HTTP; `judge` is the second. With asyncio, where `post` is a
coroutine that returns the body of the response:

    async def check(checker, certificate, issuer, post):
        question = await asyncio.to_thread(checker.ask, certificate, issuer)
        verdict = tallow.Verdict()
        for url in question.responders:
            answer = await post(url, question.request)  # Content-Type: application/ocsp-request
            verdict = await asyncio.to_thread(checker.judge, question, answer)
            if verdict.answer is not tallow.Answer.UNPROVEN:
                break
        return verdict

`ask` may download a missing issuer and `judge` CRLs; with the issuer given and downloads=False nothing is downloaded,
and they can be called directly. Raises BadInput.)";

// Rounded down, so that a limit is not exceeded, except for a timeout: 0 would be refused.
std::chrono::seconds secondsOf(Period period) {
    return std::chrono::seconds(static_cast<std::int64_t>(std::floor(period.seconds)));
}

std::chrono::milliseconds timeoutOf(Period period) {
    constexpr double kMillisecondsPerSecond = 1000;
    return std::chrono::milliseconds(static_cast<std::int64_t>(std::ceil(period.seconds * kMillisecondsPerSecond)));
}

std::unique_ptr<CheckerWithCallback> makeChecker(const Trust& trust, std::optional<Period> timeout,
                                                 std::vector<std::string> responders, std::optional<Nonce> nonce,
                                                 std::optional<Period> maxAge, Period clockSkew, bool downloads,
                                                 std::string proxy, std::string hashOid, bool useCache,
                                                 bool verifyChain, std::optional<bool> policy,
                                                 std::optional<Callable> exchange) {
    Options options;
    if (timeout) {
        options.timeout = timeoutOf(*timeout);
    }
    options.responders = std::move(responders);
    options.nonce = nonce;
    if (maxAge) {
        options.maxAge = secondsOf(*maxAge);
    }
    options.clockSkew = secondsOf(clockSkew);
    options.downloads = downloads;
    options.proxy = std::move(proxy);
    options.hashOid = std::move(hashOid);
    options.useCache = useCache;
    options.verifyChain = verifyChain;
    options.policy = policy;
    std::shared_ptr<Callback> callback;
    if (exchange) {
        callback = makeCallback(std::move(exchange->object));
        options.exchange = [callback](const std::string& url, const Bytes& body,
                                      std::chrono::steady_clock::time_point deadline) {
            return (*callback)(url, body, deadline);
        };
    }
    return std::make_unique<CheckerWithCallback>(CheckerWithCallback{Checker(trust, std::move(options)), callback});
}

// The callable of a Checker that Python's garbage collector found; null before __init__ has run.
py::object* callableOf(PyObject* self) {
    const auto slot = reinterpret_cast<py::detail::instance*>(self)->get_value_and_holder();
    if (!slot.holder_constructed()) {
        return nullptr;
    }
    const auto* const checker = static_cast<const CheckerWithCallback*>(slot.value_ptr());
    return checker->callback ? &checker->callback->callable() : nullptr;
}

// An object whose method is the exchange of its own Checker is a cycle.
void collectCycles(PyHeapTypeObject* heapType) {
    PyTypeObject& type = heapType->ht_type;
    type.tp_flags |= Py_TPFLAGS_HAVE_GC;
    type.tp_traverse = [](PyObject* self, visitproc visit, void* arg) {
        Py_VISIT(Py_TYPE(self));
        if (const py::object* callable = callableOf(self)) {
            Py_VISIT(callable->ptr());
        }
        return 0;
    };
    type.tp_clear = [](PyObject* self) {
        if (py::object* callable = callableOf(self)) {
            *callable = py::none();
        }
        return 0;
    };
}

using CheckerClass = py::class_<CheckerWithCallback>;

void defineChecks(CheckerClass& checker) {
    checker
        .def(
            "check",
            [](const CheckerWithCallback& self, const DerOrPem& certificate, const OptionalInput& issuer) {
                return withoutGil([&] { return self.checker.check(certificate, inputOf(issuer)); });
            },
            py::arg("certificate"), py::arg("issuer") = py::none(),
            "Asks responders until one answer is verified. REVOKED ends the search; UNKNOWN counts if no other "
            "responder "
            "has a better answer. A missing issuer is looked for in Trust, and downloaded if that is permitted.")
        .def(
            "check_many",
            [](const CheckerWithCallback& self, const std::vector<DerOrPem>& certificates,
               const OptionalInput& issuer) {
                const std::vector<Input> inputs(certificates.begin(), certificates.end());
                return withoutGil([&] { return self.checker.check(inputs, inputOf(issuer)); });
            },
            py::arg("certificates"), py::arg("issuer") = py::none(),
            "One verdict for each certificate, in their order. `timeout` holds for each of them.")
        .def(
            "fetch_staple",
            [](const CheckerWithCallback& self, const DerOrPem& certificate, const OptionalInput& issuer) {
                return withoutGil([&] { return self.checker.fetchStaple(certificate, inputOf(issuer)); });
            },
            py::arg("certificate"), py::arg("issuer") = py::none(),
            "A check without a nonce: `response` of the verdict may be given to others, as a server does that staples "
            "it. Fetch the next one halfway to `next_update`.")
        .def(
            "ask",
            [](const CheckerWithCallback& self, const DerOrPem& certificate, const OptionalInput& issuer) {
                return std::make_unique<SharedQuestion>(
                    withoutGil([&] { return self.checker.ask(certificate, inputOf(issuer)); }));
            },
            py::arg("certificate"), py::arg("issuer") = py::none(), kAskDoc)
        .def(
            "judge",
            [](const CheckerWithCallback& self, SharedQuestion& question, const Der& answer) {
                return withoutGil([&] {
                    const std::lock_guard lock(question.mutex);
                    return self.checker.judge(question.question, answer.octets);
                });
            },
            py::arg("question"), py::arg("answer"),
            "Makes every check of `check` on the body of a response; `ask` shows how. Offline unless the responder's "
            "chain needs downloads.")
        .def(
            "issuer_of",
            [](const CheckerWithCallback& self, const DerOrPem& certificate,
               const OptionalInput& issuer) -> std::optional<py::bytes> {
                const Bytes found = withoutGil([&] { return self.checker.issuerOf(certificate, inputOf(issuer)); });
                return found.empty() ? std::nullopt : std::optional(bytesOf(found));
            },
            py::arg("certificate"), py::arg("issuer") = py::none(),
            "The certificate (DER) whose key signed `certificate`: `issuer` if it is given, else one from Trust or "
            "downloads; None when there is none. Raises BadInput when `issuer` did not sign it.");
}

void defineStored(CheckerClass& checker) {
    checker
        .def(
            "proved_at",
            [](const CheckerWithCallback& self, Time when, const DerOrPem& certificate, const OptionalInput& issuer,
               const Der& answer) {
                return withoutGil(
                    [&] { return self.checker.provedAt(when, certificate, inputOf(issuer), answer.octets); });
            },
            py::arg("when"), py::arg("certificate"), py::arg("issuer"), py::arg("answer"),
            "What a stored response proves about the certificate at `when`: the signer's chain, its revocation and the "
            "dates are those of that time. Nothing is downloaded. A certificate that was revoked after `when` is GOOD, "
            "with `revoked_at` set.")
        .def(
            "verify",
            [](const CheckerWithCallback& self, const Der& answer, const OptionalInput& certificate,
               const OptionalInput& issuer, const std::optional<Der>& request, std::optional<Time> at) {
                const Stored stored{storedInputOf(certificate), storedInputOf(issuer),
                                    request ? std::optional(Stored::Octets(request->octets)) : std::nullopt, at};
                return withoutGil([&] { return self.checker.verify(answer.octets, stored); });
            },
            py::arg("answer"), py::kw_only(), py::arg("certificate") = py::none(), py::arg("issuer") = py::none(),
            py::arg("request") = py::none(), py::arg("at") = py::none(),
            "What a stored response says about one certificate, about those of a request, whose nonce must match, or "
            "about all its entries; at a time, or now. At least one verdict; of several, only the first that is proven "
            "holds the response. Nothing is downloaded.")
        .def(
            "send",
            [](const CheckerWithCallback& self, const Der& request, const std::string& url) {
                return withoutGil([&] { return self.checker.send(request.octets, url); });
            },
            py::arg("request"), py::arg("url"),
            "Sends a request as it is, by the built-in HTTP. The answer is read and its nonce compared, but nothing is "
            "verified.")
        .def(
            "receive",
            [](const CheckerWithCallback& self, const Der& request) {
                return withoutGil([&] { return self.checker.receive(request.octets); });
            },
            py::arg("request"), "Whether a received request is intact, and who signed it.");
}

}  // namespace

void defineChecker(py::module_& module) {
    defineTrust(module);
    defineQuestion(module);
    CheckerClass checker(module, "Checker", py::custom_type_setup(collectCycles), kCheckerDoc);
    checker.def(py::init(&makeChecker), py::arg("trust"), py::kw_only(), py::arg("timeout") = py::none(),
                py::arg("responders") = std::vector<std::string>(), py::arg("nonce") = py::none(),
                py::arg("max_age") = py::none(),
                py::arg_v("clock_skew", Period{Options().clockSkew.count() * 1.0}, "180"),
                py::arg("downloads").noconvert() = true, py::arg("proxy") = "", py::arg("hash_oid") = "",
                py::arg("use_cache").noconvert() = false, py::arg("verify_chain").noconvert() = false,
                py::arg("policy").noconvert() = py::none(), py::arg("exchange") = py::none());
    defineChecks(checker);
    defineStored(checker);
}

}  // namespace tallow::python
