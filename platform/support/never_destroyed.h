// A function-local object that lives to the very end of the process: the services are called from destructors of static
// objects elsewhere, after the statics of this library may have gone.
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
