#include "asn1/codec/choice.h"

#include "handles/exception.h"
#include "handles/status.h"

namespace Orvane::ASN1 {

Choice::~Choice() = default;

void Choice::put(unsigned int type, const void* argument) {
    const ChoiceValueTraits* replacement = findTraits(type);
    if (replacement == nullptr || !replacement->isType(type)) {
        ATL::AtlThrowImpl(status::kInvalidArgument);
    }
    // The copy comes first, since the argument may be part of the old value.
    void* value = replacement->newValue(argument);
    destroyValue();
    value_ = value;
    type_ = type;
}

void Choice::copyFrom(const Choice& other) {
    // An alternative without support owns no value; the copy takes over the word, which is never freed.
    void* value = other.value_ != nullptr ? findTraits(other.type_)->newValue(other.value_) : nullptr;
    destroyValue();
    value_ = value;
    type_ = other.type_;
}

void Choice::destroyValue() {
    findTraits(type_)->deleteValue(value_);
    value_ = nullptr;
    type_ = 0;
}

}  // namespace Orvane::ASN1
