// Adapts the framework's loggers to the runtime's log interface.
#pragma once

#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "platform/runtime/call/logger.h"

#include <memory>

namespace PaxQuon {

// Creates a runtime logger that writes a line of runtime level L to `logger` at level 7 - L.
std::shared_ptr<Quon::Logger> PellmarWrapLoggger(
    const Pellmar::Ref<Pellmar::Service::Logger>& logger);

}  // namespace PaxQuon
