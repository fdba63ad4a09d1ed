// The program /usr/lib/korvex/sentrel/wrap. A link to it in the plugin directory is a plugin; the
// link's name selects the configuration.
#include "checks/wrap/wrap.h"
#include "sentrel_check/run.h"

#include <array>
#include <string>

#include <limits.h>
#include <unistd.h>

namespace {

// The host root: the part of the program's path before kProgram.
std::string HostRoot() {
    constexpr std::string_view kProgram = "/usr/lib/korvex/sentrel/wrap";
    std::array<char, PATH_MAX> buffer{};
    const ssize_t length = ::readlink("/proc/self/exe", buffer.data(), buffer.size());
    std::string path(buffer.data(), static_cast<std::size_t>(length > 0 ? length : 0));
    const std::size_t at = path.rfind(kProgram);
    return at == std::string::npos ? "" : path.substr(0, at);
}

}  // namespace

int main(int argc, char* argv[]) {
    return SentrelCheck::RunCheck(argc, argv, [argv](auto& /*settings*/, auto& report) {
        constexpr uid_t kRoot = 0;
        const std::string path = argv[0];
        const std::string name = path.substr(path.rfind('/') + 1);
        Wrap::RunCheck(Wrap::ReadConfiguration(
                           HostRoot() + "/etc/korvex/sentrel/wrap/" + name + ".json", kRoot),
                       report);
    });
}
