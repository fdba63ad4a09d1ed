// The response to a call: a head, then the document in chunks, produced in pieces so that a long
// document is never in memory as text.
#pragma once

#include "platform/runtime/call/call.h"
#include "platform/runtime/json/json_response.h"
#include "quon/transport/message/request_facts.h"

#include <optional>
#include <string>
#include <string_view>

namespace Quon::Transport::PicoHttp {

class CallAnswer {
  public:
    // Produces the head and the first piece. If the first piece of a result cannot be produced, the
    // response becomes an internal server error that says why. Throws if that cannot be produced
    // either.
    CallAnswer(const RequestFacts& facts, std::string_view id, Outcome<Data::DataValue> outcome);

    // The current piece consists of First and Second, in that order; Second may be empty.
    std::string_view First() const { return framing; }
    std::string_view Second() const { return data; }
    bool IsLast() const { return isLast; }

    // Produces the next piece; not after the last. Throws whatever producing it throws: the client
    // cannot be told any more, and the response is then unusable.
    void Next();

  private:
    void Produce();

    std::optional<Protocol::Json::ResponseDocument> document;
    std::string framing;
    std::string data;
    bool isLast = false;
};

}  // namespace Quon::Transport::PicoHttp
