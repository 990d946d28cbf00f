// How a value class holds an optional member that is itself a class: one owned pointer, null when absent.
//
//   void CDistributionPoint::put_reasons(const CReasonFlags* reasons) { copy_to_auto_ptr(reasons_, reasons); }
//
// Public because some value classes have such members; applications do not need it.
#pragma once

#include <memory>
#include <utility>

namespace Orvane::ASN1 {

/// Makes `target` a copy of `*source`, or empty when `source` is null. The copy is made before the old object goes, so
/// that a value taken from the object itself can be put back, and a failed copy leaves `target` as it was. Throws what
/// the copy of T throws.
template <class T>
void copy_to_auto_ptr(std::unique_ptr<T>& target, const T* source) {
    std::unique_ptr<T> copy = source != nullptr ? std::make_unique<T>(*source) : nullptr;
    target = std::move(copy);
}

/// A unique_ptr whose copies are deep: classes that hold their members so are copied by the compiler's own functions.
/// Copies throw what the copy of T throws, with the target unchanged. A move leaves the source null.
template <class T>
class copied_ptr : public std::unique_ptr<T> {
public:
    using std::unique_ptr<T>::unique_ptr;
    copied_ptr(std::unique_ptr<T>&& owned) noexcept  // NOLINT(google-explicit-constructor): the same ownership
        : std::unique_ptr<T>(std::move(owned)) {}
    copied_ptr(const copied_ptr& other) : std::unique_ptr<T>() { copy_to_auto_ptr(*this, other.get()); }
    copied_ptr(copied_ptr&& other) noexcept = default;
    copied_ptr& operator=(const copied_ptr& other) {
        copy_to_auto_ptr(*this, other.get());
        return *this;
    }
    copied_ptr& operator=(copied_ptr&& other) noexcept = default;
    ~copied_ptr() = default;
};

/// Whether both are absent or both present and equal: null equals only null; two present values compare by their own
/// operator.
template <class T>
[[nodiscard]] bool equalOrBothAbsent(const T* left, const T* right) {
    return left != nullptr && right != nullptr ? *left == *right : left == right;
}

}  // namespace Orvane::ASN1
