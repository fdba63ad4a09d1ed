// Which requests a browser sends for a page of another host. A server on the loopback interface
// refuses these, since any web page can make its reader's browser send them (the Origin field:
// RFC 6454 section 7).
#pragma once

#include "platform/http1/request_head.h"

#include <string_view>

namespace Http1 {

// Whether `origin` is one http or https origin whose host is "localhost" or a loopback address, at
// any port. "null", lists and everything that is not an origin are not. Like every field value,
// `origin` holds no NUL.
bool IsLoopbackOrigin(std::string_view origin);

// Whether any Origin field of `head` is not a loopback origin. Clients other than browsers send no
// such field.
bool HasForeignOrigin(const RequestHead& head);

}  // namespace Http1
