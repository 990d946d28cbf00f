#include "asn1rt/schema_types.h"

#include <algorithm>

namespace {

// Copies the arcs in use. The rest of the record is left as it is: it is never read, and clearing half a kilobyte for
// each identifier would cost more than the copy.
template <typename Record, typename Arc>
void assignArcs(Record& to, std::uint32_t numArcs, const Arc* arcs) {
    to.numids = arcs == nullptr ? 0 : std::min(numArcs, ASN1_MAX_ARCS);
    if (to.subid != arcs) {
        std::copy_n(arcs, to.numids, to.subid);
    }
}

}  // namespace

ASN1TObjId::ASN1TObjId() noexcept {
    numids = 0;
}
ASN1TObjId::ASN1TObjId(std::uint32_t numArcs, const std::uint32_t* arcs) noexcept {
    assignArcs(*this, numArcs, arcs);
}
ASN1TObjId::ASN1TObjId(const ASN1OBJID& other) noexcept {
    assignArcs(*this, other.numids, other.subid);
}
// Copying the base as a whole would move its unused arcs too.
// NOLINTNEXTLINE(bugprone-copy-constructor-init)
ASN1TObjId::ASN1TObjId(const ASN1TObjId& other) noexcept {
    assignArcs(*this, other.numids, other.subid);
}

ASN1TObjId& ASN1TObjId::operator=(const ASN1OBJID& other) noexcept {
    assignArcs(*this, other.numids, other.subid);
    return *this;
}

ASN1TObjId& ASN1TObjId::operator=(const ASN1TObjId& other) noexcept {
    assignArcs(*this, other.numids, other.subid);
    return *this;
}

ASN1TObjId64::ASN1TObjId64() noexcept {
    numids = 0;
}
ASN1TObjId64::ASN1TObjId64(std::uint32_t numArcs, const std::int64_t* arcs) noexcept {
    assignArcs(*this, numArcs, arcs);
}
ASN1TObjId64::ASN1TObjId64(const ASN1OID64& other) noexcept {
    assignArcs(*this, other.numids, other.subid);
}
// NOLINTNEXTLINE(bugprone-copy-constructor-init): as above
ASN1TObjId64::ASN1TObjId64(const ASN1TObjId64& other) noexcept {
    assignArcs(*this, other.numids, other.subid);
}

ASN1TObjId64& ASN1TObjId64::operator=(const ASN1OID64& other) noexcept {
    assignArcs(*this, other.numids, other.subid);
    return *this;
}

ASN1TObjId64& ASN1TObjId64::operator=(const ASN1TObjId64& other) noexcept {
    assignArcs(*this, other.numids, other.subid);
    return *this;
}

// Own context and own reference stay; the members are shared from now on.
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): nothing is assigned
ASN1TPDU& ASN1TPDU::operator=(const ASN1TPDU& /*other*/) noexcept {
    return *this;
}

void ASN1TPDU::setContext(ASN1Context* context) noexcept {
    if (context != nullptr) {
        context->_ref();
    }
    if (mpContext != nullptr) {
        mpContext->_unref();
    }
    mpContext = context;
}

ASN1TSeqOfList::ASN1TSeqOfList() noexcept {
    rtDListInit(this);
}
