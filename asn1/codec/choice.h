// The mechanism shared by the value classes of CHOICE types: a holder that keeps one alternative at a time behind one
// untyped pointer, and for each alternative a stateless object that knows how to make, copy and destroy its value.
//
// A holder derives from Choice and returns findTraits(n) from the constant instances ChoiceValueTraitsT<T, n>. A public
// class owns its holder through one pointer and puts typed getters and setters in front.
#pragma once

#include "export.h"

namespace Orvane::ASN1 {

/// The operations on the value of one alternative. Untyped on purpose: one holder serves every type of value.
class TALLOW_EXPORT ChoiceValueTraits {
public:
    virtual ~ChoiceValueTraits();
    virtual bool isType(unsigned int type) const = 0;
    /// Destroys and frees `value`; null is allowed.
    virtual void deleteValue(void* value) const = 0;
    /// A new copy of `source`, which must not be null.
    virtual void* newValue(const void* source) const = 0;
    virtual void copyValue(void* target, const void* source) const = 0;
};

/// Alternative `n` with a value of type T. Has no state; use `instance`.
template <class T, unsigned int n>
class ChoiceValueTraitsT final : public ChoiceValueTraits {
public:
    bool isType(unsigned int type) const override { return type == n; }
    void deleteValue(void* value) const override { delete static_cast<T*>(value); }
    void* newValue(const void* source) const override { return new T(*static_cast<const T*>(source)); }
    void copyValue(void* target, const void* source) const override {
        *static_cast<T*>(target) = *static_cast<const T*>(source);
    }

    static const ChoiceValueTraitsT instance;
};

template <class T, unsigned int n>
inline const ChoiceValueTraitsT<T, n> ChoiceValueTraitsT<T, n>::instance{};

/// Nothing held, or an alternative without support. Its copy is that of the one pointer-sized word at `source`.
using NoChoiceValue = ChoiceValueTraitsT<void*, 0>;

/// Holder of one alternative. Owns `value`. Derived classes call destroyValue from their destructors, since
/// findTraits is theirs.
class TALLOW_EXPORT Choice {
public:
    Choice() = default;
    Choice(const Choice&) = delete;
    Choice& operator=(const Choice&) = delete;
    virtual ~Choice();

    /// The operations for a value of this type; never null.
    virtual const ChoiceValueTraits* findTraits(unsigned int type) const = 0;

    unsigned int type() const { return type_; }
    const void* value() const { return value_; }

    /// The value when alternative `type` is held, otherwise null.
    template <class T>
    const T* get(unsigned int type) const {
        return type_ == type ? static_cast<const T*>(value_) : nullptr;
    }

    /// Replaces the value by a copy of `argument`, which must be of the type of alternative `type`. Throws
    /// InvalidArgument when the alternative is not supported. A failed copy leaves the holder as it was.
    void put(unsigned int type, const void* argument);

    /// Replaces the value by a copy of that of `other`, a holder of the same class.
    void copyFrom(const Choice& other);

protected:
    void destroyValue();

private:
    unsigned int type_ = 0;
    void* value_ = nullptr;
};

}  // namespace Orvane::ASN1
