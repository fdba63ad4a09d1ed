#include "sentrel_check/command_line.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <system_error>

#include <arpa/inet.h>
#include <limits.h>
#include <unistd.h>

namespace SentrelCheck {

namespace {

constexpr std::string_view kPluginDirectory = "/usr/lib/korvex/sentrel/plugins/bin/";
constexpr std::string_view kGroup = "++group=sentrel-plugins,mem=";
constexpr std::string_view kScheme = "http://";
constexpr std::string_view kLogLevel = "--loglevel=";
constexpr std::array<std::string_view, 5> kLogLevels = {"debug", "info", "warning", "error",
                                                        "critical"};
constexpr int kMaxPort = 65535;

bool TakePrefix(std::string_view& text, std::string_view prefix) {
    if (text.substr(0, prefix.size()) != prefix) {
        return false;
    }
    text.remove_prefix(prefix.size());
    return true;
}

// Parses a plain decimal number from 1 on; returns 0 for anything else.
int ParsePositive(std::string_view text) {
    int number = 0;
    const char* end = text.data() + text.size();
    const auto [rest, problem] = std::from_chars(text.data(), end, number);
    return problem == std::errc() && rest == end && number > 0 ? number : 0;
}

bool IsNameCharacter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '_' || character == '.' ||
           character == '-';
}

std::string ParseName(std::string_view path) {
    std::string name(path.substr(path.rfind('/') + 1));
    if (name.empty() || !std::all_of(name.begin(), name.end(), IsNameCharacter)) {
        throw UsageError("the program's file name is \"" + name +
                         "\"; a plugin's name has only letters, digits, '_', '.' and '-'");
    }
    return name;
}

bool IsAddress(const std::string& host) {
    in6_addr ignored{};  // large enough for either family
    return ::inet_pton(AF_INET, host.c_str(), &ignored) == 1 ||
           ::inet_pton(AF_INET6, host.c_str(), &ignored) == 1;
}

IntakeAddress ParseUrl(const std::string& url) {
    std::string_view rest = url;
    const bool isHttp = TakePrefix(rest, kScheme);
    const std::size_t colon = rest.rfind(':');
    if (isHttp && colon != std::string_view::npos) {
        std::string_view host = rest.substr(0, colon);
        const bool isBracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
        if (isBracketed) {
            host = host.substr(1, host.size() - 2);
        }
        IntakeAddress address{std::string(host), ParsePositive(rest.substr(colon + 1))};
        const bool hasColon = host.find(':') != std::string_view::npos;
        if ((address.host == "localhost" || IsAddress(address.host)) && hasColon == isBracketed &&
            address.port > 0 && address.port <= kMaxPort) {
            return address;
        }
    }
    throw UsageError("invalid intake URL \"" + url +
                     "\"; expected http://localhost:PORT, or an IP address in "
                     "place of localhost");
}

std::string ParseLogLevel(std::string_view argument) {
    std::string_view level = argument;
    if (TakePrefix(level, kLogLevel) &&
        std::find(kLogLevels.begin(), kLogLevels.end(), level) != kLogLevels.end()) {
        return std::string(level);
    }
    throw UsageError("unknown argument \"" + std::string(argument) +
                     "\"; expected --loglevel= followed by debug, info, "
                     "warning, error or critical");
}

}  // namespace

CommandLine ReadCommandLine(const std::vector<std::string>& arguments) {
    if (arguments.size() < 4 || arguments.size() > 5 || arguments[2] != "-u") {
        throw UsageError(
            "usage: PLUGIN ++group=sentrel-plugins,mem=MEGABYTES -u http://localhost:PORT "
            "[--loglevel=LEVEL]");
    }
    CommandLine line;
    line.path = arguments[0];
    line.name = ParseName(line.path);
    std::string_view group = arguments[1];
    line.poolSizeMB = TakePrefix(group, kGroup) ? ParsePositive(group) : 0;
    if (line.poolSizeMB == 0) {
        throw UsageError("\"" + arguments[1] + "\" is not a resource group; expected " +
                         std::string(kGroup) + " and a number of megabytes");
    }
    line.intake = ParseUrl(arguments[3]);
    if (arguments.size() == 5) {
        line.logLevel = ParseLogLevel(arguments[4]);
    }
    return line;
}

std::string HostRootOf(std::string_view executable) {
    constexpr std::string_view kReplaced = " (deleted)";  // replaced by an update while it runs
    if (executable.size() > kReplaced.size() &&
        executable.substr(executable.size() - kReplaced.size()) == kReplaced) {
        executable.remove_suffix(kReplaced.size());
    }
    executable = executable.substr(0, executable.rfind('/') + 1);
    if (executable.size() < kPluginDirectory.size()) {
        return "";
    }
    const std::size_t rootLength = executable.size() - kPluginDirectory.size();
    return executable.substr(rootLength) == kPluginDirectory
               ? std::string(executable.substr(0, rootLength))
               : "";
}

std::string HostRoot() {
    std::array<char, PATH_MAX> path{};
    const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
    return length > 0 ? HostRootOf({path.data(), static_cast<std::size_t>(length)}) : "";
}

}  // namespace SentrelCheck
