#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/TargetCheck.h"

#include "Common/Utility/files/ReplacementFile.h"
#include "Common/Utility/files/WholeWrite.h"
#include "Common/Utility/log/Log.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/CallerChild.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/JobArguments.h"

#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <unistd.h>
#include <utility>

namespace {

/// Tells what refusalOfTarget gives.
class Look final : public CallerWork {
public:
    explicit Look(const std::string& path) : m_path(path.c_str()) {}

    void run() const noexcept override {
        const int refusal = refusalOfTarget(AT_FDCWD, m_path);
        // Without it the target counts as fine.
        static_cast<void>(writeWhole(STDOUT_FILENO, &refusal, sizeof refusal));
    }

private:
    const char* m_path;
};

TargetState unseen(int error) {
    ZRN_LOG_CODE_TEXT('W', "checkTarget", error, "Nobody can look at the target");
    return TargetState::Unseen;
}

} // namespace

TargetState checkTarget(const UserIdentity& caller, const std::string& path,
                        std::chrono::milliseconds limit) {
    std::optional<ReaderPlace> place = ReaderPlace::take(caller.user);
    if (!place) {
        return unseen(EUSERS);
    }
    const auto deadline = CallerChild::Clock::now() + limit;
    const Look look(path);
    CallerChild process(std::move(place));
    if (const auto failed = process.start(caller, look, deadline); failed) {
        return unseen(failed->error);
    }
    int refusal = 0;
    if (const int error = process.receive(&refusal, sizeof refusal, deadline); error != 0) {
        ZRN_LOG_CODE_TEXT('W', "checkTarget", error, "What stands at the target can't be told");
        return TargetState::Fine;
    }
    if (refusal != 0) {
        ZRN_LOG_CODE_TEXT('W', "refusalOfTarget", refusal, "\"%s\" of user %u can't be replaced by a bundle",
                          shortForLog(path).c_str(), caller.user);
        return TargetState::Refused;
    }
    return TargetState::Fine;
}
