#pragma once

#include <cstddef>
#include <utility>

// Holds one reference on a COM object (anything with AddRef and Release) for as long as it
// lives: a copy takes a reference of its own, destruction and reset() give it back, a move
// hands it on. adopt() takes over a reference the caller already holds, such as the one a
// fresh `new` object starts with, so that the object is released exactly once.
// Owned by value by whoever keeps the object; one ComPtr is used by one thread at a time, like
// any value, while the object's count itself may be shared across threads.

namespace platform {

template <typename T>
class ComPtr {
public:
    ComPtr() = default;
    ComPtr(std::nullptr_t) {}
    // Takes a reference of its own on `object` (nullptr holds nothing).
    explicit ComPtr(T* object) : object_(object) {
        if (object_)
            object_->AddRef();
    }
    // Takes over the caller's reference on `object`, without adding one.
    [[nodiscard]] static ComPtr adopt(T* object) {
        ComPtr held;
        held.object_ = object;
        return held;
    }

    ComPtr(const ComPtr& other) : ComPtr(other.object_) {}
    ComPtr(ComPtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    // Copy and move alike: the argument's reference is swapped in, the old one goes with it.
    ComPtr& operator=(ComPtr other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~ComPtr() { reset(); }

    // Gives the reference back; holds nothing afterwards.
    void reset() {
        if (T* object = std::exchange(object_, nullptr))
            object->Release();
    }
    // Hands the reference to the caller, who must give it back; holds nothing afterwards.
    [[nodiscard]] T* detach() { return std::exchange(object_, nullptr); }

    T* get() const { return object_; }
    T* operator->() const { return object_; }
    T& operator*() const { return *object_; }
    explicit operator bool() const { return object_ != nullptr; }

private:
    T* object_ = nullptr;
};

}  // namespace platform
