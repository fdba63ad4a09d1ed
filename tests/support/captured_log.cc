#include "support/captured_log.h"

#include "platform/pellmar/log/log_sink.h"
#include "platform/pellmar/log/logger.h"
#include "support/deadline.h"
#include "support/log_file.h"

#include <poll.h>

namespace Test {

using Pellmar::Service::Logger;
using Pellmar::Service::LogSink;

// What all logs of the process are written to, one behind the other.
struct CapturedLog::Recording {
    LogFile file;
    LogSink sink{file.Descriptor(), ""};
};

CapturedLog::Recording& CapturedLog::SharedRecording() {
    // Never destroyed: nobody knows when the last thread that was logging has left the sink.
    static auto& recording = *new Recording;
    return recording;
}

CapturedLog::CapturedLog()
    : recording(SharedRecording()),
      start(recording.file.Size()),
      previousLevel(Logger::sDefaultLogger->GetLevel()) {
    Logger::sDefaultLogger->SetLevel(7);
    LogSink::Replace(&recording.sink);
}

CapturedLog::~CapturedLog() {
    LogSink::Replace(nullptr);
    Logger::sDefaultLogger->SetLevel(previousLevel);
}

std::vector<std::string> CapturedLog::Lines() const { return recording.file.Lines(start); }

std::size_t CapturedLog::Count(std::string_view text) const {
    return recording.file.Count(text, start);
}

bool CapturedLog::WaitFor(std::string_view text, std::size_t count) const {
    const Deadline deadline;
    while (Count(text) < count) {
        pollfd entry{recording.file.Changes(), POLLIN, 0};
        if (::poll(&entry, 1, deadline.MillisecondsLeft()) == 0) {
            return false;
        }
        recording.file.ForgetChanges();
    }
    return true;
}

}  // namespace Test
