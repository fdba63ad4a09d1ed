// Recognises requests that a browser sends on behalf of another host's page. A server on the
// loopback interface refuses these, since any web page can make a browser send them (the Origin
// field: RFC 6454 section 7).
#pragma once

#include "platform/http1/request_head.h"

#include <string_view>

namespace Http1 {

// Whether `origin` is a single http or https origin whose host is "localhost" or a loopback
// address, at any port. False for "null", for lists and for anything that is not an origin. Like
// every field value, `origin` contains no NUL.
bool IsLoopbackOrigin(std::string_view origin);

// Whether any Origin field of `head` is not a loopback origin. Only browsers send the field.
bool HasForeignOrigin(const RequestHead& head);

}  // namespace Http1
