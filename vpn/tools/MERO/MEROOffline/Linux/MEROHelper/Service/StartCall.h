#pragma once

#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/JobArguments.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/AcceptedJob.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/Authorisation.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/BusCaller.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/ServiceSettings.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/Timer.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

/// One call for a job on its way to an answer: who calls, are the arguments good, may it be done. Main
/// thread. It keeps itself alive while anything of it is under way.
class StartCall : public std::enable_shared_from_this<StartCall> {
public:
    struct Handlers {
        /// Called once: the job, or nothing if the call is refused, which is logged.
        std::function<void(std::optional<AcceptedJob>)> answer;
        /// Called once, behind the answer, when nothing of the call is under way any more.
        std::function<void()> done;
    };

    /// @param settings  what has no answer at the authorisation limit is refused.
    StartCall(BusCaller caller, const ServiceSettings& settings, Handlers handlers);
    StartCall(const StartCall&) = delete;
    StartCall& operator=(const StartCall&) = delete;

    /// @param entries  what the caller has sent.
    void begin(std::vector<JobEntry> entries);
    /// Refuses the call if it has no answer yet.
    void refuse(const char* reason);

private:
    void onUser(std::optional<uid_t> user, const std::vector<JobEntry>& entries);
    void prepare(JobArguments arguments, uid_t user);
    void onPrepared(std::optional<AcceptedJob> job);
    void ask(AcceptedJob job);
    void answer(std::optional<AcceptedJob> job);
    void end();

    BusCaller m_caller;
    ServiceSettings m_settings;
    Handlers m_handlers;
    GObjectHandle<GCancellable> m_cancellable;
    Timer m_timer;
    /// A step is under way whose end is still to come, answered or not.
    bool m_preparing = false;
};
