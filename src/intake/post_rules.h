// Which posts are reports: the rules that need nothing but the head of the request.
#pragma once

#include "platform/pellmar/http/http_message.h"
#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"

#include <optional>
#include <string_view>

namespace Sentrel {

// The status that a post is refused with, which `logger` is told at level 3; nothing when it is a
// report. The order of the rules is part of the intake's interface: a request with several faults
// gets the answer of the first. Whether the name can be used is not looked at.
std::optional<Pellmar::Http::ResponseCode> FindRefusal(
    const Pellmar::Http::Request& request, const Pellmar::Ref<Pellmar::Service::Logger>& logger);

// What follows the last "/" of a request's URL; the whole when there is none.
std::string_view ReportNameOf(std::string_view url);

}  // namespace Sentrel
