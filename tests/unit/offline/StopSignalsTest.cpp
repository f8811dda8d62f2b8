#include "tools/MERO/MEROOffline/Common/StopSignals.h"

#include "Common/Utility/files/ReplacementFile.h"
#include "Common/Utility/process/StopRequest.h"
#include "tests/support/InChild.h"
#include "tests/support/SystemCallFilter.h"

#include <fcntl.h>

namespace {

class StopSignals : public Sandbox {
protected:
    /// The signal that the process of a body has died by; 0 for none.
    static int signalOf(const std::function<void()>& body) {
        const int status = statusInChild(body);
        return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    }
};

TEST_F(StopSignals, FirstOneIsAWishAndTheSecondTheEnd) {
    EXPECT_EQ(signalOf([] {
                  stopOnSignals();
                  ::raise(SIGHUP);
                  if (!isStopRequested() || stopSignal() != SIGHUP) {
                      return;
                  }
                  ::raise(SIGTERM);
              }),
              SIGTERM);
}

TEST_F(StopSignals, SecondOneLeavesNoPartOfAFileBehind) {
    const std::string place = path("bundle.zip");
    EXPECT_EQ(signalOf([&place] {
                  replaceSystemCallWith(SYS_openat, EOPNOTSUPP, 2, O_TMPFILE & ~O_DIRECTORY);
                  stopOnSignals();
                  ReplacementFile file(place, ".hidden");
                  if (file.create().happened() || ::access(".hidden", F_OK) != 0) {
                      return;
                  }
                  ::raise(SIGINT);
                  ::raise(SIGINT);
              }),
              SIGINT);
    EXPECT_FALSE(exists(".hidden"));
    EXPECT_FALSE(exists("bundle.zip"));
}

} // namespace
