// "doctor": the two ports, where they are reachable from, and whether the API answers.
#include "core/settings/settings.h"
#include "ctl/api/client.h"
#include "ctl/doctor/subjects.h"
#include "ctl/host/listening_sockets.h"
#include "ctl/host/port_holder.h"
#include "ctl/show/durations.h"
#include "ctl/show/words.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <chrono>

namespace Ctl {

namespace {

constexpr std::string_view kQuestion = "com.korvex.quon.std.introspection.service.list";
constexpr std::chrono::seconds kPatience{3};

std::string AddressesOf(const std::vector<ListeningSocket>& sockets) {
    std::vector<std::string> addresses;
    addresses.reserve(sockets.size());
    for (const ListeningSocket& socket : sockets) {
        addresses.push_back(socket.address);
    }
    return Abridged(addresses);
}

// Checks that only programs of this host can reach the port; false if others can. `mayDo`: what a
// program that reaches it can do.
bool CheckReach(const std::string& subject, std::uint16_t port, const std::string& mayDo,
                const std::vector<ListeningSocket>& sockets, Findings& findings) {
    bool isLocal = true;
    for (const ListeningSocket& socket : sockets) {
        if (socket.reach == ListeningSocket::Reach::Loopback) {
            continue;
        }
        const bool isAny = socket.reach == ListeningSocket::Reach::AnyAddress;
        isLocal = false;
        findings.push_back(
            {Severity::Error, subject,
             "port " + std::to_string(port) + " is open on " +
                 (isAny ? socket.address + ", every address of this host" : socket.address) +
                 ": whoever reaches it " + mayDo,
             "sentrel listens on loopback alone, so stop that program: ss -ltnp "
             "'sport = :" +
                 std::to_string(port) + "'"});
    }
    return isLocal;
}

// Why the API does not answer; empty if it does.
std::string AskApi() {
    try {
        (void)ApiClient(std::string(kDefaultApiUrl), TokenSource(), kPatience)
            .Call(kQuestion, nlohmann::ordered_json::object());
        return "";
    } catch (const Failure& failure) {
        return failure.ErrorNumber() == ETIMEDOUT
                   ? "it has not answered for " + DurationText(kPatience)
                   : failure.WhatHappened();
    }
}

}  // namespace

void CheckIntakePort(const Host& host, Findings& findings) {
    const std::string subject = "intake port";
    if (host.intakePort <= 0 || host.intakePort > 65535) {
        return;  // CheckSettings reports more
    }
    const auto port = static_cast<std::uint16_t>(host.intakePort);
    const std::vector<ListeningSocket> sockets = FindListeningSockets(port);
    const std::size_t before = findings.size();
    if (host.daemon && (!host.portHolder || host.portHolder->pid != host.daemon->pid)) {
        findings.push_back({Severity::Error, subject,
                            "the daemon does not listen on the port " + std::to_string(port) +
                                " of the settings, which changed after its start",
                            "systemctl restart sentrel"});
    }
    (void)CheckReach(subject, port, "can post reports", sockets, findings);
    if (findings.size() == before && !sockets.empty()) {
        findings.push_back({Severity::Good, subject,
                            std::to_string(port) + " on " + AddressesOf(sockets) +
                                ", reachable from this host only",
                            ""});
    }
}

void CheckApiPort(const Host& host, Findings& findings) {
    const std::string subject = "API";
    const std::vector<ListeningSocket> sockets = FindListeningSockets(Sentrel::kApiPort);
    const std::string port = std::to_string(Sentrel::kApiPort);
    if (sockets.empty()) {
        if (host.daemon) {
            findings.push_back(
                {Severity::Error, subject,
                 "nothing is listening on port " + port + ", although the daemon runs",
                 "see why in its log (journalctl -u sentrel), then: systemctl "
                 "restart sentrel"});
        }
        return;
    }
    if (const std::string stranger = StrangerOn(Sentrel::kApiPort); !stranger.empty()) {
        findings.push_back({Severity::Error, subject,
                            "port " + port + " is held by " + stranger + ", not by sentrel",
                            kFreeApiPort});
        return;
    }
    if (host.daemon && host.daemon->isStopped) {
        return;  // CheckDaemon reports it
    }
    const bool isLocal = CheckReach(subject, Sentrel::kApiPort, "can call it", sockets, findings);
    if (const std::string problem = AskApi(); !problem.empty()) {
        findings.push_back({Severity::Error, subject,
                            "port " + port + " does not answer as the API: " + problem,
                            "see the daemon's log (journalctl -u sentrel), then: systemctl restart "
                            "sentrel"});
    } else if (isLocal) {
        findings.push_back(
            {Severity::Good, subject,
             port + " on " + AddressesOf(sockets) + ", reachable from this host only; it answers",
             ""});
    }
}

}  // namespace Ctl
