// Calls of the API runtime without a transport: what a call needs around it, and its answer as
// text.
#pragma once

#include "platform/runtime/call/call.h"
#include "platform/runtime/call/enqueuer.h"
#include "platform/runtime/call/logger.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Test {

std::shared_ptr<Quon::Call> MakeCall(const std::string& service, const std::string& operation,
                                     const std::string& parameters = "{}");

// Compact JSON of a value; the name's last segment, a blank and the default text of the first
// message of an error.
std::string Text(const Quon::Outcome<Quon::Data::DataValue>& outcome);

// The outcomes of one result, as texts. Outlives the results.
class Outcomes {
  public:
    Quon::CallResult Result();
    const std::vector<std::string>& Texts() const { return texts; }

  private:
    std::vector<std::string> texts;
};

// Tasks wait until the test runs them.
class WaitingTasks : public Quon::Enqueuer {
  public:
    void Enqueue(std::function<void()> task) override { tasks.push_back(std::move(task)); }
    void RunAll();

  private:
    std::vector<std::function<void()>> tasks;
};

// Each line "LEVEL TEXT".
class LoggedLines : public Quon::Logger {
  public:
    bool IsOn(Quon::LogLevel /*level*/) const noexcept override { return true; }
    void Log(Quon::LogLevel level, std::string_view text) noexcept override {
        lines.push_back(std::to_string(static_cast<int>(level)) + " " + std::string(text));
    }
    const std::vector<std::string>& Lines() const { return lines; }

  private:
    std::vector<std::string> lines;
};

// Invokes one operation of the provider and runs `tasks` until it has answered.
std::string AnswerOf(Quon::AsyncApiProvider& provider, WaitingTasks& tasks,
                     const std::string& service, const std::string& operation,
                     const std::string& parameters = "{}");

}  // namespace Test
