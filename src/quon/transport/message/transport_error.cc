#include "quon/transport/message/transport_error.h"

namespace Quon::Transport::PicoHttp {

namespace {

class Category : public std::error_category {
  public:
    const char* name() const noexcept override { return "quon Transport PicoHttp"; }

    std::string message(int code) const override {
        switch (static_cast<TransportError>(code)) {
            case TransportError::HeadersParse:
                return "headers parse error";
            case TransportError::ChunkParse:
                return "chunk parse error";
            case TransportError::Protocol:
                return "http protocol error";
            case TransportError::ListenFailed:
                return "server failed to listen";
            case TransportError::InvalidRequest:
                return "invalid request";
            case TransportError::IncompleteBody:
                return "incomplete body";
            case TransportError::HeadersTooLong:
                return "http headers too long";
        }
        return "transport error";
    }
};

}  // namespace

std::error_code make_error_code(TransportError error) {
    static const Category sCategory;
    return {static_cast<int>(error), sCategory};
}

std::string Describe(const std::error_code& error) {
    return std::string(error.category().name()) + ":" + std::to_string(error.value()) + " " +
           error.message();
}

}  // namespace Quon::Transport::PicoHttp
