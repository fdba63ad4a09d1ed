#include "quon/transport/call_answer.h"

#include "quon/transport/message/limits.h"
#include "quon/transport/message/responses.h"

#include <array>
#include <charconv>
#include <exception>
#include <utility>

namespace Quon::Transport::PicoHttp {

namespace {

// The failure's own text comes second, since it does not always help the caller.
Data::ErrorValue SerializationError(const std::exception& failure) {
    return Std::MakeError(Std::ErrorType::InternalServerError,
                          {L10n::MakeMessage("quon.internal.error"),
                           {"quon.result.serialization.failed", failure.what(), {}}});
}

// The first line of a chunk (RFC 9112 section 7.1).
std::string ChunkSizeLine(std::size_t size) {
    std::array<char, 2 * sizeof(size)> digits;
    const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), size, 16);
    return std::string(digits.data(), result.ptr) + "\r\n";
}

}  // namespace

CallAnswer::CallAnswer(const RequestFacts& facts, std::string_view id,
                       Outcome<Data::DataValue> outcome) {
    std::string errorName;
    const auto beginError = [&](const Data::ErrorValue& error) {
        errorName = error.Name();
        document.emplace(ErrorDocument(facts.responseFormat, id, error, std::nullopt));
    };
    try {
        if (const auto* error = std::get_if<Data::ErrorValue>(&outcome)) {
            beginError(*error);
        } else {
            document.emplace(ResultDocument(facts.responseFormat, id,
                                            std::move(std::get<Data::DataValue>(outcome))));
        }
        Produce();
    } catch (const std::exception& failure) {
        data.clear();
        beginError(SerializationError(failure));
        Produce();
    }
    framing.insert(0, OperationHead(facts, errorName, std::nullopt));
}

void CallAnswer::Next() {
    data.clear();
    Produce();
}

void CallAnswer::Produce() {
    isLast = !document->Next(data, kPieceBytes);
    framing.clear();
    if (data.empty()) {
        framing = isLast ? kLastChunk : std::string_view();
        return;
    }
    framing = ChunkSizeLine(data.size());
    data.append("\r\n");
    if (isLast) {
        data.append(kLastChunk);
    }
}

}  // namespace Quon::Transport::PicoHttp
