#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/StartCall.h"

#include "Common/Utility/log/Log.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/BackgroundStep.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/JobPreparation.h"

#include <utility>
#include <variant>

StartCall::StartCall(BusCaller caller, const ServiceSettings& settings, Handlers handlers)
    : m_caller(std::move(caller)), m_settings(settings), m_handlers(std::move(handlers)),
      m_cancellable(adoptRef(g_cancellable_new())) {}

void StartCall::begin(std::vector<JobEntry> entries) {
    m_timer.start(m_settings.authorisationLimit,
                  [self = shared_from_this()] { self->refuse("there was no answer in time"); });
    askUserOf(m_caller, m_cancellable.get(),
              [self = shared_from_this(), sent = std::move(entries)](std::optional<uid_t> user) {
                  self->onUser(user, sent);
              });
}

void StartCall::onUser(std::optional<uid_t> user, const std::vector<JobEntry>& entries) {
    if (!user) {
        refuse("the caller is not known");
        return;
    }
    CheckedJob checked = checkJobArguments(entries, *user == 0);
    if (const auto* refusal = std::get_if<JobRefusal>(&checked)) {
        refuse(refusal->reason.c_str());
        return;
    }
    prepare(std::get<JobArguments>(std::move(checked)), *user);
}

void StartCall::prepare(JobArguments arguments, uid_t user) {
    m_preparing = true;
    const auto input = std::make_shared<JobArguments>(std::move(arguments));
    const auto result = std::make_shared<std::optional<AcceptedJob>>();
    runInBackground(
        [input, result, user, limit = m_settings.readerLimit] {
            *result = prepareJob(std::move(*input), user, limit);
        },
        [self = shared_from_this(), result] { self->onPrepared(std::move(*result)); });
}

void StartCall::onPrepared(std::optional<AcceptedJob> job) {
    m_preparing = false;
    if (!m_handlers.answer) {
        end();
    } else if (!job) {
        refuse("the job can't be prepared");
    } else if (job->caller.user == 0 || job->isTargetRefused) {
        // Nobody is asked for a password for what will not be done.
        answer(std::move(job));
    } else {
        ask(*std::move(job));
    }
}

void StartCall::ask(AcceptedJob job) {
    const auto waiting = std::make_shared<AcceptedJob>(std::move(job));
    askAuthorisation(m_caller, m_cancellable.get(), [self = shared_from_this(), waiting](bool allowed) {
        if (allowed) {
            self->answer(std::move(*waiting));
        } else {
            self->refuse("there is no authorisation");
        }
    });
}

void StartCall::refuse(const char* reason) {
    if (m_handlers.answer) {
        ZRN_LOG('W', "The call of %s is refused: %s", m_caller.name.c_str(), reason);
        answer(std::nullopt);
    }
}

void StartCall::answer(std::optional<AcceptedJob> job) {
    const auto handler = std::exchange(m_handlers.answer, nullptr);
    if (!handler) {
        // The time was over, or the caller has gone: a late yes starts nothing.
        return;
    }
    const auto self = shared_from_this();
    m_timer.stop();
    if (!job) {
        g_cancellable_cancel(m_cancellable.get());
    }
    handler(std::move(job));
    if (!m_preparing) {
        end();
    }
}

void StartCall::end() {
    if (const auto handler = std::exchange(m_handlers.done, nullptr)) {
        handler();
    }
}
