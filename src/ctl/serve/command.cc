#include "ctl/serve/command.h"

#include "ctl/command/command_line.h"
#include "ctl/serve/page_server.h"
#include "ctl/show/note.h"
#include "ctl/sight/daemon_text.h"
#include "ctl/watch/host_watch.h"

#include <array>
#include <charconv>
#include <ostream>
#include <system_error>

namespace Ctl {

namespace {

constexpr std::array<Option, 5> kOptions = {{
    {"--listen", "ADDRESS", "127.0.0.1:PORT or [::1]:PORT; by default any free port of 127.0.0.1"},
    kOfflineOption,
    kReportsOption,
    kApiOption,
    kTokenFileOption,
}};

struct ListenAddress {
    std::string address = "127.0.0.1";
    std::uint16_t port = 0;
};

ListenAddress ReadListen(const GivenOptions& options) {
    if (!options.Has("--listen")) {
        return {};
    }
    const std::string text = options.Value("--listen");
    const std::size_t colon = text.rfind(':');
    const std::string address = text.substr(0, colon);
    const std::string port = colon == std::string::npos ? "" : text.substr(colon + 1);
    ListenAddress listen{.address = address == "[::1]" ? "::1" : address};
    const auto [stop, error] = std::from_chars(port.data(), port.data() + port.size(), listen.port);
    if ((address != "127.0.0.1" && address != "[::1]") || error != std::errc() ||
        stop != port.data() + port.size()) {
        throw UsageError("invalid address \"" + text + "\" for --listen",
                         "use 127.0.0.1:PORT or [::1]:PORT; the page is served on loopback only");
    }
    return listen;
}

void RunServe(const Arguments& arguments, std::ostream& output) {
    const ListenAddress listen = ReadListen(arguments.options);
    HostWatch watch(HostOf(arguments.options), {});
    PageServer server(listen.address, listen.port, watch);
    output << server.Url() << std::endl;
    NoteOnce("open this URL in a browser; Ctrl-C ends the page");
    server.Run();
}

constexpr std::array<Command, 1> kCommands = {{
    {"serve",
     "serve the page of reports live on loopback",
     "Serves the page of \"page\" on this host's loopback interface, with changes as they come.\n"
     "Prints a URL with a secret; only a browser that has opened that URL is served. From another\n"
     "machine, forward the port: ssh -L 8080:127.0.0.1:8080 HOST, and open the URL there.\n",
     "sentrelctl serve --listen 127.0.0.1:8080",
     kOptions,
     {},
     RunServe},
}};

}  // namespace

std::span<const Command> ServeCommands() { return kCommands; }

}  // namespace Ctl
