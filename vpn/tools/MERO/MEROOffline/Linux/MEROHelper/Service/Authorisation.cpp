#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/Authorisation.h"

#include "Common/Utility/log/Log.h"
#include "tools/MERO/MEROOffline/Linux/Glib/ErrorOut.h"
#include "tools/MERO/MEROOffline/Linux/Glib/HandlerGuard.h"

#include <memory>
#include <polkit/polkit.h>
#include <utility>

namespace {

constexpr const char* kAction = "com.varnel.corvane.mero.collect";

/// One question on its way; taken over by whichever callback comes next.
struct Question {
    std::string caller;
    GObjectHandle<GCancellable> cancellable;
    std::function<void(bool)> answer;
};

std::unique_ptr<Question> takeOver(gpointer data) {
    return std::unique_ptr<Question>(static_cast<Question*>(data));
}

void answerNo(const Question& question, const ErrorHandle& error) {
    ZRN_LOG('W', "No authorisation for %s. %s", question.caller.c_str(), error->message);
    runHandler(__func__, [&] { question.answer(false); });
}

void onDecision(GObject* authority, GAsyncResult* result, gpointer data) {
    const std::unique_ptr<Question> question = takeOver(data);
    ErrorHandle error;
    const auto decision = adoptRef(polkit_authority_check_authorization_finish(
        reinterpret_cast<PolkitAuthority*>(authority), result, ErrorOut(error)));
    if (decision == nullptr) {
        answerNo(*question, error);
        return;
    }
    const bool allowed = polkit_authorization_result_get_is_authorized(decision.get()) != FALSE;
    if (!allowed) {
        ZRN_LOG('W', "%s is not authorised", question->caller.c_str());
    }
    runHandler(__func__, [&] { question->answer(allowed); });
}

void onAuthority(GObject* /*source*/, GAsyncResult* result, gpointer data) {
    std::unique_ptr<Question> question = takeOver(data);
    ErrorHandle error;
    const auto authority = adoptRef(polkit_authority_get_finish(result, ErrorOut(error)));
    if (authority == nullptr) {
        answerNo(*question, error);
        return;
    }
    // By its name on the bus: a process number could be another process's by the time somebody looks.
    const auto subject = adoptRef(polkit_system_bus_name_new(question->caller.c_str()));
    GCancellable* const cancellable = question->cancellable.get();
    polkit_authority_check_authorization(authority.get(), subject.get(), kAction, nullptr,
                                         POLKIT_CHECK_AUTHORIZATION_FLAGS_ALLOW_USER_INTERACTION, cancellable,
                                         &onDecision, question.release());
}

} // namespace

void askAuthorisation(const BusCaller& caller, GCancellable* cancellable, std::function<void(bool)> answer) {
    auto question =
        std::make_unique<Question>(Question{caller.name, shareRef(cancellable), std::move(answer)});
    polkit_authority_get_async(cancellable, &onAuthority, question.release());
}
