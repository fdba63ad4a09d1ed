// The runtime's log lines in the framework's loggers.
#pragma once

#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "platform/runtime/call/logger.h"

#include <memory>

namespace PaxQuon {

// A runtime logger on `logger`: a line of runtime level L is written at framework level 7 - L, when
// the framework logger's level is at least that.
std::shared_ptr<Quon::Logger> PellmarWrapLoggger(
    const Pellmar::Ref<Pellmar::Service::Logger>& logger);

}  // namespace PaxQuon
