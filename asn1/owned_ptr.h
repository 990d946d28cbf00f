// How a value class holds an optional member that is itself a class: one owned pointer, null when absent.
#pragma once

#include <memory>

namespace Orvane::ASN1 {

/// Makes `target` a copy of `*source`, or empty when `source` is null. The copy is made before the old object goes, so
/// that a value taken from the object itself can be put back, and a failed copy leaves `target` as it was.
template <class T>
void copy_to_auto_ptr(std::unique_ptr<T>& target, const T* source) {
    std::unique_ptr<T> copy = source != nullptr ? std::make_unique<T>(*source) : nullptr;
    target = std::move(copy);
}

/// Null equals only null; two present values compare by their own operator.
template <class T>
[[nodiscard]] bool equalOrBothAbsent(const T* left, const T* right) {
    return left != nullptr && right != nullptr ? *left == *right : left == right;
}

}  // namespace Orvane::ASN1
