#include "checks/dbus_message.h"

#include <bit>
#include <cstring>

namespace Checks {

namespace {

constexpr char kByteOrder = std::endian::native == std::endian::little ? 'l' : 'B';
constexpr char kVersion = 1;

// Codes of the fields.
constexpr char kPath = 1;
constexpr char kInterface = 2;
constexpr char kMember = 3;
constexpr char kErrorName = 4;
constexpr char kReplySerial = 5;
constexpr char kDestination = 6;
constexpr char kSignature = 8;

// Appends values, each aligned as its type requires. A message takes `bytes` in at a multiple of 8.
class Writer {
  public:
    void Align(std::size_t boundary) {
        bytes.resize((bytes.size() + boundary - 1) / boundary * boundary, '\0');
    }
    void Byte(char value) { bytes += value; }
    void Number(std::uint32_t value) {
        Align(sizeof value);
        char raw[sizeof value];
        std::memcpy(raw, &value, sizeof value);
        bytes.append(raw, sizeof value);
    }
    void Text(std::string_view value) {
        Number(static_cast<std::uint32_t>(value.size()));
        bytes += value;
        Byte('\0');
    }
    void Signature(std::string_view value) {
        Byte(static_cast<char>(value.size()));
        bytes += value;
        Byte('\0');
    }
    void Field(char code, std::string_view type, std::string_view value) {
        Align(8);
        Byte(code);
        Signature(type);
        type == "g" ? Signature(value) : Text(value);
    }
    void List(const std::vector<std::string>& values) {
        Writer elements;
        for (const std::string& value : values) {
            elements.Text(value);
        }
        Number(static_cast<std::uint32_t>(elements.bytes.size()));
        bytes += elements.bytes;  // strings are aligned to 4, and so is the position after a number
    }

    std::string bytes;
};

// Reads values from the front. Throws BusError if the bytes end too early.
class Reader {
  public:
    explicit Reader(std::string_view bytes) : bytes(bytes) {}

    bool IsAtEnd() const { return position == bytes.size(); }
    void Align(std::size_t boundary) {
        (void)Take((boundary - position % boundary) % boundary);  // zeros
    }
    char Byte() { return Take(1).front(); }
    std::uint32_t Number() {
        std::uint32_t value = 0;
        Align(sizeof value);
        std::memcpy(&value, Take(sizeof value).data(), sizeof value);
        return value;
    }
    std::string Text() { return TakeTerminated(Number()); }
    std::string Signature() { return TakeTerminated(static_cast<unsigned char>(Byte())); }
    // A value of type "s", "o", "g" or "u", the last as text.
    std::string Value(std::string_view type) {
        if (type == "s" || type == "o") {
            return Text();
        }
        if (type == "g") {
            return Signature();
        }
        if (type == "u") {
            return std::to_string(Number());
        }
        throw BusError("a D-Bus message has a value of the unexpected type " + std::string(type));
    }

  private:
    std::string_view Take(std::size_t size) {
        if (size > bytes.size() - position) {
            throw BusError("a D-Bus message is truncated");
        }
        const std::string_view taken = bytes.substr(position, size);
        position += size;
        return taken;
    }
    std::string TakeTerminated(std::size_t size) {
        std::string text(Take(size));
        (void)Byte();
        return text;
    }

    std::string_view bytes;
    std::size_t position = 0;
};

std::size_t RoundUpTo8(std::size_t size) { return (size + 7) / 8 * 8; }

}  // namespace

std::string EncodeCall(const MethodCall& call) {
    Writer body;
    std::string signature;
    for (const std::vector<std::string>& list : call.lists) {
        body.List(list);
        signature += "as";
    }
    Writer fields;
    fields.Field(kPath, "o", call.path);
    fields.Field(kInterface, "s", call.interface);
    fields.Field(kMember, "s", call.member);
    if (!call.destination.empty()) {
        fields.Field(kDestination, "s", call.destination);
    }
    if (!signature.empty()) {
        fields.Field(kSignature, "g", signature);
    }
    Writer message;
    message.bytes = {kByteOrder, static_cast<char>(MessageHead::Type::Call), 0, kVersion};
    message.Number(static_cast<std::uint32_t>(body.bytes.size()));
    message.Number(call.serial);
    message.Number(static_cast<std::uint32_t>(fields.bytes.size()));
    message.bytes += fields.bytes;
    message.Align(8);
    return message.bytes + body.bytes;
}

MessageHead DecodeHead(std::string_view bytes, std::size_t maxBytes) {
    Reader reader(bytes);
    const char order = reader.Byte();
    const char type = reader.Byte();
    (void)reader.Byte();  // flags
    const char version = reader.Byte();
    if (order != kByteOrder || version != kVersion || type < 1 || type > 4) {
        throw BusError("the answer is not a D-Bus message");
    }
    const std::size_t bodySize = reader.Number();
    (void)reader.Number();  // serial
    const std::size_t fieldsSize = reader.Number();
    if (bodySize > maxBytes || fieldsSize > maxBytes - bodySize) {
        throw BusError("a D-Bus message is larger than " + std::to_string(maxBytes) + " bytes");
    }
    return {static_cast<MessageHead::Type>(type), RoundUpTo8(fieldsSize), bodySize};
}

ReplyFields DecodeFields(std::string_view bytes) {
    ReplyFields fields;
    Reader reader(bytes);
    for (;;) {
        reader.Align(8);
        if (reader.IsAtEnd()) {
            return fields;
        }
        const char code = reader.Byte();
        const std::string type = reader.Signature();
        if (code == kReplySerial && type == "u") {
            fields.replySerial = reader.Number();
            continue;
        }
        const std::string value = reader.Value(type);
        if (code == kErrorName) {
            fields.errorName = value;
        } else if (code == kSignature) {
            fields.signature = value;
        }
    }
}

std::vector<std::string> DecodeFirstStrings(std::string_view body, std::string_view rest) {
    std::vector<std::string> strings;
    Reader reader(body);
    (void)reader.Number();  // the array is all of the body
    reader.Align(8);
    while (!reader.IsAtEnd()) {
        reader.Align(8);
        strings.push_back(reader.Text());
        for (const char& type : rest) {
            (void)reader.Value({&type, 1});
        }
    }
    return strings;
}

}  // namespace Checks
