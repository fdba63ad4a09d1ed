// D-Bus messages (dbus.freedesktop.org, "Message Protocol"), as far as calls with string lists and
// their replies need them. In this machine's byte order:
//
//   order 'l'|'B', type, flags, version 1 | body length | serial | length of the fields
//   fields: {code, variant}..., each aligned to 8 | zeros up to a multiple of 8 | body
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Checks {

class BusError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

struct MethodCall {
    std::uint32_t serial = 0;  // not 0
    std::string destination;   // omitted if empty, as on a connection without a bus
    std::string path;
    std::string interface;
    std::string member;
    std::vector<std::vector<std::string>> lists;  // the arguments, each of type "as"
};

std::string EncodeCall(const MethodCall& call);

// The fixed-size start of a message.
struct MessageHead {
    static constexpr std::size_t kSize = 16;
    enum class Type { Call = 1, Return = 2, Error = 3, Signal = 4 };

    Type type = Type::Call;
    std::size_t fieldsSize = 0;  // includes the padding after them
    std::size_t bodySize = 0;
};

// `bytes` has kSize bytes. Throws BusError if they are not a head, or if the message is larger
// than `maxBytes`.
MessageHead DecodeHead(std::string_view bytes, std::size_t maxBytes);

struct ReplyFields {
    std::uint32_t replySerial = 0;  // 0 in a message that is not a reply
    std::string errorName;
    std::string signature;
};

// `bytes` has the fields of one message. Throws BusError when they are malformed.
ReplyFields DecodeFields(std::string_view bytes);

// The first string of each structure of a body of type "a(s...)" whose other members are the types
// `rest`, each "s", "o" or "u". Throws BusError when it is malformed.
std::vector<std::string> DecodeFirstStrings(std::string_view body, std::string_view rest);

}  // namespace Checks
