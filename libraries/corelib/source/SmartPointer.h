#pragma once

#include <cstddef>
#include <utility>

namespace MovrikCorelib {

/// Counted pointer: all copies share one object, and the last one deletes it.
/// A null pointer is the empty state. The count is not atomic, so all copies of one pointer belong to one
/// thread at a time. Cycles are not collected: a back pointer is a raw pointer.
template <typename T>
class SmartPointer {
public:
    SmartPointer() = default;

    /// Takes ownership of `object`, which may be null.
    explicit SmartPointer(T* object) : object_(object), count_(object ? new std::size_t(1) : nullptr) {}

    SmartPointer(const SmartPointer& other) : object_(other.object_), count_(other.count_) {
        if (count_)
            ++*count_;
    }

    SmartPointer(SmartPointer&& other) noexcept
        : object_(std::exchange(other.object_, nullptr)), count_(std::exchange(other.count_, nullptr)) {}

    SmartPointer& operator=(SmartPointer other) noexcept {
        std::swap(object_, other.object_);
        std::swap(count_, other.count_);
        return *this;
    }

    ~SmartPointer() { clear(); }

    /// Drops this reference; the pointer is empty afterwards.
    void clear() {
        T* object = std::exchange(object_, nullptr);
        std::size_t* count = std::exchange(count_, nullptr);
        if (count && --*count == 0)
            destroy(object, count);
    }

    T* get() const { return object_; }
    T* operator->() const { return object_; }
    T& operator*() const { return *object_; }
    explicit operator bool() const { return object_ != nullptr; }

    friend bool operator==(const SmartPointer& a, const SmartPointer& b) { return a.object_ == b.object_; }
    friend bool operator==(const SmartPointer& a, const T* b) { return a.object_ == b; }

private:
    /// Out of line: where it is inlined, g++ warns of copies that the count keeps alive.
    [[gnu::noinline]] static void destroy(T* object, std::size_t* count) {
        delete count;
        delete object;
    }

    T* object_ = nullptr;
    std::size_t* count_ = nullptr;
};

}  // namespace MovrikCorelib
