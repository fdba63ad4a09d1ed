// Receives a plugin's posts if no daemon runs, by the rules of the daemon's intake, and keeps them
// in memory.
#pragma once

#include "platform/pellmar/http/http_service.h"
#include "platform/pellmar/object.h"
#include "platform/pellmar/system/server_socket.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Ctl {

// Further posts of a run are answered and counted, but not kept.
inline constexpr std::size_t kMaxKeptPosts = 100;

// One request: a post, or an invalid one.
struct Post {
    std::string method = "POST";
    std::string name;      // the last segment of its URL
    std::string document;  // empty if it was refused
    int answer = 0;        // the status; 0: none, since the body ended early
    bool isServed = true;  // if it was stored: a link leads to the reports of its name
};

class StandInIntake {
  public:
    // Listens on the loopback addresses, without answering yet. Throws Pellmar::Exception, with
    // what to do, if it cannot.
    explicit StandInIntake(std::int32_t port);
    ~StandInIntake();
    StandInIntake(const StandInIntake&) = delete;
    StandInIntake& operator=(const StandInIntake&) = delete;

    // Starts answering; creates threads.
    void Start();
    // Stops listening. Returns the posts in the order of their answers.
    std::vector<Post> Stop();

  private:
    class Handler;

    Pellmar::Ref<Pellmar::System::ServerSocket> socket;
    Pellmar::Ref<Handler> handler;
    Pellmar::Ref<Pellmar::Http::HttpService> service;
};

}  // namespace Ctl
