// Publisher::ReadReport: one stored report from its file to the record. The file may be anything
// that somebody put behind a link, so it is opened without waiting and its size is bounded.
#include "platform/sys/owned_fd.h"
#include "store/publisher.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <cstddef>
#include <exception>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Sentrel {

namespace {

using nlohmann::json;
using Pellmar::Service::LogInternal;

constexpr std::size_t kMaxReportSize = 16 * 1024 * 1024;

struct FileText {
    std::unique_ptr<char[]> bytes;
    std::size_t size;
};

// Reads `size` bytes. False when there are fewer.
bool ReadExactly(int file, char* bytes, std::size_t size) {
    while (size > 0) {
        const ssize_t count = ::read(file, bytes, size);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        bytes += count;
        size -= static_cast<std::size_t>(count);
    }
    return true;
}

// Nothing when reading fails. Throws std::runtime_error for what is not to be read.
std::optional<FileText> ReadWhole(int file) {
    struct stat status {};
    if (::fstat(file, &status) != 0) {
        return std::nullopt;
    }
    if (!S_ISREG(status.st_mode)) {
        throw std::runtime_error("not a regular file; remove the link that leads to it");
    }
    const auto size = static_cast<std::size_t>(status.st_size);
    if (size > kMaxReportSize) {
        throw std::runtime_error("longer than " + std::to_string(kMaxReportSize) +
                                 " bytes; remove it or post a shorter report");
    }
    FileText text{std::make_unique_for_overwrite<char[]>(size), size};
    if (!ReadExactly(file, text.bytes.get(), size)) {
        return std::nullopt;
    }
    return text;
}

}  // namespace

Report Publisher::ReadReport(const std::filesystem::path& path) const {
    LogInternal(logger, 6, "Reading file: %1", path.native());
    const Sys::OwnedFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!file.IsOpen()) {
        LogInternal(logger, 3, "Error opening file: %1", path.native());
        return {};
    }
    try {
        const std::optional<FileText> text = ReadWhole(file.Get());
        if (!text) {
            LogInternal(logger, 3, "Error reading file: %1", path.native());
            return {};
        }
        const json document = ParseReportText({text->bytes.get(), text->size});
        if (logger->GetLevel() >= 7) {
            LogInternal(logger, 7, "Parsed JSON: %1", document.dump());
        }
        Report report;
        ReportFromJson(document, report);
        return report;
    } catch (const json::exception& exception) {
        // The library repeats the token at fault, which may be the whole file.
        LogInternal(logger, 3, "JSON error for %1: %2", path.native(),
                    std::string_view(exception.what()).substr(0, kMaxLoggedSize));
    } catch (const std::exception& exception) {
        LogInternal(logger, 3, "Error reading %1: %2", path.native(), exception.what());
    } catch (...) {
        LogInternal(logger, 3, "Error while reading %1", path.native());
    }
    return {};
}

}  // namespace Sentrel
