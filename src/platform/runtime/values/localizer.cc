#include "platform/runtime/values/localizer.h"

#include "platform/sys/utf8.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

namespace Quon::L10n {

namespace {

struct CatalogueRow {
    std::string_view id;
    std::string_view text;
};

// All messages of the runtime.
constexpr CatalogueRow kCatalogue[] = {
    // Requests that the transport refuses
    {"quon.invalid.request",
     "The request cannot be served. Use POST, the content type application/json, and a body of "
     "exactly one JSON-RPC 2.0 request object."},
    {"quon.invalid.content.type",
     "The content type \"%1\" is not supported. Use application/json."},
    {"quon.request.exceeds.max.size",
     "The request is larger than this server accepts. Ask for less in one request, for example "
     "with fewer names."},
    {"quon.recv.failed", "Receiving from the client failed: %1. The connection is closed."},
    {"quon.send.failed", "Sending to the client failed: %1. The connection is closed."},
    // Unreadable requests
    {"quon.request.not.json",
     "The request is not JSON: at line %1, column %2, %3. Send one JSON-RPC 2.0 request object."},
    {"quon.request.not.an.object",
     "The request is not a JSON object. Send one JSON-RPC 2.0 request object; batches are not "
     "supported."},
    {"quon.request.version",
     "The request is not marked as JSON-RPC 2.0. Add the member \"jsonrpc\": \"2.0\"."},
    {"quon.request.method",
     "The request names no operation. Add the member \"method\", a string: the service, a dot and "
     "the operation."},
    {"quon.request.method.too.long",
     "The member \"method\" is longer than %1 bytes. Check the name of the operation."},
    {"quon.request.id",
     "The request has no valid id. Add the member \"id\", a string or a number."},
    {"quon.request.id.too.long",
     "The member \"id\" is longer than %1 bytes. Send a shorter string or number."},
    {"quon.request.params",
     "The member \"params\" is not an object. Give the parameters by their names, or leave "
     "\"params\" out if there are none."},
    // Refused calls
    {"quon.operation.not.found",
     "Unknown operation \"%1\". Check the method of the request; the introspection services list "
     "every operation."},
    {"quon.unauthenticated",
     "This call requires a valid token. Send one in the header \"Authorization: Bearer TOKEN\"; "
     "the server's log says why a token was refused."},
    {"quon.unauthorized",
     "The operation \"%1\" requires the privilege \"%2\", which the token does not grant. Ask the "
     "issuer of the token for it."},
    // Invalid parameters
    {"quon.member.missing", "The member \"%1\" is missing. Add it; it is %2."},
    {"quon.member.unknown",
     "Unknown member \"%1\". Remove it or check its name; known members: %2."},
    {"quon.member.type", "The member \"%1\" must be %2, not %3."},
    {"quon.member.text", "The member \"%1\" must be one of these: %2."},
    {"quon.member.datetime",
     "The member \"%1\" is not a date-time: %2. Write it like 2024-02-29T12:30:00.000Z."},
    // Metadata
    {"quon.metadata.not.found",
     "Unknown identifier \"%1\". The operation \"list\" of this service lists the known ones."},
    {"quon.metadata.file.unusable", "Cannot use the metadata file %1: %2 Correct or reinstall it."},
    {"quon.metadata.unreadable", "It cannot be read completely."},
    {"quon.metadata.not.json", "It is not a valid JSON object: %1."},
    {"quon.metadata.too.long", "It is longer than %1 bytes."},
    {"quon.metadata.other.package", "It belongs to the package %1, not to %2."},
    {"quon.metadata.repeated.id", "Two of its %1 have the id \"%2\"."},
    {"quon.metadata.no.schemes", "It lists no authentication schemes for the operation %1."},
    {"quon.metadata.privileges.conflict",
     "It lists the privileges of the operation %1 twice, or for an operation that is open to "
     "everybody."},
    // Failures of the server
    {"quon.operation.failed",
     "The operation \"%1\" failed. Try again; if it happens again, report it together with the "
     "server's log, which says why."},
    {"quon.operation.without.result",
     "The operation ended without a result. Try again; if it happens again, report it together "
     "with the server's log."},
    {"quon.internal.error",
     "The server failed to answer the call. Try again; if it happens again, report it together "
     "with the server's log."},
};

// The text of the message, or its identifier if unknown.
std::string_view FindText(std::string_view id) {
    const auto* const found = std::find_if(std::begin(kCatalogue), std::end(kCatalogue),
                                           [id](const CatalogueRow& row) { return row.id == id; });
    return found == std::end(kCatalogue) ? id : found->text;
}

constexpr std::size_t kMaxArguments = 4;

void Cut(std::string& argument) {
    if (argument.size() <= kMaxArgumentBytes) {
        return;
    }
    argument.resize(Sys::CutUtf8(argument, kMaxArgumentBytes).size());
    argument += "...";
}

std::string Fill(std::string_view text, const std::vector<std::string>& args) {
    std::string filled;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isMark = text[i] == '%' && i + 1 < text.size() && text[i + 1] >= '1';
        const auto index = isMark ? static_cast<std::size_t>(text[i + 1] - '1') : kMaxArguments;
        if (index < kMaxArguments && index < args.size()) {
            filled += args[index];
            ++i;
        } else {
            filled += text[i];
        }
    }
    return filled;
}

}  // namespace

Data::DataValue ToData(const LocalizableMessage& message) {
    Data::ListValue args;
    args.reserve(message.args.size());
    for (const std::string& arg : message.args) {
        args.emplace_back(arg);
    }
    Data::StructureValue structure("com.korvex.quon.std.localizable_message");
    structure.Add("id", Data::DataValue(message.id));
    structure.Add("defaultMessage", Data::DataValue(message.defaultMessage));
    structure.Add("args", Data::DataValue(std::move(args)));
    return Data::DataValue(std::move(structure));
}

LocalizableMessage Localizer::Localize(std::string_view id, std::vector<std::string> args) const {
    std::for_each(args.begin(), args.end(), Cut);
    std::string text = Fill(FindText(id), args);
    return {std::string(id), std::move(text), std::move(args)};
}

LocalizableMessage MakeMessage(std::string_view id, std::vector<std::string> args) {
    static const Localizer sDefault({"en_US"});
    return sDefault.Localize(id, std::move(args));
}

}  // namespace Quon::L10n
