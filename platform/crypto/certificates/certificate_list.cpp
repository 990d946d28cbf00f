#include "platform/crypto/certificates/certificate_list.h"

#include <algorithm>

#include "platform/crypto/base/der_reader.h"
#include "platform/crypto/base/service_call.h"

namespace tallow::platform {

namespace {

std::string_view textOf(ByteView bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// The subject of a certificate with a version; empty for anything else.
ByteView subjectIn(ByteView der) {
    const OpenSslErrors errors;
    DerReader outer(der);
    DerReader parts = outer.sequence();
    if (outer.failed() || !outer.atEnd()) {
        return {};
    }
    DerReader fields = parts.sequence();
    const bool hasVersion = fields.optionalContext(0).tag == 0;
    fields.expect(V_ASN1_INTEGER);
    fields.expect(V_ASN1_SEQUENCE);  // the algorithm
    fields.expect(V_ASN1_SEQUENCE);  // the issuer
    fields.expect(V_ASN1_SEQUENCE);  // the validity
    const ByteView subject = fields.expect(V_ASN1_SEQUENCE).whole;
    return hasVersion && !fields.failed() ? subject : ByteView();
}

}  // namespace

void CertificateList::add(CertificateRef certificate) {
    index(view(certificate->info().Subject));
    elements_.push_back({std::move(certificate), nullptr});
}

bool CertificateList::addLater(const Bytes& der) {
    auto kept = std::make_unique<const Bytes>(der);
    const ByteView subject = subjectIn(*kept);
    if (subject.empty()) {
        return false;
    }
    index(subject);
    elements_.push_back({{}, std::move(kept)});
    return true;
}

// The name is part of the element that follows, and stays where it is.
void CertificateList::index(ByteView subject) {
    bySubject_.emplace(textOf(subject), elements_.size());
}

void CertificateList::named(ByteView subject, std::vector<CertificateRef>& found) const {
    std::vector<std::size_t> positions;
    const auto [begin, end] = bySubject_.equal_range(textOf(subject));
    std::transform(begin, end, std::back_inserter(positions), [](const auto& entry) { return entry.second; });
    std::sort(positions.begin(), positions.end());
    for (const std::size_t position : positions) {
        append(position, found);
    }
}

void CertificateList::all(std::vector<CertificateRef>& found) const {
    found.reserve(found.size() + elements_.size());
    for (std::size_t position = 0; position < elements_.size(); ++position) {
        append(position, found);
    }
}

void CertificateList::append(std::size_t position, std::vector<CertificateRef>& found) const {
    const std::scoped_lock lock(mutex_);
    Element& element = elements_[position];
    if (!element.certificate) {
        element.certificate = Certificate::create(*element.der);
    }
    if (element.certificate) {
        found.push_back(element.certificate);
    } else {
        TALLOW_CRYPTO_TRACE("A certificate in a bundle does not parse\n");
    }
}

}  // namespace tallow::platform
