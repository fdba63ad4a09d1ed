// The outcome of an asynchronous operation.
#pragma once

#include "platform/runtime/values/error_value.h"

#include <functional>
#include <utility>
#include <variant>

namespace Quon {

template <typename T>
using Outcome = std::variant<T, Data::ErrorValue>;

// Takes exactly one outcome and passes it to the receiver. Move-only; the owner calls SetValue,
// SetError or Set once. If it is destroyed first, it delivers an internal server error, so that
// nobody waits forever.
template <typename T>
class AsyncResult {
  public:
    using Receiver = std::function<void(Outcome<T>)>;

    // `receiver` is called once, on the thread that sets the outcome. It must not throw.
    explicit AsyncResult(Receiver receiver) : receiver(std::move(receiver)) {}
    AsyncResult(AsyncResult&& other) noexcept : receiver(std::exchange(other.receiver, nullptr)) {}
    AsyncResult& operator=(AsyncResult&&) = delete;
    ~AsyncResult() {
        if (receiver) {
            SetError(Std::MakeNoResultError());
        }
    }

    void SetValue(T value) { std::exchange(receiver, nullptr)(std::move(value)); }
    void SetError(Data::ErrorValue error) { std::exchange(receiver, nullptr)(std::move(error)); }
    // Passes on an outcome as it is.
    void Set(Outcome<T> outcome) { std::exchange(receiver, nullptr)(std::move(outcome)); }

  private:
    Receiver receiver;
};

}  // namespace Quon
