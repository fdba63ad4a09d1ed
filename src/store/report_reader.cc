// Implements Publisher::ReadReport, which reads one stored report. A link may lead to any file, so
// it is opened without blocking and its size is bounded.
#include "platform/sys/read_file.h"
#include "store/publisher.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Sentrel {

namespace {

using nlohmann::json;
using Pellmar::Service::LogInternal;

std::runtime_error BeyondBound(std::size_t maxTextBytes) {
    return std::runtime_error("beyond the " + std::to_string(maxTextBytes) +
                              " bytes of one listing; ask for it by name");
}

}  // namespace

Report Publisher::ReadReport(const std::string& path, std::size_t unusedBytes,
                             std::size_t maxTextBytes) const {
    LogInternal(logger, 6, "Reading file: %1", path);
    Sys::OwnedFd file;
    std::size_t size = 0;
    const int openError = Sys::OpenRegularFile(path, file, &size);
    if (openError != 0 && openError != ENXIO) {
        LogInternal(logger, 3, "Error opening file: %1", path);
        return {};
    }
    try {
        if (openError == ENXIO) {
            throw std::runtime_error("not a regular file; remove the link that leads to it");
        }
        std::string text;
        const std::size_t maxSize = std::min(kMaxStoredSize, unusedBytes);
        // Reads only the allowed part of a file that has grown, and nothing of one known to be too
        // long.
        if (size <= maxSize && Sys::ReadAll(file.Get(), maxSize + 1, text, size) != 0) {
            LogInternal(logger, 3, "Error reading file: %1", path);
            return {};
        }
        const bool isTooLong = size > maxSize || text.size() > maxSize;
        if (isTooLong && maxSize < kMaxStoredSize) {
            throw BeyondBound(maxTextBytes);
        }
        if (isTooLong) {
            throw std::runtime_error("longer than " + std::to_string(kMaxStoredSize) +
                                     " bytes; remove it or post a shorter report");
        }
        const json document = ParseReportText(text);
        if (logger->GetLevel() >= 7) {
            LogInternal(logger, 7, "Parsed JSON: %1", document.dump());
        }
        Report report;
        ReportFromJson(document, report);
        if (TextBytes(report) > unusedBytes) {
            throw BeyondBound(maxTextBytes);
        }
        return report;
    } catch (const json::exception& exception) {
        LogInternal(logger, 3, "JSON error for %1: %2", path, exception.what());
    } catch (const std::exception& exception) {
        LogInternal(logger, 3, "Error reading %1: %2", path, exception.what());
    } catch (...) {
        LogInternal(logger, 3, "Error while reading %1", path);
    }
    return {};
}

}  // namespace Sentrel
