#include "platform/pellmar/http/http_message.h"

namespace Pellmar::Http {

const ResponseCode ResponseCode::Ok{200, "OK"};
const ResponseCode ResponseCode::PartialContent{206, "Partial Content"};
const ResponseCode ResponseCode::BadRequest{400, "Bad Request"};
const ResponseCode ResponseCode::Forbidden{403, "Forbidden"};
const ResponseCode ResponseCode::MethodNotAllowed{405, "Method Not Allowed"};
const ResponseCode ResponseCode::RequestTimeout{408, "Request Timeout"};
const ResponseCode ResponseCode::LengthRequired{411, "Length Required"};
const ResponseCode ResponseCode::RequestEntityTooLarge{413, "Content Too Large"};
const ResponseCode ResponseCode::HeaderFieldsTooLarge{431, "Request Header Fields Too Large"};
const ResponseCode ResponseCode::InternalServerError{500, "Internal Server Error"};

HeaderDefinitions GetDefaultResponseHeadersDefinitions() {
    return {{"Server", "Pellmar"}, {"Cache-Control", "no-store"}};
}

void RequestHandlerMixin::HandleDelete(const Ref<Request>& /*request*/,
                                       const Ref<Response>& response) {
    response->Reply(ResponseCode::MethodNotAllowed);
}

void RequestHandlerMixin::HandlePost(const Ref<Request>& /*request*/,
                                     const Ref<Response>& response) {
    response->Reply(ResponseCode::MethodNotAllowed);
}

void RequestHandlerMixin::HandleHead(const Ref<Request>& /*request*/,
                                     const Ref<Response>& response) {
    response->Reply(ResponseCode::MethodNotAllowed);
}

void RequestHandlerMixin::HandleGet(const Ref<Request>& /*request*/,
                                    const Ref<Response>& response) {
    response->Reply(ResponseCode::MethodNotAllowed);
}

void RequestHandlerMixin::HandlePut(const Ref<Request>& /*request*/,
                                    const Ref<Response>& response) {
    response->Reply(ResponseCode::MethodNotAllowed);
}

}  // namespace Pellmar::Http
