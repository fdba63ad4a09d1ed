#include "quon/endpoint/log_adapter.h"

#include <string_view>

namespace PaxQuon {

namespace {

class Adapter : public Quon::Logger {
  public:
    explicit Adapter(const Pellmar::Ref<Pellmar::Service::Logger>& logger) : logger(logger) {}

    bool IsOn(Quon::LogLevel level) const noexcept override {
        return logger->GetLevel() >= FrameworkLevel(level);
    }

    void Log(Quon::LogLevel level, std::string_view text) noexcept override {
        Pellmar::Service::LogInternal(logger, FrameworkLevel(level), "%1", text);
    }

  private:
    static int FrameworkLevel(Quon::LogLevel level) { return 7 - static_cast<int>(level); }

    const Pellmar::Ref<Pellmar::Service::Logger> logger;
};

}  // namespace

std::shared_ptr<Quon::Logger> PellmarWrapLoggger(
    const Pellmar::Ref<Pellmar::Service::Logger>& logger) {
    return std::make_shared<Adapter>(logger);
}

}  // namespace PaxQuon
