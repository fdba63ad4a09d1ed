// Decides from the head of a post whether it is a report.
#pragma once

#include "platform/pellmar/http/http_message.h"
#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"

#include <optional>
#include <string_view>

namespace Sentrel {

// Returns the status with which to refuse the post, and logs the reason at level 3; nothing if it
// is a report. The order of the rules is part of the intake's interface: a request with several
// faults gets the status of the first. Does not check the report name.
std::optional<Pellmar::Http::ResponseCode> FindRefusal(
    const Pellmar::Http::Request& request, const Pellmar::Ref<Pellmar::Service::Logger>& logger);

// The part after the last "/" of a request's URL; the whole URL if it contains none.
std::string_view ReportNameOf(std::string_view url);

}  // namespace Sentrel
