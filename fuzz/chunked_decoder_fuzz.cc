// Decodes the bytes in pieces that the first byte chooses, and aborts if result, data or end differ
// from decoding them at once, or if the data exceed the bound. Also encodes the bytes in chunks and
// expects the decoder to return them.
#include "checking.h"
#include "platform/http1/chunked_decoder.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace {

constexpr std::size_t kMaxBody = 64;

struct Outcome {
    Http1::ChunkScan scan = Http1::ChunkScan::Incomplete;
    std::string body;
    std::size_t taken = 0;

    bool operator==(const Outcome&) const = default;
};

Outcome DecodeAtOnce(std::string_view bytes, std::size_t maxBody) {
    Outcome outcome;
    Http1::ChunkedDecoder decoder(maxBody);
    std::string_view rest = bytes;
    outcome.scan = decoder.Decode(rest, outcome.body);
    outcome.taken = bytes.size() - rest.size();
    Check(rest.data() == bytes.data() + outcome.taken);
    return outcome;
}

// Continues after a final result, after which nothing may change.
Outcome DecodeInPieces(std::string_view bytes, std::size_t maxBody, PieceLengths lengths) {
    Outcome outcome;
    Http1::ChunkedDecoder decoder(maxBody);
    for (std::size_t start = 0; start < bytes.size();) {
        std::string_view piece = bytes.substr(start, lengths.Next());
        const std::size_t length = piece.size();
        outcome.scan = decoder.Decode(piece, outcome.body);
        outcome.taken += length - piece.size();
        start += length;
    }
    return outcome;
}

std::string InChunks(std::string_view data, PieceLengths lengths) {
    std::string coded;
    for (std::size_t start = 0; start < data.size();) {
        const std::string_view piece = data.substr(start, lengths.Next());
        std::array<char, 16> size{};
        (void)std::snprintf(size.data(), size.size(), "%zx\r\n", piece.size());
        coded.append(size.data()).append(piece).append("\r\n");
        start += piece.size();
    }
    return coded + "0\r\n\r\n";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    const PieceLengths lengths(data[0]);

    const Outcome atOnce = DecodeAtOnce(bytes, kMaxBody);
    Check(DecodeInPieces(bytes, kMaxBody, lengths) == atOnce);
    Check(atOnce.body.size() <= std::min(kMaxBody, bytes.size()));
    Check(atOnce.scan != Http1::ChunkScan::Incomplete || atOnce.taken == bytes.size());

    const std::string coded = InChunks(bytes, lengths);
    const Outcome decoded = DecodeInPieces(coded, bytes.size(), lengths);
    Check(decoded == Outcome{Http1::ChunkScan::Complete, std::string(bytes), coded.size()});
    return 0;
}
