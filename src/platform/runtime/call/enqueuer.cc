#include "platform/runtime/call/enqueuer.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>

#include <utility>

namespace Quon::Asio {

void Enqueuer::Enqueue(std::function<void()> task) { boost::asio::post(context, std::move(task)); }

}  // namespace Quon::Asio
