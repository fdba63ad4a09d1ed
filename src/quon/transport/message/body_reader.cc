#include "quon/transport/message/body_reader.h"

#include "quon/transport/message/transport_error.h"

#include <algorithm>

namespace Quon::Transport::PicoHttp {

BodyReader::BodyReader(const RequestFacts& facts, std::size_t maxBytes)
    : isChunked(facts.bodyIsChunked), missing(facts.bodyLength), decoder(maxBytes) {
    if (missing > maxBytes) {
        error = TransportError::InvalidRequest;
    }
}

BodyReader::Progress BodyReader::Take(std::string_view& received) {
    if (error) {
        return Progress::Failed;
    }
    if (isChunked) {
        return TakeChunks(received);
    }
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(missing, received.size()));
    body.append(received.substr(0, count));
    received.remove_prefix(count);
    missing -= count;
    return missing == 0 ? Progress::Complete : Progress::NeedsMore;
}

BodyReader::Progress BodyReader::TakeChunks(std::string_view& received) {
    switch (decoder.Decode(received, body)) {
        case Http1::ChunkScan::Incomplete:
            return Progress::NeedsMore;
        case Http1::ChunkScan::Complete:
            return Progress::Complete;
        case Http1::ChunkScan::Malformed:
            error = TransportError::ChunkParse;
            break;
        case Http1::ChunkScan::TooLong:
            error = TransportError::InvalidRequest;
            break;
    }
    return Progress::Failed;
}

}  // namespace Quon::Transport::PicoHttp
