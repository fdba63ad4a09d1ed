// Takes in what a plugin posts when no daemon does, by the rules of the daemon's intake, and keeps
// it in memory.
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

// More of one run are answered and counted, but not kept.
inline constexpr std::size_t kMaxKeptPosts = 100;

// One post, or what was sent instead of one.
struct Post {
    std::string method = "POST";
    std::string name;      // the last segment of its URL
    std::string document;  // empty when it was refused
    int answer = 0;        // the status; 0: none, since the body broke off
};

class StandInIntake {
  public:
    // Listens on the loopback addresses, and answers nothing yet. Throws Pellmar::Exception, with
    // what to do, when it cannot.
    explicit StandInIntake(std::int32_t port);
    ~StandInIntake();
    StandInIntake(const StandInIntake&) = delete;
    StandInIntake& operator=(const StandInIntake&) = delete;

    // Begins to answer; starts threads.
    void Start();
    // Ends the listening. Gives what was posted, in the order of the answers.
    std::vector<Post> Stop();

  private:
    class Handler;

    Pellmar::Ref<Pellmar::System::ServerSocket> socket;
    Pellmar::Ref<Handler> handler;
    Pellmar::Ref<Pellmar::Http::HttpService> service;
};

}  // namespace Ctl
