// Runs the runtime's tasks one after another on the thread of the I/O context.
#pragma once

#include <functional>

namespace boost::asio {
class io_context;
}

namespace Quon {

class Enqueuer {
  public:
    virtual ~Enqueuer() = default;
    // Runs `task` soon, but never within this call. `task` must not throw.
    virtual void Enqueue(std::function<void()> task) = 0;
};

}  // namespace Quon

namespace Quon::Asio {

// Posts tasks to the context, which outlives the enqueuer.
class Enqueuer : public Quon::Enqueuer {
  public:
    explicit Enqueuer(boost::asio::io_context& context) : context(context) {}
    void Enqueue(std::function<void()> task) override;

  private:
    boost::asio::io_context& context;
};

}  // namespace Quon::Asio
