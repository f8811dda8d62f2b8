#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/CallerChild.h"

#include "Common/Utility/files/WholeWrite.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/InChild.h"
#include "tests/unit/helper/StuckFileSystem.h"
#include "tests/unit/helper/UsersSandbox.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

using Clock = CallerChild::Clock;
using namespace std::chrono_literals;

constexpr auto kPatience = 30s;

void tell(int answer) noexcept {
    static_cast<void>(writeWhole(STDOUT_FILENO, &answer, sizeof answer));
}

/// Tells what a function of C gives.
class Asking final : public CallerWork {
public:
    using Question = int (*)(int kept) noexcept;
    explicit Asking(Question question, int kept = -1) : CallerWork(kept), m_question(question) {}
    void run() const noexcept override { tell(m_question(kept())); }

private:
    Question m_question;
};

class Opening final : public CallerWork {
public:
    explicit Opening(const std::string& path) : m_path(path.c_str()) {}
    void run() const noexcept override { tell(::open(m_path, O_RDONLY | O_CLOEXEC)); }

private:
    const char* m_path;
};

/// The rights of others are root's to give.
class CallerChildren : public UsersSandbox {
protected:
    static int answerTo(const CallerWork& work) {
        CallerChild child(std::nullopt);
        const auto failed = child.start(ordinaryUser(), work, Clock::now() + kPatience);
        EXPECT_FALSE(failed) << failed->error;
        int answer = -1;
        EXPECT_EQ(child.receive(&answer, sizeof answer, Clock::now() + kPatience), 0);
        return answer;
    }
};

TEST_F(CallerChildren, AreTheCaller) {
    EXPECT_EQ(answerTo(Asking([](int) noexcept { return static_cast<int>(::geteuid()); })),
              static_cast<int>(kUser));
    EXPECT_EQ(answerTo(Asking([](int) noexcept { return ::setuid(0); })), -1);
    EXPECT_FALSE(hasChildren());
}

TEST_F(CallerChildren, StandInTheRootFolder) {
    EXPECT_EQ(answerTo(Asking([](int) noexcept {
                  std::array<char, 2> folder{};
                  return ::getcwd(folder.data(), folder.size()) != nullptr && folder[0] == '/' ? 1 : 0;
              })),
              1);
}

TEST_F(CallerChildren, EndWithTheThreadThatHasStartedThem) {
    EXPECT_EQ(answerTo(Asking([](int) noexcept {
                  int number = 0;
                  return ::prctl(PR_GET_PDEATHSIG, &number, 0, 0, 0) == 0 ? number : -1;
              })),
              SIGTERM);
}

TEST_F(CallerChildren, LetNobodyLookIntoThem) {
    EXPECT_EQ(answerTo(Asking([](int) noexcept { return ::prctl(PR_GET_DUMPABLE, 0, 0, 0, 0); })), 0);
}

TEST_F(CallerChildren, AreToldOfTheLimitOfAFilesSizeByTheWrite) {
    EXPECT_EQ(answerTo(Asking([](int) noexcept {
                  struct sigaction action {};
                  return ::sigaction(SIGXFSZ, nullptr, &action) == 0 && action.sa_handler == SIG_IGN ? 1 : 0;
              })),
              1);
}

TEST_F(CallerChildren, HoldNoDescriptorOfOursButTheOneThatIsKept) {
    const std::array<FileDescriptor, 3> ours{FileDescriptor(::open("/dev/null", O_RDONLY | O_CLOEXEC)),
                                             FileDescriptor(::open("/dev/null", O_RDONLY | O_CLOEXEC)),
                                             FileDescriptor(::open("/dev/null", O_RDONLY | O_CLOEXEC))};
    const auto countOpen = [](int /*kept*/) noexcept {
        constexpr int kMost = 1024;
        int count = 0;
        for (int descriptor = 0; descriptor < kMost; ++descriptor) {
            count += ::fcntl(descriptor, F_GETFD) >= 0 ? 1 : 0;
        }
        return count;
    };
    EXPECT_EQ(answerTo(Asking(countOpen)), 3);
    EXPECT_EQ(answerTo(Asking(countOpen, ours[1].get())), 4);
    EXPECT_EQ(answerTo(Asking([](int kept) noexcept { return ::fcntl(kept, F_GETFD); }, ours[1].get())),
              FD_CLOEXEC);
}

TEST_F(CallerChildren, TellWhichStepToTheCallersRightsHasFailed) {
    asOrdinaryUser([] {
        const Asking work([](int) noexcept { return 0; });
        CallerChild child(std::nullopt);
        UserIdentity root = ordinaryUser();
        root.user = 0;
        const auto failed = child.start(root, work, Clock::now() + kPatience);
        ASSERT_TRUE(failed);
        EXPECT_STREQ(failed->call, "becomeUser");
        EXPECT_EQ(failed->error, EPERM);
    });
}

TEST_F(CallerChildren, TellApartWhoHasGoneAndWhoIsLate) {
    const Asking silent([](int) noexcept -> int { ::_exit(0); });
    CallerChild child(std::nullopt);
    ASSERT_FALSE(child.start(ordinaryUser(), silent, Clock::now() + kPatience));
    int answer = 0;
    EXPECT_EQ(child.receive(&answer, sizeof answer, Clock::now() + kPatience), EPIPE);
    const Asking thoughtful([](int) noexcept { return ::pause(); });
    CallerChild late(std::nullopt);
    ASSERT_FALSE(late.start(ordinaryUser(), thoughtful, Clock::now() + kPatience));
    EXPECT_EQ(late.receive(&answer, sizeof answer, Clock::now() + 50ms), ETIMEDOUT);
}

TEST_F(CallerChildren, WaitHalfASecondForTheEndOfOneThatIsHeldUp) {
    EXPECT_EQ(CallerChild::kEndLimit, 500ms);
    withStuckFolder(makeFolder("stuck"), [](StuckFileSystem& stuck, const std::string& file) {
        const CapturedLog log;
        const Opening work(file);
        std::optional<CallerChild> child(std::in_place, std::nullopt);
        EXPECT_FALSE(child->start(ordinaryUser(), work, Clock::now() + kPatience));
        EXPECT_TRUE(stuck.takeQuestion());
        const Clock::time_point start = Clock::now();
        child.reset();
        EXPECT_LT(Clock::now() - start, 10 * CallerChild::kEndLimit);
        EXPECT_TRUE(log.contains('W', "doesn't end yet")) << log.dump();
        stuck.abandon();
        EXPECT_TRUE(eventually([] { return !hasChildren(); }));
    });
}

} // namespace
