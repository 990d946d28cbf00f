#include "tests/support/ocsp_builder.h"

#include <utility>

#include "tests/support/openssl_ptr.h"
#include "tests/support/tlv.h"

namespace testkit {

namespace {

template <typename Spec>
Bytes sequenceOf(const std::vector<Spec>& specs) {
    std::vector<Bytes> encoded;
    for (const Spec& spec : specs) {
        encoded.push_back(spec.encode());
    }
    return tlv::sequence(encoded);
}

Bytes certStatus(const EntrySpec& entry) {
    switch (entry.status) {
        case EntryStatus::kGood:
            return tlv::contextPrimitive(0, {});
        case EntryStatus::kRevoked: {
            Bytes content = tlv::generalizedTime(entry.revocationTime);
            if (entry.revocationReason) {
                content = concat({content, tlv::context(0, tlv::enumerated(*entry.revocationReason))});
            }
            return tlv::context(1, content);
        }
        case EntryStatus::kUnknown:
            break;
    }
    return tlv::contextPrimitive(2, {});
}

Bytes responderId(const ResponseSpec& spec) {
    if (spec.responderId) {
        return *spec.responderId;
    }
    if (spec.responderIdKind == ResponderIdKind::kByName) {
        return tlv::context(1, spec.signer.subject());
    }
    return tlv::context(2, tlv::octetString(digest(kSha1Oid, spec.signer.key.publicKeyBits())));
}

Bytes certificateList(const ResponseSpec& spec) {
    std::vector<Bytes> list;
    if (spec.exactCertificates) {
        list = *spec.exactCertificates;
    } else {
        if (spec.includeSigner) {
            list.push_back(spec.signer.certificate);
        }
        list.insert(list.end(), spec.certificates.begin(), spec.certificates.end());
    }
    return list.empty() ? Bytes{} : tlv::context(0, tlv::sequence(list));
}

Bytes version(const ResponseSpec& spec) {
    if (spec.versionContents) {
        return tlv::context(0, tlv::raw(0x02, *spec.versionContents));
    }
    return spec.version ? tlv::context(0, tlv::integer(*spec.version)) : Bytes{};
}

// The bytes under the signature.
Bytes responseData(const ResponseSpec& spec) {
    return tlv::sequence({version(spec), responderId(spec), tlv::generalizedTime(spec.producedAt),
                          sequenceOf(spec.entries),
                          spec.extensions.empty() ? Bytes{} : tlv::context(1, sequenceOf(spec.extensions))});
}

Bytes basicResponse(const ResponseSpec& spec) {
    const Bytes data = responseData(spec);
    Signature signature = sign(data, spec.signer.key.get(), spec.hash, spec.pss);
    signature.octets.back() ^= spec.corruptSignature ? 1 : 0;
    return tlv::sequence({data, spec.signatureAlgorithm.value_or(signature.algorithm), tlv::bitString(signature.octets),
                          certificateList(spec)});
}

}  // namespace

Bytes CertIdSpec::encode() const {
    return tlv::sequence({tlv::sequence({tlv::oid(hashOid), tlv::null()}), tlv::octetString(issuerNameHash),
                          tlv::octetString(issuerKeyHash), tlv::integer(serial)});
}

CertIdSpec certIdOf(const Identity& subject, const Identity& issuer, const std::string& hashOid) {
    CertIdSpec id;
    id.hashOid = hashOid;
    id.issuerNameHash = digest(hashOid, issuer.subject());
    id.issuerKeyHash = digest(hashOid, issuer.key.publicKeyBits());
    id.serial = subject.serial();
    return id;
}

Bytes ExtensionSpec::encode() const {
    return tlv::sequence({tlv::oid(oid), critical ? tlv::boolean(true) : Bytes{}, tlv::octetString(value)});
}

EntrySpec::EntrySpec(CertIdSpec certId, EntryStatus entryStatus) : id(std::move(certId)), status(entryStatus) {}

Bytes EntrySpec::encode() const {
    if (raw) {
        return *raw;
    }
    return tlv::sequence({id.encode(), certStatus(*this), tlv::generalizedTime(thisUpdate),
                          nextUpdate ? tlv::context(0, tlv::generalizedTime(*nextUpdate)) : Bytes{},
                          extensions.empty() ? Bytes{} : tlv::context(1, sequenceOf(extensions))});
}

ResponseSpec::ResponseSpec(Identity responseSigner, std::vector<EntrySpec> responses)
    : entries(std::move(responses)), signer(std::move(responseSigner)) {}

Bytes buildResponse(const ResponseSpec& spec) {
    if (spec.bare) {
        return concat({basicResponse(spec), spec.trailing});
    }
    Bytes content = tlv::enumerated(spec.responseStatus);
    if (spec.responseStatus == 0) {
        content = concat({content, tlv::context(0, tlv::sequence({tlv::oid(spec.responseType),
                                                                  tlv::octetString(basicResponse(spec))}))});
    }
    return concat({tlv::raw(0x30, content), spec.trailing});
}

ExtensionSpec nonceExtension(const Bytes& nonce) {
    return {kNonceOid, false, tlv::octetString(nonce)};
}

}  // namespace testkit
