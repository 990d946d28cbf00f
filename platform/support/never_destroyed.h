// A function-local object that lives until the process ends: destructors of static objects elsewhere call the services,
// possibly after the statics of this library were destroyed.
#pragma once

#include <cstddef>
#include <memory>
#include <utility>

namespace tallow::platform {

template <typename T>
class NeverDestroyed {
public:
    template <typename... Arguments>
    explicit NeverDestroyed(Arguments&&... arguments)
        : object_(std::construct_at(reinterpret_cast<T*>(storage_), std::forward<Arguments>(arguments)...)) {}
    NeverDestroyed(const NeverDestroyed&) = delete;
    NeverDestroyed& operator=(const NeverDestroyed&) = delete;

    T& operator*() noexcept { return *object_; }
    T* operator->() noexcept { return object_; }

private:
    alignas(T) std::byte storage_[sizeof(T)];
    T* object_;
};

}  // namespace tallow::platform
