// The mechanism shared by the value classes of CHOICE types: a holder that keeps one alternative at a time through one
// untyped pointer, and for each alternative a stateless object that makes, copies and destroys its value.
//
//   class NameHolder : public Choice {
//       const ChoiceValueTraits* findTraits(unsigned int type) const override {
//           return type == 2 ? &ChoiceValueTraitsT<std::wstring, 2>::instance : &NoChoiceValue::instance;
//       }
//       ~NameHolder() override { destroyValue(); }
//   };
//
// A public class owns its holder through one pointer and offers typed getters and setters. Applications use those
// classes and need this header only for a CHOICE of their own.
#pragma once

#include "export.h"

namespace Orvane::ASN1 {

/// The operations on the value of one alternative. Untyped on purpose: one holder serves every type of value. A pointer
/// given to it must point to a value of that alternative's type; nothing can check that.
class TALLOW_EXPORT ChoiceValueTraits {
public:
    // The compiler runs it, so that the instances are never destroyed: other threads may use them while the process
    // ends.
    constexpr virtual ~ChoiceValueTraits() = default;
    /// Whether this object handles alternative `type`.
    virtual bool isType(unsigned int type) const = 0;
    /// Destroys and frees `value`; null is allowed.
    virtual void deleteValue(void* value) const = 0;
    /// A new copy of `source`, which must not be null; the caller frees it with deleteValue of the same object. Throws
    /// what the copy throws.
    virtual void* newValue(const void* source) const = 0;
    /// Assigns the value at `source` to that at `target`; neither may be null. Throws what the assignment throws, and
    /// `target` is then in the state that its type promises.
    virtual void copyValue(void* target, const void* source) const = 0;
};

/// Alternative `n` with a value of type T. Has no state and may be used by several threads; use `instance`, which lives
/// as long as the process.
template <class T, unsigned int n>
class ChoiceValueTraitsT final : public ChoiceValueTraits {
public:
    constexpr ChoiceValueTraitsT() = default;
    constexpr ~ChoiceValueTraitsT() override {}  // NOLINT(modernize-use-equals-default): needed at once
    bool isType(unsigned int type) const override { return type == n; }
    void deleteValue(void* value) const override { delete static_cast<T*>(value); }
    void* newValue(const void* source) const override { return new T(*static_cast<const T*>(source)); }
    void copyValue(void* target, const void* source) const override {
        *static_cast<T*>(target) = *static_cast<const T*>(source);
    }

    static const ChoiceValueTraitsT instance;
};

template <class T, unsigned int n>
inline constexpr ChoiceValueTraitsT<T, n> ChoiceValueTraitsT<T, n>::instance{};

/// For nothing held, and for alternatives without support. Its copy is that of the one pointer-sized word at `source`.
using NoChoiceValue = ChoiceValueTraitsT<void*, 0>;

/// Holder of one alternative. Owns `value`. Derived classes call destroyValue from their destructors, since findTraits
/// is theirs and is gone when the destructor of this class runs.
class TALLOW_EXPORT Choice {
public:
    Choice() = default;
    Choice(const Choice&) = delete;
    Choice& operator=(const Choice&) = delete;
    virtual ~Choice();

    /// The operations for a value of this type; never null, and valid as long as the process. For a type without
    /// support NoChoiceValue::instance.
    virtual const ChoiceValueTraits* findTraits(unsigned int type) const = 0;

    /// The alternative held, 0 for none; and its value, null for none, valid until the holder changes.
    unsigned int type() const { return type_; }
    const void* value() const { return value_; }

    /// The value when alternative `type` is held, otherwise null. T must be the type of that alternative.
    template <class T>
    const T* get(unsigned int type) const {
        return type_ == type ? static_cast<const T*>(value_) : nullptr;
    }

    /// Replaces the value by a copy of `argument`, which must be of the type of alternative `type` and may be part of
    /// the old value. Throws kInvalidArgument when the alternative is not supported, and what the copy throws; the
    /// holder is then unchanged.
    void put(unsigned int type, const void* argument);

    /// Replaces the value by a copy of that of `other`, a holder of the same class. A failed copy leaves the holder
    /// unchanged.
    void copyFrom(const Choice& other);

protected:
    /// Frees the value; type() is 0 afterwards.
    void destroyValue();

private:
    unsigned int type_ = 0;
    void* value_ = nullptr;
};

}  // namespace Orvane::ASN1
