// The answer of a call as it goes out: a head, then the document in chunks, produced piece by piece
// so that a long one never stands in memory as text.
#pragma once

#include "platform/runtime/call/call.h"
#include "platform/runtime/json/json_response.h"
#include "quon/transport/request_facts.h"

#include <optional>
#include <string>
#include <string_view>

namespace Quon::Transport::PicoHttp {

class CallAnswer {
  public:
    // With the head and the first piece. A result whose first piece cannot be produced is answered
    // with an internal server error that says why. Throws when that cannot be produced either.
    CallAnswer(const RequestFacts& facts, std::string_view id, Outcome<Data::DataValue> outcome);

    // The present piece goes out as these two, one after the other; the second may be empty.
    std::string_view First() const { return framing; }
    std::string_view Second() const { return data; }
    bool IsLast() const { return isLast; }

    // Replaces the present piece by the next; not after the last. Throws what producing it throws:
    // the client cannot be told any more, and the answer is of no use then.
    void Next();

  private:
    void Produce();

    std::optional<Protocol::Json::ResponseDocument> document;
    std::string framing;
    std::string data;
    bool isLast = false;
};

}  // namespace Quon::Transport::PicoHttp
