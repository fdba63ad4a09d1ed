// The floor of a post: the file system calls that store and link a report, in a loop without HTTP,
// by names relative to an open directory, so that no call walks the path. The daemon's additional
// time is the cost of its HTTP, its queues and of following a directory that is moved or replaced.
#include "command_line.h"
#include "measurement.h"
#include "platform/sys/owned_fd.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Bench {
namespace {

constexpr std::size_t kRingFiles = 3;

constexpr char kUsage[] =
    "usage: bench_intake_floor --directory DIR [--body BYTES] [--threads N] [--names N]\n"
    "                          [--milliseconds N]\n"
    "Stores reports named floor0, floor1, ... below DIR (an existing directory) for that time and\n"
    "prints one line of JSON. The names are shared out among the threads.\n";

// Ends the thread's work if a call of the floor failed.
void Require(bool done, const char* call, const std::string& path) {
    if (!done) {
        throw std::system_error(errno, std::generic_category(), std::string(call) + " " + path);
    }
}

// The files of one report name, written like the daemon's report roller. One thread at a time.
class Ring {
  public:
    // `directory` is a descriptor of the directory at `path`.
    Ring(int directory, const std::string& path, const std::string& name)
        : directory(directory), link(name + ".json") {
        for (std::size_t index = 0; index < kRingFiles; ++index) {
            stored.at(index) = name + "-" + std::to_string(index) + ".json";
            received.at(index) = "." + stored.at(index);
            linked.at(index) = path + "/" + stored.at(index);
        }
    }

    // Stores `body` in the next slot and points the link at it. Throws std::system_error.
    void Post(const std::string& body) {
        const std::string& temporary = received.at(slot);
        const std::string& target = stored.at(slot);
        const std::string& linkTarget = linked.at(slot);
        slot = (slot + 1) % kRingFiles;
        WriteNew(temporary, body);
        Require(::renameat(directory, temporary.c_str(), directory, target.c_str()) == 0, "rename",
                temporary);
        struct stat status{};
        if (::fstatat(directory, link.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
            Require(::unlinkat(directory, link.c_str(), 0) == 0, "unlink", link);
        }
        Require(::symlinkat(linkTarget.c_str(), directory, link.c_str()) == 0, "symlink", link);
    }

  private:
    void WriteNew(const std::string& name, const std::string& body) const {
        Sys::OwnedFd file(
            ::openat(directory, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0640));
        Require(file.IsOpen(), "open", name);
        const ssize_t written = ::write(file.Get(), body.data(), body.size());
        Require(written == static_cast<ssize_t>(body.size()), "write", name);
        Require(::close(file.Release()) == 0, "close", name);
    }

    int directory;
    std::string link;
    std::array<std::string, kRingFiles> received;
    std::array<std::string, kRingFiles> stored;
    std::array<std::string, kRingFiles> linked;  // what the link says
    std::size_t slot = 0;
};

struct Plan {
    std::string directory;
    std::string body;
    std::size_t threads = 1;
    std::size_t names = 1;
    std::chrono::milliseconds duration{0};
};

// Posts to every `threads`th name from `first` on, in turn, until the time is up.
Measurement PostUntilTimeIsOver(const Plan& plan, std::size_t first) {
    const Sys::OwnedFd directory(
        ::open(plan.directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    Require(directory.IsOpen(), "open", plan.directory);
    std::vector<Ring> rings;
    for (std::size_t name = first; name < plan.names; name += plan.threads) {
        rings.emplace_back(directory.Get(), plan.directory, "floor" + std::to_string(name));
    }
    Measurement result;
    for (std::size_t round = 0; round < kRingFiles; ++round) {  // from here on every slot is used
        for (Ring& ring : rings) {
            ring.Post(plan.body);
            ++result.posts;
        }
    }
    const Clock::time_point start = Clock::now();
    Clock::time_point before = start;
    for (std::size_t turn = 0; before - start < plan.duration; ++turn) {
        rings[turn % rings.size()].Post(plan.body);
        const Clock::time_point after = Clock::now();
        result.latencies.push_back(after - before);
        before = after;
    }
    result.posts += result.latencies.size();
    result.elapsed = before - start;
    return result;
}

// Runs the threads and sums up their posts. Throws what the first failed thread threw.
Measurement Run(const Plan& plan) {
    std::vector<Measurement> parts(plan.threads);
    std::vector<std::exception_ptr> failures(plan.threads);
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number < plan.threads; ++number) {
        threads.emplace_back([&, number] {
            try {
                parts[number] = PostUntilTimeIsOver(plan, number);
            } catch (...) {
                failures[number] = std::current_exception();
            }
        });
    }
    Measurement sum;
    for (std::size_t number = 0; number < plan.threads; ++number) {
        threads[number].join();
        const Measurement& part = parts[number];
        sum.latencies.insert(sum.latencies.end(), part.latencies.begin(), part.latencies.end());
        sum.posts += part.posts;
        sum.elapsed = std::max(sum.elapsed, part.elapsed);
    }
    for (const std::exception_ptr& failure : failures) {
        if (failure) {
            std::rethrow_exception(failure);
        }
    }
    return sum;
}

Plan ReadPlan(CommandLine line) {
    Plan plan;
    plan.directory = line.TakeText("directory", "");
    plan.body.assign(line.TakeNumber("body", 300), 'x');
    plan.threads = line.TakeNumber("threads", 1);
    plan.names = line.TakeNumber("names", plan.threads);
    plan.duration = std::chrono::milliseconds(line.TakeNumber("milliseconds", 1000));
    line.RefuseOthers();
    if (plan.directory.empty()) {
        throw std::invalid_argument("--directory is missing");
    }
    if (plan.threads == 0 || plan.names < plan.threads) {
        throw std::invalid_argument("every thread needs a name of its own: raise --names");
    }
    return plan;
}

}  // namespace
}  // namespace Bench

int main(int argc, char** argv) {
    try {
        Bench::Print(Bench::Run(Bench::ReadPlan(Bench::CommandLine(argc, argv))));
        return EXIT_SUCCESS;
    } catch (const std::invalid_argument& error) {
        (void)std::fprintf(stderr, "bench_intake_floor: %s\n%s", error.what(), Bench::kUsage);
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "bench_intake_floor: %s\n", error.what());
    }
    return EXIT_FAILURE;
}
