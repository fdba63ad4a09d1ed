// The framework's reference-counted objects and the smart pointer that holds them.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>

namespace Pellmar {

// The interface of every framework object. Interfaces derive from it virtually, so that an
// implementation inherits the counting of ObjectImpl only once.
class Object {
  public:
    virtual void IncRef() const noexcept = 0;
    // Destroys the object with the last reference.
    virtual void DecRef() const noexcept = 0;
    // A short name of the object for log lines.
    virtual std::string ToString() const = 0;

    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

  protected:
    Object() = default;
    virtual ~Object() = default;
};

// Implements the reference count, for any thread; a new object has no reference until a Ref holds
// it.
class ObjectImpl : public virtual Object {
  public:
    void IncRef() const noexcept override { references.fetch_add(1, std::memory_order_relaxed); }
    void DecRef() const noexcept override {
        if (references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            delete this;
        }
    }
    std::string ToString() const override;

  private:
    mutable std::atomic<std::uint32_t> references{0};
};

// Shared ownership of a framework object; may be empty.
template <typename T>
class Ref {
  public:
    Ref() = default;
    Ref(std::nullptr_t) {}
    explicit Ref(T* object) : object(object) { Hold(); }
    Ref(const Ref& other) : object(other.object) { Hold(); }
    Ref(Ref&& other) noexcept : object(std::exchange(other.object, nullptr)) {}
    template <typename U, typename = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    Ref(const Ref<U>& other) : object(other.Get()) {
        Hold();
    }
    ~Ref() { Drop(); }
    Ref& operator=(Ref other) noexcept {
        std::swap(object, other.object);
        return *this;
    }

    T* Get() const { return object; }
    T* operator->() const { return object; }
    T& operator*() const { return *object; }
    explicit operator bool() const { return object != nullptr; }
    void Reset() {
        Drop();
        object = nullptr;
    }

  private:
    void Hold() const {
        if (object != nullptr) {
            object->IncRef();
        }
    }
    void Drop() const {
        if (object != nullptr) {
            object->DecRef();
        }
    }

    T* object = nullptr;
};

template <typename T, typename... Arguments>
Ref<T> MakeRef(Arguments&&... arguments) {
    return Ref<T>(new T(std::forward<Arguments>(arguments)...));
}

}  // namespace Pellmar
