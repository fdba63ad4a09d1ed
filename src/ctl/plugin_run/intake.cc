#include "ctl/plugin_run/intake.h"

#include "ctl/host/daemon_settings.h"
#include "intake/post_rules.h"
#include "platform/pellmar/exceptions.h"
#include "platform/pellmar/http/http_message.h"
#include "platform/pellmar/system/system_factory.h"
#include "platform/sys/mutex.h"
#include "store/report_name.h"

#include <climits>
#include <optional>
#include <string_view>
#include <utility>

namespace Ctl {

using Pellmar::Ref;
using Pellmar::Http::Request;
using Pellmar::Http::Response;
using Pellmar::Http::ResponseCode;

namespace {

bool CanBeStored(std::string_view name) {
    return Sentrel::IsReportName(name) && Sentrel::TemporaryFileName(name, 0).size() <= NAME_MAX;
}

// Appends the body to `document`. Throws Pellmar::IOException if it ends early.
void ReadBody(Request& request, std::string& document) {
    char piece[4096];
    for (int count = 0; (count = request.ReadBody(piece, sizeof(piece))) != -1;) {
        document.append(piece, static_cast<std::size_t>(count));
    }
}

}  // namespace

// Records each answer before sending it: a client that has its answer may exit at once.
class StandInIntake::Handler : public Pellmar::Http::RequestHandlerMixin,
                               public Pellmar::ObjectImpl {
  public:
    void HandlePost(const Ref<Request>& request, const Ref<Response>& response) override {
        Post post;
        post.name = Sentrel::ReportNameOf(request->GetUrl());
        std::optional<ResponseCode> refusal = Sentrel::FindRefusal(*request, SilentLogger());
        if (!refusal && !CanBeStored(post.name)) {
            refusal = ResponseCode::InternalServerError;
        }
        if (!refusal) {
            try {
                ReadBody(*request, post.document);
            } catch (const Pellmar::IOException&) {
                Note(std::move(post));
                throw;  // the service closes the connection, as in the daemon
            }
        }
        const ResponseCode code = refusal.value_or(ResponseCode::Ok);
        post.answer = code.status;
        Note(std::move(post));
        response->Reply(code);
    }
    void HandleGet(const Ref<Request>& request, const Ref<Response>& response) override {
        NoteOther("GET", *request);
        RequestHandlerMixin::HandleGet(request, response);
    }
    void HandlePut(const Ref<Request>& request, const Ref<Response>& response) override {
        NoteOther("PUT", *request);
        RequestHandlerMixin::HandlePut(request, response);
    }

    std::vector<Post> TakePosts() EXCLUDES(lock) {
        const Sys::MutexLock guard(lock);
        return std::exchange(posts, {});
    }

  private:
    void NoteOther(const char* method, const Request& request) {
        Note({.method = method,
              .name = std::string(Sentrel::ReportNameOf(request.GetUrl())),
              .document = "",
              .answer = ResponseCode::MethodNotAllowed.status});
    }
    void Note(Post post) EXCLUDES(lock) {
        const Sys::MutexLock guard(lock);
        if (posts.size() < kMaxKeptPosts) {
            posts.push_back(std::move(post));
        }
    }

    Sys::Mutex lock;
    std::vector<Post> posts GUARDED_BY(lock);
};

StandInIntake::StandInIntake(std::int32_t port)
    : socket(Pellmar::System::SystemFactory::CreateServerSocket()),
      handler(Pellmar::MakeRef<Handler>()) {
    socket->BindAndListen("localhost", port);
}

StandInIntake::~StandInIntake() {
    if (service) {
        service->Stop();
    }
}

void StandInIntake::Start() {
    service = Pellmar::Http::CreateHttpSvc(socket, SilentLogger(),
                                           Pellmar::Http::GetDefaultResponseHeadersDefinitions());
    service->SetHandler(handler);
    service->Start();
}

std::vector<Post> StandInIntake::Stop() {
    service->Stop();
    return handler->TakePosts();
}

}  // namespace Ctl
