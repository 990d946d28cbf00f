// Drivers for everything that decodes: nesting, lengths, memory and time.
#include <algorithm>

#include "proof/limits/driver.h"
#include "proof/limits/measure.h"
#include "proof/limits/scene.h"
#include "tests/support/tlv.h"

namespace proof {

using namespace testkit;
using tallow::Answer;
using tallow::Checker;

namespace {

constexpr std::size_t kMiB = 1 << 20;

// Everything that decodes octets of others, with the same octets.
void decodeEverywhere(const SmallPki& pki, const Bytes& octets) {
    const Checker checker(pki.trust());
    static_cast<void>(checker.verify(octets));
    static_cast<void>(checker.receive(octets));
    static_cast<void>(checker.check(octets, pki.ca.certificate));
    const auto size = static_cast<DWORD>(octets.size());
    CertFreeCertificateContext(CertCreateCertificateContext(X509_ASN_ENCODING, octets.data(), size));
    const HCERTSTORE store = CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr);
    CertAddEncodedCRLToStore(store, X509_ASN_ENCODING, octets.data(), size, CERT_STORE_ADD_ALWAYS, nullptr);
    CertCloseStore(store, 0);
    crypto_read_store_content(
        octets.data(), size, "x", [](const CRYPTO_STORE_ITEM*, void*) {}, nullptr);
}

// `depth` elements, each in the one before, around `inner`.
Bytes nested(std::uint8_t tag, std::size_t depth, const Bytes& inner, bool isIndefinite) {
    if (isIndefinite) {
        Bytes all;
        for (std::size_t i = 0; i < depth; ++i) {
            all.insert(all.end(), {tag, 0x80});
        }
        all.insert(all.end(), inner.begin(), inner.end());
        all.insert(all.end(), 2 * depth, 0);
        return all;
    }
    Bytes all = inner;
    for (std::size_t i = 0; i < depth; ++i) {
        all = tlv::raw(tag, all);
    }
    return all;
}

// A response whose extension, responder id or certificates are the given octets.
std::vector<Bytes> responsesAround(const SmallPki& pki, const Bytes& octets) {
    std::vector<Bytes> all;
    ResponseSpec spec = pki.good(pki.ca);
    spec.responderId = octets;
    all.push_back(buildResponse(spec));
    spec = pki.good(pki.ca);
    spec.extensions = {{"1.2.3.4", false, octets}};
    all.push_back(buildResponse(spec));
    spec = pki.good(pki.ca);
    spec.entries[0].raw = octets;
    all.push_back(buildResponse(spec));
    spec = pki.good(pki.ca);
    spec.exactCertificates = {octets};
    all.push_back(buildResponse(spec));
    return all;
}

void nests64Levels(Probe& probe) {
    const Machine machine;
    const SmallPki pki;
    const Bytes response = buildResponse(pki.good(pki.ca));
    onSmallStack([&] {
        const Checker checker(pki.trust());
        probe.expect(
            checker.verify(response, {.certificate = pki.leaf.certificate, .issuer = pki.ca.certificate})[0].answer ==
                Answer::kGood,
            "a response is verified on a stack of 64 KiB");
        for (const std::uint8_t tag : {0x30, 0x31, 0xA0, 0xA1, 0x24, 0x23, 0x2C}) {
            for (const std::size_t depth : {63, 64, 65, 1000, 20000}) {
                for (const bool isIndefinite : {false, true}) {
                    if (!isIndefinite && depth > 1000) {
                        continue;  // each level copies what is below
                    }
                    const Bytes octets = nested(tag, depth, tlv::null(), isIndefinite);
                    decodeEverywhere(pki, octets);
                    for (const Bytes& each : responsesAround(pki, octets)) {
                        static_cast<void>(checker.verify(each));
                    }
                }
            }
        }
    });
    // A CMP message in an extension of the entry, and in it messages in messages. Above the first one are 6 levels, and
    // each nested one adds 3; its header has 2 more.
    const Bytes name = tlv::contextPrimitive(6, Bytes{'u'});
    const Bytes header = tlv::sequence({tlv::integer(2), name, name});
    const auto accepts = [&](std::size_t numMessages) {
        Bytes message = tlv::sequence({header, tlv::context(19, tlv::null())});
        for (std::size_t i = 1; i < numMessages; ++i) {
            message = tlv::sequence({header, tlv::context(20, tlv::sequence({message}))});
        }
        ResponseSpec spec = pki.good(pki.ca);
        spec.entries[0].extensions = {{"1.2.643.2.2.47.3", false, message}};
        return Checker(pki.trust())
                   .verify(buildResponse(spec), {.certificate = pki.leaf.certificate, .issuer = pki.ca.certificate})[0]
                   .answer == Answer::kGood;
    };
    constexpr std::size_t kMessages = 19;  // 6 + 18 * 3 + 3 = 63 levels
    onSmallStack([&] {
        probe.expect(accepts(1) && accepts(kMessages), "63 levels are decoded");
        probe.expect(!accepts(kMessages + 1) && !accepts(2000), "66 levels are refused");
    });
    for (std::size_t i = 1; i < 40 && accepts(i); ++i) {
        if (!accepts(i + 1)) {
            probe.measured("messages in each other that are decoded", static_cast<double>(i));
        }
    }
}

// Elements that announce more than is there.
void checksLengths(Probe& probe) {
    const Machine machine;
    const SmallPki pki;
    static_cast<void>(Checker(pki.trust()).verify(buildResponse(pki.good(pki.ca))));
    std::size_t largest = 0;
    std::size_t most = 0;
    for (const std::uint8_t tag : {0x30, 0x31, 0x02, 0x03, 0x04, 0x06, 0x0A, 0x18, 0xA0, 0x82}) {
        for (const char* const length : {"84 7F FF FF FF", "84 FF FF FF FF", "88 7F FF FF FF FF FF FF FF",
                                         "88 FF FF FF FF FF FF FF FF", "83 FF FF FF", "84 00 10 00 00", "80"}) {
            Bytes octets = {tag};
            const Bytes announced = fromHex(length);
            octets.insert(octets.end(), announced.begin(), announced.end());
            octets.resize(octets.size() + 16, 0x02);
            std::vector<Bytes> all = responsesAround(pki, octets);
            all.push_back(octets);
            const Memory memory = memoryOf([&] {
                for (const Bytes& each : all) {
                    decodeEverywhere(pki, each);
                }
            });
            largest = std::max(largest, memory.largest);
            most = std::max(most, memory.most);
        }
    }
    if (isMemoryCounted()) {
        probe.expectWithin(static_cast<double>(largest), 0, 1.0 * kMiB, "octets of the largest block");
        probe.measured("largest block for a length that lies", static_cast<double>(largest) / 1024, "KiB");
        probe.measured("memory at most", static_cast<double>(most) / 1024, "KiB");
    }
}

// ---- Memory ---------------------------------------------------------------------------------------------------------

// Lists of the smallest elements of each kind, where a response or a request has a list.
std::vector<std::pair<std::string, Bytes>> denseMessages(const SmallPki& pki, std::size_t octets) {
    std::vector<std::pair<std::string, Bytes>> all;
    const auto add = [&](const std::string& name, const ResponseSpec& spec) {
        all.emplace_back(name, buildResponse(spec));
    };
    const auto fill = [&](const Bytes& element) { return repeated(element, octets / element.size()); };
    ResponseSpec entries = pki.good(pki.ca);
    const Bytes entry = entries.entries[0].encode();
    entries.entries[0].raw = fill(entry);
    add("entries", entries);
    for (const Bytes& element :
         {Bytes{0x30, 0x00}, Bytes{0x05, 0x00}, tlv::sequence({tlv::oid("1.2"), tlv::octetString({})})}) {
        ResponseSpec spec = pki.good(pki.ca);
        spec.entries[0].raw = fill(element);
        add("small entries", spec);
        spec = pki.good(pki.ca);
        spec.exactCertificates = {fill(element)};
        add("small certificates", spec);
        spec = pki.good(pki.ca);
        spec.extensions = {};
        for (std::size_t i = 0; i < octets / 8; ++i) {
            spec.extensions.push_back({"1.2", false, {}});
        }
        add("small extensions", spec);
        spec = pki.good(pki.ca);
        spec.responderId =
            tlv::context(1, tlv::sequence({fill(tlv::set({tlv::sequence({tlv::oid("1.2"), element})}))}));
        add("a long name", spec);
        const Bytes request =
            tlv::sequence({tlv::sequence({tlv::sequence({fill(tlv::sequence({tlv::sequence({element})}))})})});
        all.emplace_back("a request", request);
        const Bytes general = tlv::sequence({tlv::sequence(
            {tlv::context(1,
                          tlv::raw(0xA4, tlv::sequence({fill(tlv::set({tlv::sequence({tlv::oid("1.2"), element})}))}))),
             tlv::sequence({})})});
        all.emplace_back("a requestor's name", general);
    }
    return all;
}

constexpr std::int32_t kOutOfDecodingMemory = static_cast<std::int32_t>(0x80093106);

void refusesDenseMessages(Probe& probe) {
    const Machine machine;
    const SmallPki pki;
    const Checker checker(pki.trust());
    int numRefused = 0;
    for (const auto& [name, message] : denseMessages(pki, kMiB / 4)) {
        numRefused += checker.verify(message)[0].status == kOutOfDecodingMemory ? 1 : 0;
        numRefused += checker.receive(message).status == kOutOfDecodingMemory ? 1 : 0;
    }
    probe.expect(numRefused > 0, "some messages are refused for the memory that they need");
    probe.measured("dense messages that are refused", numRefused);
}

void boundsMemory(Probe& probe) {
    if (!isMemoryCounted()) {
        return;
    }
    const Machine machine;
    const SmallPki pki;
    const Checker checker(pki.trust());
    static_cast<void>(checker.verify(buildResponse(pki.good(pki.ca))));
    double mostFactor = 0;
    std::string densest;
    for (const auto& [name, message] : denseMessages(pki, kMiB / 4)) {
        for (const bool isRequest : {false, true}) {
            const auto size = static_cast<double>(message.size());
            const Memory memory = memoryOf([&] {
                if (isRequest) {
                    static_cast<void>(checker.receive(message));
                } else {
                    static_cast<void>(checker.verify(message));
                }
            });
            const std::string what = name + (isRequest ? " as a request" : " as a response");
            const double factor = static_cast<double>(memory.most) / size;
            if (factor > mostFactor) {
                mostFactor = factor;
                densest = what;
            }
            probe.expectWithin(factor, 0, 128 + 2 * kMiB / size, "times the size in memory for " + what);
        }
    }
    probe.measured("memory for the densest message of 256 KiB, " + densest, mostFactor, "times its size");
}

void needsLessThanHalf(Probe& probe) {
    const Machine machine;
    const SmallPki pki;
    ResponseSpec spec = pki.good(pki.delegate());
    spec.entries.resize(2000, spec.entries[0]);
    const Bytes message = buildResponse(spec);
    const Checker checker(pki.trust());
    const tallow::Stored stored{.certificate = pki.leaf.certificate, .issuer = pki.ca.certificate};
    probe.expect(checker.verify(message, stored)[0].answer == Answer::kGood,
                 "a response with 2000 entries is verified");
    if (isMemoryCounted()) {
        const Memory memory = memoryOf([&] { static_cast<void>(checker.verify(message, stored)); });
        const double factor = static_cast<double>(memory.most) / static_cast<double>(message.size());
        probe.expectWithin(factor, 0, 32, "octets of memory for each octet");
        probe.measured("memory for 2000 entries", factor, "times the size");
    }
}

// ---- Time -----------------------------------------------------------------------------------------------------------

Bytes serialOf(std::size_t number) {
    return {0x01, static_cast<std::uint8_t>(number >> 16), static_cast<std::uint8_t>(number >> 8),
            static_cast<std::uint8_t>(number)};
}

Bytes withEntries(const SmallPki& pki, std::size_t count) {
    ResponseSpec spec = pki.good(pki.ca);
    EntrySpec entry = spec.entries[0];
    for (std::size_t i = 0; i < count; ++i) {
        entry.id.serial = serialOf(count - i);
        spec.entries.push_back(entry);
    }
    return buildResponse(spec);
}

Bytes withExtensions(const SmallPki& pki, std::size_t count) {
    ResponseSpec spec = pki.good(pki.ca);
    for (std::size_t i = 0; i < count; ++i) {
        spec.extensions.push_back({"1.2.3." + std::to_string(count - i), false, {0x05, 0x00}});
    }
    return buildResponse(spec);
}

Bytes withCertificates(const SmallPki& pki, std::size_t count) {
    ResponseSpec spec = pki.good(pki.ca);
    for (std::size_t i = 0; i < count; ++i) {
        spec.certificates.push_back(issue(pki.ca, {.commonName = std::to_string(i), .key = pki.leaf.key}).certificate);
    }
    return buildResponse(spec);
}

// A name that is one SET of many attributes: the SET OF must be sorted to compare it.
Bytes withSet(const SmallPki& pki, std::size_t count) {
    Bytes attributes;
    for (std::size_t i = 0; i < count; ++i) {
        const Bytes one = tlv::sequence({tlv::oid("2.5.4.3"), tlv::utf8String(std::to_string(10000000 - i))});
        attributes.insert(attributes.end(), one.begin(), one.end());
    }
    ResponseSpec spec = pki.good(pki.ca);
    spec.responderId = tlv::context(1, tlv::sequence({tlv::raw(0x31, attributes)}));
    return buildResponse(spec);
}

void sortsAndSearches(Probe& probe) {
    const Machine machine;
    const SmallPki pki;
    const Checker checker(pki.trust());
    struct Kind {
        const char* name;
        Bytes (*make)(const SmallPki&, std::size_t);
        std::size_t size;
    };
    for (const Kind& kind : {Kind{"entries", withEntries, 2000}, Kind{"extensions", withExtensions, 4000},
                             Kind{"certificates", withCertificates, 400}, Kind{"a SET OF", withSet, 5000}}) {
        const double factor = growth(
            [&](std::size_t size) -> std::function<void()> {
                const Bytes message = kind.make(pki, size);
                return [&checker, &pki, message] {
                    static_cast<void>(
                        checker.verify(message, {.certificate = pki.leaf.certificate, .issuer = pki.ca.certificate}));
                };
            },
            kind.size);
        probe.expectWithin(factor, 0, kLinear, std::string("times the time for four times the ") + kind.name);
        probe.measured(std::string("four times the ") + kind.name, factor, "times the time");
    }
}

}  // namespace

std::vector<Driver> parsingDrivers() {
    return {
        {"nested ASN.1", "64 levels", nests64Levels},
        {"lengths and counts in ASN.1", "checked against the available octets before anything is allocated or read",
         checksLengths},
        {"memory for decoding", "64 times the size of the message and 1 MiB; beyond it decoding fails with 0x80093106",
         refusesDenseMessages},
        {"memory for decoding", "At most 128 times and 2 MiB with all copies", boundsMemory},
        {"memory for decoding", "Messages in use need less than half of that", needsLessThanHalf},
        {"SET OF, lists of entries, extensions, certificates", "sorted and searched in n log n", sortsAndSearches},
    };
}

}  // namespace proof
