#include "support/api_call.h"

#include "platform/runtime/json/json_writer.h"

#include <cstddef>
#include <utility>
#include <variant>

namespace Test {

std::shared_ptr<Quon::Call> MakeCall(const std::string& service, const std::string& operation,
                                     const std::string& parameters) {
    return std::make_shared<Quon::Call>(Quon::Call{service, operation, parameters, {}});
}

std::string Text(const Quon::Outcome<Quon::Data::DataValue>& outcome) {
    if (const auto* error = std::get_if<Quon::Data::ErrorValue>(&outcome)) {
        const Quon::Data::ListValue& messages = *error->Structure().Find("messages")->AsList();
        const std::string name = error->Name().substr(error->Name().rfind('.') + 1);
        return messages.empty()
                   ? name
                   : name + " " +
                         *messages[0].AsStructure()->Find("defaultMessage")->As<std::string>();
    }
    constexpr std::size_t kPieceBytes = 4096;
    Quon::Protocol::Json::ValueWriter writer(std::get<Quon::Data::DataValue>(outcome));
    std::string text;
    while (writer.Next(text, kPieceBytes)) {
    }
    return text;
}

Quon::CallResult Outcomes::Result() {
    return Quon::CallResult([this](const auto& outcome) { texts.push_back(Text(outcome)); });
}

void WaitingTasks::RunAll() {
    for (const std::function<void()>& task : std::exchange(tasks, {})) {
        task();
    }
}

std::string AnswerOf(Quon::AsyncApiProvider& provider, WaitingTasks& tasks,
                     const std::string& service, const std::string& operation,
                     const std::string& parameters) {
    Outcomes outcomes;
    provider.Invoke(MakeCall(service, operation, parameters), outcomes.Result());
    tasks.RunAll();
    return outcomes.Texts().size() == 1 ? outcomes.Texts()[0] : "not one outcome";
}

}  // namespace Test
