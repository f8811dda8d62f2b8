#include "Common/IPC/UnixImpersonate.h"

#include "Common/Utility/memory/Handles.h"
#include "Common/Utility/ReturnCodes.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/InChild.h"
#include "tests/support/Processes.h"
#include "tests/support/SystemCallFilter.h"
#include "tests/unit/common/ipc/PrivateUsers.h"
#include "tests/unit/common/ipc/ProcessTest.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using UnixImpersonate = ProcessTest;
using UnixImpersonateFailures = ProcessTest;
using UserOfProcess = ProcessTest;
using UserAdministrator = PrivateUsersTest;
using ImpersonatedUser = PrivateUsersTest;
using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

constexpr const char* kNobodysName = "no-such-user-of-mero";

struct Ids {
    uid_t real = 0;
    uid_t effective = 0;
    uid_t saved = 0;
    bool operator==(const Ids&) const = default;
};

Ids userIds() {
    Ids ids;
    EXPECT_EQ(::getresuid(&ids.real, &ids.effective, &ids.saved), 0);
    return ids;
}

Ids groupIds() {
    Ids ids;
    EXPECT_EQ(::getresgid(&ids.real, &ids.effective, &ids.saved), 0);
    return ids;
}

std::vector<gid_t> groups() {
    std::vector<gid_t> list(256);
    const int count = ::getgroups(static_cast<int>(list.size()), list.data());
    EXPECT_GE(count, 0);
    list.resize(static_cast<std::size_t>(count));
    return list;
}

/// The name of the user as whom the tests run; empty if there is none.
std::string ownName() {
    const passwd* const entry = ::getpwuid(::getuid()); // NOLINT(concurrency-mt-unsafe): there is one thread
    return entry == nullptr ? "" : entry->pw_name;
}

constexpr const char* kNoOwnName = "the user as whom the tests run has no name";

/// A system call and the name that it has in the log.
struct FailingStep {
    long call;
    const char* name;
};

TEST_F(ImpersonatedUser, SwitchesTheEffectiveIdsAndBack) {
    withPrivateUsers([] {
        const CapturedLog log;
        CUnixImpersonate user("mero_user");
        ASSERT_EQ(user.Start(), 0U);
        EXPECT_EQ(userIds(), (Ids{0, kPrivateUser, 0}));
        EXPECT_EQ(groupIds(), (Ids{0, kPrivateGroup, 0}));
        EXPECT_THAT(groups(), UnorderedElementsAre(kPrivateGroup, kPrivateExtraGroup, kPrivateAdminGroup));
        ASSERT_EQ(user.Stop(), 0U);
        EXPECT_EQ(userIds(), (Ids{0, 0, 0}));
        EXPECT_EQ(groupIds(), (Ids{0, 0, 0}));
        EXPECT_THAT(groups(), ElementsAre(0));
        EXPECT_TRUE(log.lines().empty()) << log.dump();
    });
}

TEST_F(ImpersonatedUser, SwitchesBackAtTheEndOfItsLife) {
    withPrivateUsers([] {
        {
            CUnixImpersonate user("mero_user");
            ASSERT_EQ(user.Start(), 0U);
            EXPECT_EQ(::geteuid(), kPrivateUser);
        }
        EXPECT_EQ(userIds(), (Ids{0, 0, 0}));
        EXPECT_EQ(groupIds(), (Ids{0, 0, 0}));
        EXPECT_THAT(groups(), ElementsAre(0));
    });
}

TEST_F(ImpersonatedUser, DoesNotSwitchBackTwice) {
    withPrivateUsers([] {
        {
            CUnixImpersonate user("mero_user");
            ASSERT_EQ(user.Start(), 0U);
            ASSERT_EQ(user.Stop(), 0U);
            ASSERT_EQ(::setegid(kPrivateExtraGroup), 0);
        }
        EXPECT_EQ(::getegid(), kPrivateExtraGroup);
    });
}

TEST_F(UnixImpersonate, LeavesEverythingAloneIfItWasNotStarted) {
    inChild([] {
        const CapturedLog log;
        const Ids before = userIds();
        // Any attempt to switch back would fail, and be logged.
        for (const long call : {SYS_setgroups, SYS_setresgid, SYS_setresuid}) {
            replaceSystemCall(call, EPERM);
        }
        { const CUnixImpersonate user("root"); }
        EXPECT_EQ(userIds(), before);
        EXPECT_TRUE(log.lines().empty()) << log.dump();
    });
}

TEST_F(ImpersonatedUser, BecomesAUserForGood) {
    withPrivateUsers([] {
        {
            CUnixImpersonate user("mero_homeless");
            ASSERT_EQ(user.PermanentlyBecomeUser(), 0U);
        }
        EXPECT_EQ(userIds(), (Ids{kPrivateHomeless, kPrivateHomeless, kPrivateHomeless}));
        EXPECT_EQ(groupIds(), (Ids{kPrivateGroup, kPrivateGroup, kPrivateGroup}));
        EXPECT_THAT(groups(), UnorderedElementsAre(kPrivateGroup, kPrivateWheelGroup));
        EXPECT_NE(::setuid(0), 0);
        EXPECT_NE(::setgid(0), 0);
    });
}

TEST_F(ImpersonatedUser, MayDoWhatTheUserMayAndNoMore) {
    writeFile("secret", "of root");
    ASSERT_EQ(::chmod("secret", 0600), 0);
    withPrivateUsers([] {
        CUnixImpersonate user("mero_user");
        ASSERT_EQ(user.Start(), 0U);
        EXPECT_EQ(::open("secret", O_RDONLY | O_CLOEXEC), -1);
        EXPECT_EQ(errno, EACCES);
        ASSERT_EQ(user.Stop(), 0U);
        const FileDescriptor file(::open("secret", O_RDONLY | O_CLOEXEC));
        EXPECT_TRUE(file);
    });
}

TEST_F(UnixImpersonateFailures, AreLoggedForAnUnknownUser) {
    const CapturedLog log;
    const Ids before = userIds();
    CUnixImpersonate user(kNobodysName);
    EXPECT_EQ(user.Start(), GLOBAL_ERROR_UNEXPECTED);
    EXPECT_EQ(log.count('E', "Function: Start\n"), 1) << log.dump();
    EXPECT_EQ(user.PermanentlyBecomeUser(), GLOBAL_ERROR_UNEXPECTED);
    EXPECT_EQ(log.count('E', "Function: PermanentlyBecomeUser\n"), 1) << log.dump();
    EXPECT_EQ(log.count('E', "Invoked Function: getpwnam\n"), 2) << log.dump();
    EXPECT_EQ(log.count('E', std::string("error: Success; username: ") + kNobodysName), 2) << log.dump();
    EXPECT_EQ(userIds(), before);
}

TEST_F(UnixImpersonateFailures, TakeNullForAnEmptyName) {
    const CapturedLog log;
    EXPECT_EQ(CUnixImpersonate(nullptr).Start(), GLOBAL_ERROR_UNEXPECTED);
    EXPECT_EQ(log.count('E', "; username: "), 1) << log.dump();
}

/// Whether a look-up fails where no file can be opened. Some databases have users that stand in no file.
bool userDatabaseNeedsFiles() {
    const pid_t child = ::fork();
    if (child == 0) {
        forbidDescriptors();
        std::array<char, 4096> texts{};
        passwd entry{};
        passwd* found = nullptr;
        const int byName = ::getpwnam_r("root", &entry, texts.data(), texts.size(), &found);
        const int byId = ::getpwuid_r(::getuid(), &entry, texts.data(), texts.size(), &found);
        ::_exit(byName == EMFILE && byId == EMFILE ? 0 : 1);
    }
    int status = -1;
    return ::waitpid(child, &status, 0) == child && status == 0;
}

TEST_F(UnixImpersonateFailures, OfTheUserDatabaseAreLoggedWithTheirErrno) {
    if (!userDatabaseNeedsFiles()) {
        GTEST_SKIP() << "the user database answers without opening a file";
    }
    inChild([] {
        const CapturedLog log;
        forbidDescriptors();
        EXPECT_EQ(CUnixImpersonate("root").Start(), GLOBAL_ERROR_UNEXPECTED);
        EXPECT_TRUE(log.containsCode('E', "Start", "getpwnam", EMFILE)) << log.dump();
        EXPECT_TRUE(log.contains('E', "error: Too many open files; username: root")) << log.dump();
        EXPECT_EQ(CUnixImpersonate("root").Stop(), GLOBAL_ERROR_UNEXPECTED);
        EXPECT_TRUE(log.containsCode('E', "Stop", "getpwuid", EMFILE)) << log.dump();
        std::string name = "former";
        EXPECT_EQ(CUnixImpersonate::GetUsernameOwningProcess(::getpid(), name), GLOBAL_ERROR_UNEXPECTED);
        EXPECT_TRUE(log.containsCode('E', "GetUsernameOwningProcess", "getpwuid", EMFILE)) << log.dump();
        EXPECT_EQ(name, "former");
    });
}

TEST_F(UnixImpersonateFailures, OfEachStepOfStartAreLogged) {
    for (const FailingStep& step : {FailingStep{SYS_setgroups, "initgroups"},
                                    {SYS_setresgid, "setregid"},
                                    {SYS_setresuid, "seteuid"}}) {
        inChild([&step] {
            const CapturedLog log;
            for (const long call : {SYS_setgroups, SYS_setresgid, SYS_setresuid}) {
                replaceSystemCall(call, call == step.call ? EPERM : 0);
            }
            EXPECT_EQ(CUnixImpersonate("root").Start(), GLOBAL_ERROR_UNEXPECTED);
            EXPECT_TRUE(log.containsCode('E', "impersonate", step.name, EPERM)) << log.dump();
            EXPECT_TRUE(log.contains('E', "Operation not permitted")) << log.dump();
            EXPECT_TRUE(
                log.containsCode('E', "Start", "CUnixImpersonate::impersonate", GLOBAL_ERROR_UNEXPECTED))
                << log.dump();
            EXPECT_EQ(log.lines().size(), 2U) << log.dump(); // and nothing of a way back
        });
    }
}

TEST_F(UnixImpersonateFailures, OfEachStepOfBecomingAUserAreLogged) {
    for (const FailingStep& step :
         {FailingStep{SYS_setgroups, "initgroups"}, {SYS_setgid, "setgid"}, {SYS_setuid, "setuid"}}) {
        inChild([&step] {
            const CapturedLog log;
            for (const long call : {SYS_setgroups, SYS_setgid, SYS_setuid}) {
                replaceSystemCall(call, call == step.call ? EPERM : 0);
            }
            EXPECT_EQ(CUnixImpersonate("root").PermanentlyBecomeUser(), GLOBAL_ERROR_UNEXPECTED);
            EXPECT_TRUE(log.containsCode('E', "impersonate", step.name, EPERM)) << log.dump();
            EXPECT_TRUE(log.containsCode('E', "PermanentlyBecomeUser", "CUnixImpersonate::impersonate",
                                         GLOBAL_ERROR_UNEXPECTED))
                << log.dump();
        });
    }
}

TEST_F(UnixImpersonateFailures, OfEachStepOfStopAreLogged) {
    if (ownName().empty()) {
        GTEST_SKIP() << kNoOwnName;
    }
    for (const FailingStep& step : {FailingStep{SYS_setgroups, "initgroups"},
                                    {SYS_setresgid, "setregid"},
                                    {SYS_setresuid, "seteuid"}}) {
        inChild([&step] {
            const CapturedLog log;
            for (const long call : {SYS_setgroups, SYS_setresgid, SYS_setresuid}) {
                replaceSystemCall(call, call == step.call ? EPERM : 0);
            }
            EXPECT_EQ(CUnixImpersonate("root").Stop(), GLOBAL_ERROR_UNEXPECTED);
            EXPECT_TRUE(log.containsCode('E', "Stop", step.name, EPERM)) << log.dump();
            EXPECT_EQ(log.lines().size(), 1U) << log.dump();
        });
    }
}

TEST_F(UnixImpersonateFailures, OfTheWayBackAreLoggedAtTheEndOfItsLife) {
    if (ownName().empty()) {
        GTEST_SKIP() << kNoOwnName;
    }
    inChild([] {
        const CapturedLog log;
        for (const long call : {SYS_setgroups, SYS_setresgid, SYS_setresuid}) {
            replaceSystemCall(call, 0);
        }
        {
            CUnixImpersonate user("root");
            ASSERT_EQ(user.Start(), 0U);
            replaceSystemCall(SYS_setresuid, EPERM);
        }
        EXPECT_TRUE(log.containsCode('E', "Stop", "seteuid", EPERM)) << log.dump();
        EXPECT_TRUE(
            log.containsCode('E', "~CUnixImpersonate", "CUnixImpersonate::Stop", GLOBAL_ERROR_UNEXPECTED))
            << log.dump();
    });
}

TEST_F(UserOfProcess, IsOursForOurProcess) {
    if (ownName().empty()) {
        GTEST_SKIP() << kNoOwnName;
    }
    std::string name;
    EXPECT_EQ(CUnixImpersonate::GetUsernameOwningProcess(::getpid(), name), 0U);
    EXPECT_EQ(name, ownName());
}

TEST_F(ImpersonatedUser, OwnsTheProgramThatWasStartedAsIt) {
    withPrivateUsers([] {
        ProcessLaunchInfo info;
        info.m_bImpersonate = true;
        info.m_pszUserName = "mero_user";
        ASSERT_EQ(launch(info, {"/bin/sleep", "1000"}), 0U);
        std::string name;
        EXPECT_TRUE(eventually([&] {
            return CUnixImpersonate::GetUsernameOwningProcess(info.m_processId, name) == 0 &&
                   name == "mero_user";
        }));
        EXPECT_EQ(CProcessApi::terminateProcess(info.m_processId), 0U);
    });
}

TEST_F(UserOfProcess, FailsForNoProcess) {
    for (const int number : {0x3FFFFFFF, -1, INT32_MIN}) {
        const CapturedLog log;
        std::string name = "former";
        EXPECT_EQ(CUnixImpersonate::GetUsernameOwningProcess(number, name), GLOBAL_ERROR_BAD_HANDLE);
        EXPECT_EQ(name, "former");
        EXPECT_TRUE(log.containsCode('E', "GetUsernameOwningProcess", "stat", ENOENT)) << log.dump();
    }
}

TEST_F(UserOfProcess, FailsForAUserWithoutAName) {
    if (!runsAsRoot()) {
        GTEST_SKIP() << "only root can become a user without a name";
    }
    inChild([] {
        const CapturedLog log;
        becomeLonelyUser();
        ASSERT_EQ(::prctl(PR_SET_DUMPABLE, 1), 0); // else the process would still look like root's
        std::string name = "former";
        EXPECT_EQ(CUnixImpersonate::GetUsernameOwningProcess(::getpid(), name), GLOBAL_ERROR_UNEXPECTED);
        EXPECT_EQ(name, "former");
        EXPECT_TRUE(log.containsCode('E', "GetUsernameOwningProcess", "getpwuid", 0)) << log.dump();
    });
}

TEST_F(UserAdministrator, IsAMemberOfEitherGroup) {
    withPrivateUsers([] {
        EXPECT_TRUE(CUnixImpersonate::isUserAdministrator("mero_user"));     // admin
        EXPECT_TRUE(CUnixImpersonate::isUserAdministrator("mero_homeless")); // wheel
        EXPECT_TRUE(CUnixImpersonate::isUserAdministrator("somebody"));      // both, and no user at all
        EXPECT_FALSE(CUnixImpersonate::isUserAdministrator("mero_wheel"));   // by the primary group only
        EXPECT_FALSE(CUnixImpersonate::isUserAdministrator("root"));
        EXPECT_FALSE(CUnixImpersonate::isUserAdministrator("mero_use"));
        EXPECT_FALSE(CUnixImpersonate::isUserAdministrator("mero_users"));
        EXPECT_FALSE(CUnixImpersonate::isUserAdministrator(""));
        EXPECT_FALSE(CUnixImpersonate::isUserAdministrator(nullptr));
    });
}

TEST_F(UserAdministrator, IsNobodyWithoutTheGroupsOrMembers) {
    for (const char* const lines : {"root:x:0:root\n", "admin:x:5:\nwheel:x:6:\n", ""}) {
        withPrivateUsers(
            [] {
                EXPECT_FALSE(CUnixImpersonate::isUserAdministrator("root"));
                EXPECT_FALSE(CUnixImpersonate::isUserAdministrator(""));
            },
            lines);
    }
}

TEST_F(UserAdministrator, IsFoundInALargeGroup) {
    std::string lines = "wheel:x:6:";
    for (int i = 0; i < 20000; ++i) {
        lines.append("user").append(std::to_string(i)).append(",");
    }
    lines.append("last\n");
    withPrivateUsers(
        [] {
            EXPECT_TRUE(CUnixImpersonate::isUserAdministrator("last"));
            EXPECT_TRUE(CUnixImpersonate::isUserAdministrator("user19999"));
            EXPECT_FALSE(CUnixImpersonate::isUserAdministrator("user20000"));
        },
        lines.c_str());
}

} // namespace
