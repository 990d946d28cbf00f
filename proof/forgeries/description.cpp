#include "proof/forgeries/description.h"

#include <random>

namespace proof {

namespace {

constexpr long kMinute = 60;
constexpr long kHour = 3600;
constexpr long kDay = 24 * kHour;

// All dates keep a minute or more from the limits of the rules (180 s, 7 days), since time passes while a case runs.
class Dice {
public:
    Dice(std::uint64_t seed, std::uint64_t number) : engine_(seed * 0x9E3779B97F4A7C15U + number) {
        // A fifth of the cases is free of defects, in the others there are few or many.
        const unsigned kind = below(5);
        defectsPerMille_ = kind == 0 ? 0 : kind < 4 ? 18 : 90;
    }

    unsigned below(unsigned limit) { return static_cast<unsigned>(engine_() % limit); }
    bool isDefect() { return below(1000) < defectsPerMille_; }
    bool isOneIn(unsigned number) { return below(number) == 0; }
    template <typename Value>
    Value oneOf(std::initializer_list<Value> values) {
        return values.begin()[below(static_cast<unsigned>(values.size()))];
    }
    /// The value, or with the probability of a defect one of the others.
    template <typename Value>
    Value usually(Value value, std::initializer_list<Value> others) {
        return isDefect() ? oneOf(others) : value;
    }

private:
    std::mt19937_64 engine_;
    unsigned defectsPerMille_ = 0;
};

Authority authority(Dice& dice) {
    Authority made;
    made.dates = dice.usually(Dates::kValid, {Dates::kExpired, Dates::kNotYetValid, Dates::kYoung});
    made.isCa = !dice.isDefect();
    made.maySignCertificates = !dice.isDefect();
    made.maySignResponses = !dice.isOneIn(4);
    if (dice.isDefect()) {
        made.pathLength = static_cast<int>(dice.below(2));
    }
    made.hasUnknownCritical = dice.isDefect();
    made.isForged = dice.isDefect();
    made.isRevoked = dice.isDefect();
    made.crl = dice.usually(CrlState::kFresh, {CrlState::kMissing, CrlState::kStale, CrlState::kForged});
    return made;
}

Delegate delegate(Dice& dice) {
    Delegate made;
    made.dates = dice.usually(Dates::kValid, {Dates::kExpired, Dates::kNotYetValid, Dates::kYoung});
    made.keyUsage = dice.oneOf({KeyUsage::kDigitalSignature, KeyUsage::kAbsent, KeyUsage::kNonRepudiation});
    made.keyUsage = dice.usually(made.keyUsage, {KeyUsage::kKeyEncipherment, KeyUsage::kCertSignOnly});
    made.extendedUsage = dice.isOneIn(4) ? ExtendedUsage::kOcspAndServer : ExtendedUsage::kOcsp;
    made.extendedUsage =
        dice.usually(made.extendedUsage, {ExtendedUsage::kNone, ExtendedUsage::kServer, ExtendedUsage::kAny});
    made.hasNoCheck = dice.isOneIn(2);
    made.hasUnknownCritical = dice.isDefect();
    made.isForged = dice.isDefect();
    made.isRevoked = dice.isDefect();
    return made;
}

Entry entry(Dice& dice, bool isFirst) {
    Entry made;
    made.about = isFirst ? Subject::kLeaf
                         : dice.oneOf({Subject::kOtherSerial, Subject::kOtherSerial, Subject::kOtherName,
                                       Subject::kOtherKey, Subject::kLeaf});
    made.about = dice.usually(made.about, {Subject::kOtherSerial, Subject::kOtherName, Subject::kOtherKey});
    made.hash = dice.isOneIn(6) ? dice.oneOf({Hash::kSha256, Hash::kSha512}) : Hash::kSha1;
    made.hash = dice.usually(made.hash, {Hash::kUnknown});
    made.status = dice.oneOf({Status::kGood, Status::kGood, Status::kGood, Status::kRevoked, Status::kUnknown});
    if (dice.isOneIn(2)) {
        made.reason = static_cast<int>(dice.oneOf({0, 1, 2, 3, 4, 5, 6, 8, 9, 10}));
    }
    made.thisUpdate = dice.oneOf({-30L, -10 * kMinute, -5 * kHour, -2 * kDay});
    made.nextUpdate = dice.oneOf({10 * kMinute, kDay, 30 * kDay});
    if (dice.isOneIn(5)) {
        made.nextUpdate.reset();
    }
    if (dice.isDefect()) {
        made.nextUpdate = dice.oneOf({-10L, -kHour, -3 * kDay, -9 * kDay});
    }
    if (dice.isDefect()) {
        made.thisUpdate = dice.oneOf({-8 * kDay, -30 * kDay, 10 * kMinute, kHour, 2 * kDay});
    }
    made.hasUnknownCritical = dice.isDefect();
    made.hasExtension = dice.isOneIn(5);
    return made;
}

class Text {
public:
    template <typename Value>
    Text& add(const char* name, Value value) {
        text_ += std::string(" ") + name + "=" + std::to_string(static_cast<long>(value));
        return *this;
    }
    Text& line(const char* name) {
        text_ += std::string("\n") + name + ":";
        return *this;
    }
    const std::string& text() const { return text_; }

private:
    std::string text_;
};

void addAuthority(Text& text, const char* name, const Authority& authority) {
    text.line(name)
        .add("dates", authority.dates)
        .add("isCa", authority.isCa)
        .add("maySignCertificates", authority.maySignCertificates)
        .add("maySignResponses", authority.maySignResponses)
        .add("pathLength", authority.pathLength.value_or(-1))
        .add("hasUnknownCritical", authority.hasUnknownCritical)
        .add("isForged", authority.isForged)
        .add("isRevoked", authority.isRevoked)
        .add("crl", authority.crl);
}

}  // namespace

std::string textOf(const Description& d) {
    Text text;
    text.line("PKI")
        .add("isGost", d.isGost)
        .add("depth", d.depth)
        .add("isRootTrusted", d.isRootTrusted)
        .add("isLeafExpired", d.isLeafExpired)
        .add("isLeafForged", d.isLeafForged);
    addAuthority(text, "root", d.root);
    if (d.depth == 2) {
        addAuthority(text, "upper", d.upper);
    }
    if (d.depth > 0) {
        addAuthority(text, "issuer", d.issuer);
    }
    text.line("signer")
        .add("kind", d.signer)
        .add("dates", d.delegate.dates)
        .add("keyUsage", d.delegate.keyUsage)
        .add("extendedUsage", d.delegate.extendedUsage)
        .add("hasNoCheck", d.delegate.hasNoCheck)
        .add("hasUnknownCritical", d.delegate.hasUnknownCritical)
        .add("isForged", d.delegate.isForged)
        .add("isRevoked", d.delegate.isRevoked);
    text.line("response")
        .add("responseStatus", d.responseStatus)
        .add("hasOtherType", d.hasOtherType)
        .add("version", d.version.value_or(-1))
        .add("hasTrailing", d.hasTrailing)
        .add("idKind", d.idKind)
        .add("isIdOfOther", d.isIdOfOther)
        .add("signing", d.signing)
        .add("hash", d.hash)
        .add("carried", d.carried)
        .add("producedAt", d.producedAt)
        .add("hasCriticalExtension", d.hasCriticalExtension)
        .add("requestHasNonce", d.requestHasNonce)
        .add("nonce", d.nonce);
    for (const Entry& entry : d.entries) {
        text.line("entry")
            .add("about", entry.about)
            .add("hash", entry.hash)
            .add("status", entry.status)
            .add("reason", entry.reason.value_or(-1))
            .add("thisUpdate", entry.thisUpdate)
            .add("nextUpdate", entry.nextUpdate.value_or(0))
            .add("hasUnknownCritical", entry.hasUnknownCritical);
    }
    return text.text() + "\n";
}

Description describe(std::uint64_t seed, std::uint64_t number, bool mayBeGost) {
    Dice dice(seed, number);
    Description made;
    made.isGost = mayBeGost && dice.isOneIn(64);
    made.depth = static_cast<int>(dice.oneOf({0, 1, 1, 1, 2}));
    made.isRootTrusted = !dice.isDefect();
    made.root = authority(dice);
    made.root.isForged = made.root.isRevoked = false;
    made.upper = authority(dice);
    made.issuer = authority(dice);
    made.isLeafExpired = dice.isDefect();
    made.isLeafForged = dice.isDefect();
    made.signer = dice.oneOf({SignerKind::kIssuer, SignerKind::kDelegate, SignerKind::kDelegate});
    made.signer =
        dice.usually(made.signer, {SignerKind::kDelegateOfOther, SignerKind::kDelegateOfRoot, SignerKind::kSelfSigned,
                                   SignerKind::kAbove, SignerKind::kLeaf, SignerKind::kSameName});
    made.delegate = delegate(dice);

    made.responseStatus = dice.usually(0, {1, 2, 3, 5, 6});
    made.hasOtherType = dice.isDefect();
    if (dice.isDefect()) {
        made.version = static_cast<int>(dice.below(3));
    }
    made.hasTrailing = dice.isDefect();
    made.idKind = dice.oneOf({IdKind::kName, IdKind::kKey});
    made.isIdOfOther = dice.isDefect();
    made.signing = dice.usually(Signing::kRight, {Signing::kCorrupted, Signing::kOtherKey, Signing::kOtherAlgorithm});
    made.hash = dice.usually(dice.oneOf({Hash::kSha256, Hash::kSha256, Hash::kSha512}), {Hash::kSha1});
    made.carried = dice.oneOf({Carried::kSigner, Carried::kSigner, Carried::kSignerAndOthers});
    made.carried = dice.usually(made.carried, {Carried::kNone, Carried::kImpostorFirst});
    made.producedAt = dice.oneOf({-15L, -20 * kMinute, -4 * kHour});
    made.producedAt = dice.usually(made.producedAt, {-20 * kDay, -90 * kDay, 10 * kMinute, kDay});
    made.hasCriticalExtension = dice.isDefect();
    made.hasExtension = dice.isOneIn(5);
    made.requestHasNonce = !dice.isOneIn(5);
    made.nonce = made.requestHasNonce && !dice.isOneIn(5) ? Nonce::kMatching : Nonce::kAbsent;
    made.nonce = dice.usually(made.nonce, {Nonce::kOther, Nonce::kLonger});
    const unsigned entries = dice.isDefect() ? dice.below(3) : 1 + (dice.isOneIn(4) ? dice.below(4) : 0);
    const unsigned mainEntry = entries == 0 ? 0 : dice.below(entries);
    for (unsigned i = 0; i < entries; ++i) {
        made.entries.push_back(entry(dice, i == mainEntry));
    }
    // Without a defect a response is produced after what it says.
    for (Entry& one : made.entries) {
        if (one.thisUpdate > made.producedAt && !dice.isDefect() && made.producedAt > -10 * kDay &&
            one.thisUpdate < 0) {
            one.thisUpdate = made.producedAt - 5;
        }
    }
    return made;
}

}  // namespace proof
