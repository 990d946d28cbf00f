// The complete check in one call: is this certificate still good? This is the interface for new programs.
//
//   const tallow::Checker checker(tallow::Trust().addRoots(pem), {.timeout = 5s});
//   const tallow::Verdict verdict = checker.check(certificate, issuer);
//   if (verdict.answer != tallow::Answer::kGood) {
//       log(verdict.why());
//   }
//
// Checker::check, judge, provedAt, verify and receive return a verdict whatever happens: a revoked certificate, a
// silent network and a broken file are verdicts, not exceptions. An object that is not filled in says "unproven". The
// functions that set something up (Trust, Checker, ask, issuerOf) throw BadInput for arguments that cannot be used. All
// functions may throw std::bad_alloc.
//
// Nothing here changes the process. Policy, stores and cache are read only where Trust::system or Options ask for them.
// The settings in [crypto], which limit what untrusted input can consume and say whether SHA-1 is accepted, hold for
// every Checker. docs/embedding.md shows how the parts are used together.
#pragma once

#if __cplusplus < 202002L
#error "tallow needs C++20: compile with -std=c++20"
#endif

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "export.h"

namespace tallow {

class SilentResponders;

using Bytes = std::vector<std::uint8_t>;
using Time = std::chrono::system_clock::time_point;

/// Octets that are only read during the call. Certificates and CRLs are DER, or PEM with any number of blocks and text
/// between them; requests and responses are DER. A path is not accepted: read the file first.
struct Input {
    Input(std::span<const std::uint8_t> octets) : bytes(octets) {}  // NOLINT(google-explicit-constructor)
    Input(const std::uint8_t* data, std::size_t size) : bytes(data, size) {}
    Input(const Bytes& octets) : bytes(octets) {}  // NOLINT(google-explicit-constructor)
    Input(std::string_view text)                   // NOLINT(google-explicit-constructor)
        : bytes(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()) {}
    Input(const std::string& text) : Input(std::string_view(text)) {}  // NOLINT(google-explicit-constructor)
    /// A null pointer is an empty text.
    Input(const char* text)
        : Input(std::string_view(text == nullptr ? "" : text)) {}  // NOLINT(google-explicit-constructor)

    std::span<const std::uint8_t> bytes;
};

/// An argument that cannot be used. what() names it, the cause and a remedy in one line.
class TALLOW_EXPORT BadInput : public std::invalid_argument {
public:
    BadInput(std::int32_t status, const std::string& text) : std::invalid_argument(text), status_(status) {}
    /// A status of handles/status.h; never 0.
    [[nodiscard]] std::int32_t status() const noexcept { return status_; }

private:
    std::int32_t status_;
};

/// What a verified response says about the certificate. kUnproven: no response was verified, so nothing is known.
enum class Answer { kUnproven, kGood, kRevoked, kUnknown };

/// How far the check got with the responder that came closest to an answer.
enum class Step {
    kInput,      ///< certificate, issuer and options were read
    kExchange,   ///< a responder was asked
    kDecoding,   ///< the answer was read: a successful OCSP response in DER (RFC 6960, 4.2.1)
    kNonce,      ///< the nonce was compared
    kSignature,  ///< the signer was found and its signature verified
    kSigner,     ///< its chain, authorisation and revocation were checked
    kEntry,      ///< the entries about the certificate were examined, with their times
    kChain,      ///< the chain of the certificate itself was validated; only with Options::verifyChain
    kProven,     ///< all of these passed
};

/// What shows that the response is not an old one. Without a matching nonce its dates do.
enum class Freshness { kNone, kNonceMatched, kNonceNotReturned, kNonceNotSent };

/// Why the signer may answer (RFC 6960, 4.2.2.2).
enum class Authority {
    kNone,      ///< it may not, or was not found
    kIssuer,    ///< it issued the certificate
    kDelegate,  ///< the issuer named it as its responder
    kPolicy,    ///< the administrator did (AuthorizedOCSPs)
};

/// The reason of a revocation, numbered as in RFC 5280, 5.3.1.
enum class Reason {
    kUnspecified = 0,
    kKeyCompromise = 1,
    kCaCompromise = 2,
    kAffiliationChanged = 3,
    kSuperseded = 4,
    kCessationOfOperation = 5,
    kCertificateHold = 6,
    kRemoveFromCrl = 8,
    kPrivilegeWithdrawn = 9,
    kAaCompromise = 10,
};

/// Who named the address of a responder.
enum class ResponderSource {
    kCaller,          ///< Options::responders, or the caller of `send`
    kCertificate,     ///< the certificate, in its authority information access
    kIssuerProperty,  ///< the side file of the issuer in a store
    kPolicy,          ///< the administrator (DefaultOCSPURL)
    kUntrusted,       ///< an author of requests, as of a job in a queue; trusted no more than a certificate
};

/// What the caller can change so that the next check gets further.
enum class Remedy {
    kNone,        ///< the reason says what to do, or there is nothing
    kTime,        ///< allow more time: Options::timeout ended the attempt
    kAddress,     ///< name another address for the responder
    kProxy,       ///< check the address of the proxy
    kProxyLogin,  ///< name and password at the proxy
    kSha1,        ///< name the issuer by SHA-1 (Options::hashOid), since the responder may know no other hash
    kTryNonce,    ///< Nonce::kTry: the responder returns no nonce, and Options::nonce requires one
};

/// One responder, or one address on the way to it.
struct Attempt {
    std::string url;  ///< without user name and password
    ResponderSource source = ResponderSource::kCaller;
    Step reached = Step::kInput;
    std::int32_t status = -1;  ///< 0 when its answer was accepted, else a status of handles/status.h
    int httpStatus = 0;        ///< 0 when no HTTP response came; the proxy's, when it refused to connect
    std::chrono::milliseconds duration{0};
    bool isRedirect = false;  ///< this address led to the next one
    bool isSkipped = false;   ///< not asked: a limit was reached, or it is among Options::silent
    bool isFromCache = false;
    std::string reason;  ///< why it was not accepted, "signature: ..."; empty when it was
    Remedy remedy = Remedy::kNone;
};

/// A certificate of a chain, as it was judged. Names are RFC 4514 and may contain any character.
struct ChainLink {
    enum class Revocation { kNotChecked, kGood, kRevoked, kUnknown };
    std::string subject, issuer;
    Bytes serial;
    std::optional<Time> notBefore, notAfter;
    Revocation revocation = Revocation::kNotChecked;
    std::string crlIssuer;  ///< of the CRL that decided, or of the newest one that could not; empty: none was found
    std::optional<Time> crlThisUpdate, crlNextUpdate;
    std::string fault;  ///< what is wrong with it, in words; empty: nothing
};

/// A download of a certificate or a CRL from an address in a certificate.
struct Download {
    enum class Content { kIssuer, kCrl };
    Content content = Content::kIssuer;
    std::string url;           ///< without user name and password
    std::int32_t status = -1;  ///< 0 when something was received, else a status of handles/status.h
    int httpStatus = 0;        ///< 0 when no HTTP response came
    std::chrono::milliseconds duration{0};
    bool isFromCache = false;
    std::string reason;  ///< why nothing was received; empty when it was
};

/// Where the issuer of the certificate was found.
enum class IssuerSource { kNone, kGiven, kTrust, kStore, kDownloaded };

/// What a verdict was made from, for people. Complete up to the step that failed. Of the verdicts of `verify` the first
/// 16 have it.
struct Evidence {
    std::string issuer;  ///< subject, RFC 4514; empty when it was not found
    Bytes issuerCertificate;
    IssuerSource issuerSource = IssuerSource::kNone;
    std::string hashOid;                      ///< of the certificate identifier in the request
    std::vector<ChainLink> signerChain;       ///< from the signer of the response to its root
    std::vector<ChainLink> certificateChain;  ///< of the certificate, with Options::verifyChain
    std::vector<Download> downloads;          ///< in their order; without those of responses
};

/// The result of a check. Members that do not apply are empty. `subject` and `signer` may contain any character, since
/// others wrote them: text::safeLine makes them fit for a terminal. All other texts are safe.
struct TALLOW_EXPORT Verdict {
    Answer answer = Answer::kUnproven;
    Step reached = Step::kInput;  ///< kProven exactly when `answer` is not kUnproven
    std::int32_t status = -1;     ///< a status of handles/status.h; 0 exactly when the certificate is good
    std::string subject;          ///< of the certificate, RFC 4514; empty when only its number is known
    Bytes serial;                 ///< of the certificate, big-endian as in DER

    std::optional<Time> revokedAt;  ///< also for a good verdict of provedAt, when it was revoked later
    std::optional<Reason> reason;
    std::optional<Time> producedAt, thisUpdate, nextUpdate;  ///< of the response and of the entry that counted

    Freshness freshness = Freshness::kNone;
    std::string responder;    ///< the address that answered; empty for a stored response
    std::string signer;       ///< subject of the certificate that signed the response, RFC 4514
    Bytes signerCertificate;  ///< DER
    Authority authority = Authority::kNone;
    bool isChainValid = false;  ///< the certificate's own chain was validated (Options::verifyChain)

    Bytes request;  ///< what was sent
    /// The verified response as received, to be stored or stapled; empty when unproven. Of the verdicts of `verify`
    /// only the first that is proven has it.
    Bytes response;
    /// The last answer that was refused. For diagnosis only: an attacker may have written it. Of the verdicts of
    /// `verify` only the first has it.
    Bytes unverified;
    std::vector<Attempt> attempts;
    Evidence evidence;
    std::string cause;  ///< why the certificate is not proven, in one line; empty when it is

    /// One sentence for people, never empty: the certificate, what is known, and the cause.
    [[nodiscard]] std::string why() const;
};

/// What is trusted. Everything comes from memory unless `system` or `addSystemRoots` is called. Copies share nothing
/// that can change. All functions throw BadInput for octets that contain nothing usable.
class TALLOW_EXPORT Trust {
public:
    /// Trusts nothing yet.
    Trust();
    Trust(const Trust&) = default;  // moving copies, so that no object is ever without its content
    Trust& operator=(const Trust&) = default;
    /// The machine's trust: the stores ROOT and CA with their CRLs, the system's certificates, and the administrator's
    /// policy. They are read at each check, so a change counts at once.
    [[nodiscard]] static Trust system();

    /// Roots: self-issued certificates. Input with no such certificate is refused; others in it count as intermediate.
    Trust& addRoots(Input certificates);
    /// What the machine trusts as roots now, without its other stores and its policy.
    Trust& addSystemRoots();
    /// Intermediate certificates. The issuer that is passed to a check is used as well.
    Trust& addCertificates(Input certificates);
    /// CRLs, for the chain of responders: they must show that its CAs are not revoked. For provedAt, those of that
    /// time; for receive, also that of the requestor's issuer.
    Trust& addCrls(Input crls);

private:
    friend class Checker;
    struct Impl;
    std::shared_ptr<const Impl> impl_;
};

/// Posts `body` as application/ocsp-request to `url` and returns the body of a response with status 200, or nothing.
/// Called on the thread of the check; must return by `deadline`. An exception is reported as no answer, and its what()
/// in Attempt::reason.
using Exchange = std::function<std::optional<Bytes>(const std::string& url, const Bytes& body,
                                                    std::chrono::steady_clock::time_point deadline)>;

/// kRequire: only a response with our nonce counts. kTry: a response without one is accepted by its dates, since
/// responders that sign in advance cannot return one. A wrong nonce is always refused.
enum class Nonce { kRequire, kTry, kOff };

/// How certificates are checked. As it is, responders are asked with a nonce for at most ten seconds.
struct Options {
    /// Of one call: all responders, redirects and downloads together. Absent: the setting check_timeout_ms where the
    /// policy applies, else 10 s.
    std::optional<std::chrono::milliseconds> timeout{};
    /// Asked instead of the addresses in the certificate, in this order.
    std::vector<std::string> responders{};
    /// Where they come from. With kCertificate and kUntrusted they are refused where those of a certificate are, for
    /// example private addresses.
    ResponderSource respondersFrom = ResponderSource::kCaller;
    /// Absent: what the administrator's policy says; else kTry. RequireNonce of the policy holds whatever is set here.
    std::optional<Nonce> nonce{};
    /// Narrows how old thisUpdate may be; absent: nextUpdate decides, and 7 days (policy: ThisUpdateAccuracy) without
    /// it.
    std::optional<std::chrono::seconds> maxAge{};
    /// How far the clock of a responder may be ahead; with policy ResponseAccuracy, if it is set.
    std::chrono::seconds clockSkew{180};
    /// Whether issuers and CRLs are downloaded from addresses in certificates.
    bool downloads = true;
    /// "http://host:port", with a login if needed; empty: none, or that of the policy.
    std::string proxy{};
    /// Name and password at the proxy, also at that of the policy; the name has no colon. Empty: those in the address.
    std::string proxyUser{};
    std::string proxyPassword{};
    /// Dotted OID of the hash in certificate identifiers; empty: that of the policy, else SHA-1, which every responder
    /// knows. No security depends on it.
    std::string hashOid{};
    /// Whether downloaded issuers and CRLs are kept and used again: in the directory of the setting url_cache, or by
    /// this process where it cannot be written. Responses are always asked for, whatever the setting
    /// OcspValiditySeconds says.
    bool useCache = false;
    /// Whether a good certificate must also have a valid chain. Without this only its status is checked.
    bool verifyChain = false;
    /// Whether the administrator's policy applies; absent: for Trust::system only.
    std::optional<bool> policy{};
    /// Responders in it are skipped, and those that refuse the connection or do not answer in time are added
    /// (checker/silent_responders.h). Empty: every check asks.
    std::shared_ptr<SilentResponders> silent{};
    /// Empty: built-in HTTP.
    Exchange exchange{};
};

/// A question for a responder. The response must be judged with the question that was sent, since it contains the
/// nonce. One thread at a time.
class TALLOW_EXPORT Question {
public:
    Question(Question&&) noexcept;
    Question& operator=(Question&&) noexcept;
    ~Question();

    /// POST it with Content-Type application/ocsp-request.
    [[nodiscard]] const Bytes& request() const noexcept;
    /// Where to send it, the best address first; empty when the certificate names none.
    [[nodiscard]] const std::vector<std::string>& responders() const noexcept;

private:
    friend class Checker;
    struct Impl;
    explicit Question(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> impl_;
};

/// What a stored response is held against.
struct Stored {
    /// A copy of octets, from whatever makes an Input: unlike it, this one may outlive them.
    struct Octets {
        template <typename Source, typename = std::enable_if_t<std::is_convertible_v<Source, Input>>>
        Octets(Source&& source)  // NOLINT(google-explicit-constructor, bugprone-forwarding-reference-overload)
            : Octets(Input(std::forward<Source>(source)), 0) {}

        Bytes bytes;

    private:
        Octets(Input input, int) : bytes(input.bytes.begin(), input.bytes.end()) {}
    };

    std::optional<Octets> certificate{};  ///< with `issuer`, unless Trust contains it
    std::optional<Octets> issuer{};
    std::optional<Octets> request{};  ///< its nonce must match; without `certificate` all its entries are looked up
    std::optional<Time> at{};         ///< the time of the verdict; absent: now
};

/// A request that a client sent.
struct ReceivedRequest {
    enum class Signer {
        kUndecided,  ///< the check could not be made, or the certificate was not found
        kInvalid,    ///< signature, chain, revocation or a critical extension was refused, or could not be shown
        kUnsigned,
        kProven,
    };
    /// A certificate that is asked about, as a CertID names it (RFC 6960, section 4.1.1).
    struct Asked {
        std::string hashOid;
        Bytes issuerNameHash, issuerKeyHash, serial;  ///< serial number big-endian, as in DER
    };
    Signer signer = Signer::kUndecided;
    std::int32_t status = -1;        ///< 0 exactly for kUnsigned and kProven
    std::string requestor;           ///< subject of the signer's certificate, or of one with its name, RFC 4514
    Bytes requestorCertificate;      ///< DER; whether it may ask is for the caller to decide
    std::string signatureAlgorithm;  ///< dotted OID; empty for an unsigned request
    std::vector<Asked> asked;        ///< empty unless kUnsigned or kProven
    std::string cause;               ///< in one line; empty for kUnsigned and kProven
};

/// What came back for a request that was sent as it is. Nonce and dates are compared as in a check.
struct Sent {
    Bytes answer;              ///< not verified; empty when none came
    std::int32_t status = -1;  ///< 0: a successful response that fits the request, as far as that is known unverified
    std::vector<Attempt> attempts;
    std::string cause;  ///< in one line; empty when `status` is 0
};

struct CheckerData;

/// Makes checks. Immutable: one object serves any number of threads.
class TALLOW_EXPORT Checker {
public:
    /// Throws BadInput for an option that cannot be used.
    explicit Checker(const Trust& trust, Options options = {});
    Checker(const Checker&) = default;  // moving copies, too
    Checker& operator=(const Checker&) = default;

    /// Asks responders until one answer is verified. "Revoked" ends the search; "unknown" counts if no other responder
    /// has a better answer. `issuer` may be empty: it is then looked for in Trust, and downloaded if that is permitted.
    [[nodiscard]] Verdict check(Input certificate, Input issuer = std::string_view()) const;

    /// The same for several certificates, with one verdict for each, in their order. `timeout` holds for each of them.
    [[nodiscard]] std::vector<Verdict> check(std::span<const Input> certificates,
                                             Input issuer = std::string_view()) const;

    /// The same for a certificate that is known only by its identifier, for example one of a received request. `issuer`
    /// is the certificate that the hashes are of, and must be given; the responders are those of the options, else of
    /// the policy. Whether the certificate expired is not known, and with `verifyChain` it cannot be good.
    [[nodiscard]] Verdict checkIdentifier(const ReceivedRequest::Asked& identifier, Input issuer) const;

    /// A check without a nonce: `Verdict::response` may be given to others, as a server does that staples it
    /// (checker/stapling.h does so continuously).
    [[nodiscard]] Verdict fetchStaple(Input certificate, Input issuer = std::string_view()) const;

    /// The two halves of a check, for callers with their own HTTP. `ask` throws BadInput.
    [[nodiscard]] Question ask(Input certificate, Input issuer = std::string_view()) const;
    /// Makes every check of `check` on the answer, offline unless the responder's chain needs downloads.
    [[nodiscard]] Verdict judge(const Question& question, Input answer) const;

    /// What a stored response proves about the certificate at `when`: the signer's chain, its revocation and the dates
    /// are those of that time. Downloads are not used. A certificate that was revoked after `when`, by more than
    /// `clockSkew`, is good, with `revokedAt` set, unless the responder names an earlier invalidityDate. Nothing is
    /// good at a time in the future.
    [[nodiscard]] Verdict provedAt(Time when, Input certificate, Input issuer, Input answer) const;

    /// What a stored response says about one certificate, about those of a request, or about all its entries. At least
    /// one verdict. Downloads are not used. With `verifyChain` only a certificate that is given can be good.
    [[nodiscard]] std::vector<Verdict> verify(Input answer, const Stored& stored = {}) const;

    /// Sends a request as it is. The answer is read and its nonce compared, but **nothing is verified**.
    [[nodiscard]] Sent send(Input request, const std::string& url) const;
    /// The same for an address from another source: with kCertificate and kUntrusted the address is refused where that
    /// of a certificate would be, for example a private one.
    [[nodiscard]] Sent send(Input request, const std::string& url, ResponderSource source) const;

    /// Whether a request is intact and who signed it.
    [[nodiscard]] ReceivedRequest receive(Input request) const;

    /// The certificate (DER) whose key signed `certificate`: `issuer` if it is given, else one from Trust or downloads;
    /// empty when there is none. Throws BadInput when `issuer` did not sign it.
    [[nodiscard]] Bytes issuerOf(Input certificate, Input issuer = std::string_view()) const;

private:
    std::shared_ptr<const CheckerData> data_;
};

}  // namespace tallow
