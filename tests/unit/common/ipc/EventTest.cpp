#include "event.h"

#include "Descriptors.h"
#include "EventRecord.h"
#include "EventTestAccess.h"
#include "LoggedTest.h"
#include "ReturnCodes.h"
#include "SystemCallHooks.h"

#include <algorithm>
#include <chrono>
#include <gmock/gmock.h>
#include <iterator>
#include <limits>
#include <optional>
#include <string>
#include <sys/ioctl.h>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr uint64_t kArg1 = 0x1122334455667788;
constexpr uint64_t kArg2 = 0x99AABBCCDDEEFF01;
constexpr uint32_t kUnknownExtraFdType = 2;

std::unique_ptr<CCEvent> makePlain(int extraFd = -1, uint32_t extraFdType = kExtraFdReadable) {
    uint32_t code = 1;
    auto event = std::make_unique<CCEvent>(code, extraFd, extraFdType);
    EXPECT_EQ(code, 0U);
    return event;
}

std::unique_ptr<CCEvent> makeWithFunction(uint32_t eventType = kEventTypeStandAlone) {
    uint32_t code = 1;
    auto event = std::make_unique<CCEvent>(code, nullptr, eventType, &FunctionRecord::note, kArg1, kArg2);
    EXPECT_EQ(code, 0U);
    return event;
}

std::unique_ptr<CCEvent> makeWithObject(IEventCallback& object, int extraFd = -1,
                                        uint32_t extraFdType = kExtraFdReadable) {
    uint32_t code = 1;
    auto event = std::make_unique<CCEvent>(code, nullptr, kEventTypeStandAlone, &object, kArg1, kArg2,
                                           extraFd, extraFdType);
    EXPECT_EQ(code, 0U);
    return event;
}

/// An event whose pipe could not be made.
std::unique_ptr<CCEvent> makeBroken() {
    const DescriptorLimit limit(kNoDescriptors);
    uint32_t code = 0;
    auto event = std::make_unique<CCEvent>(code);
    EXPECT_EQ(code, EVENT_ERROR_CREATE_FAILED);
    return event;
}

int bytesIn(const CCEvent& event) {
    int bytes = -1;
    EXPECT_EQ(::ioctl(event.getReadFd(), FIONREAD, &bytes), 0);
    return bytes;
}

class Event : public LoggedTest {
protected:
    /// Makes an event while one command of fcntl fails.
    void expectFailureAtFlags(int failing, const char* invoked) {
        const std::set<int> before = descriptorNumbers();
        m_hooks.onFcntl = [failing](int /*fd*/, int command) -> std::optional<int> {
            return command == failing ? std::optional(failWith(EPERM)) : std::nullopt;
        };
        uint32_t code = 0;
        const CCEvent event(code);
        EXPECT_EQ(code, EVENT_ERROR_CREATE_FAILED);
        EXPECT_EQ(event.getReadFd(), -1);
        EXPECT_EQ(EventTestAccess::writeFd(event), -1);
        EXPECT_EQ(descriptorNumbers(), before);
        expectCode("createPipe", invoked, EPERM);
        expectCode("basicConstructor", "createPipe", EVENT_ERROR_CREATE_FAILED);
        expectCode("CCEvent", "CCEvent::basicConstructor", EVENT_ERROR_CREATE_FAILED);
        expectLines(3);
    }

    FunctionRecord m_function;
    ObjectRecord m_object;
    SystemCallHooks m_hooks;
};

TEST_F(Event, StandsAloneWithAPipe) {
    const auto event = makePlain();
    EXPECT_EQ(event->getEventType(), kEventTypeStandAlone);
    EXPECT_GE(event->getReadFd(), 0);
    EXPECT_EQ(event->getExtraFd(), -1);
    EXPECT_EQ(event->getExtraFdType(), kExtraFdReadable);
    EXPECT_FALSE(event->isArmed());
    EXPECT_EQ(EventTestAccess::list(*event), nullptr);
    expectSilence();
}

TEST_F(Event, KeepsItsFurtherDescriptor) {
    const auto event = makePlain(7, kExtraFdWritable);
    EXPECT_EQ(event->getExtraFd(), 7);
    EXPECT_EQ(event->getExtraFdType(), kExtraFdWritable);
}

TEST_F(Event, KeepsItsType) {
    EXPECT_EQ(makeWithFunction(kEventTypeStandAlone)->getEventType(), 0U);
    EXPECT_EQ(makeWithFunction(kEventTypeAlways)->getEventType(), 1U);
    EXPECT_EQ(makeWithFunction(kEventTypeArmed)->getEventType(), 2U);
    expectSilence();
}

TEST_F(Event, RefusesANullFunction) {
    uint32_t code = 0;
    const CCEvent event(code, nullptr, kEventTypeAlways, static_cast<EventCallbackFunction>(nullptr), 1, 2);
    EXPECT_EQ(code, EVENT_ERROR_BAD_PARAMETER);
    EXPECT_EQ(event.getReadFd(), -1);
    expectSilence();
}

TEST_F(Event, RefusesANullObject) {
    uint32_t code = 0;
    const CCEvent event(code, nullptr, kEventTypeAlways, static_cast<IEventCallback*>(nullptr), 1, 2);
    EXPECT_EQ(code, EVENT_ERROR_BAD_PARAMETER);
    EXPECT_EQ(event.getReadFd(), -1);
    expectSilence();
}

TEST_F(Event, RefusesAnUnknownType) {
    const std::set<int> before = descriptorNumbers();
    uint32_t code = 0;
    const CCEvent event(code, nullptr, 3, &m_object, 1, 2, 7, kExtraFdWritable);
    EXPECT_EQ(code, EVENT_ERROR_BAD_PARAMETER);
    EXPECT_EQ(event.getReadFd(), -1);
    EXPECT_EQ(event.getExtraFd(), -1);
    EXPECT_EQ(descriptorNumbers(), before);
    expectCode("CCEvent", "CCEvent::basicConstructor", EVENT_ERROR_BAD_PARAMETER);
    expectLines(1);
}

TEST_F(Event, RefusesAListWhenItStandsAlone) {
    CEventList list;
    uint32_t code = 0;
    const CCEvent event(code, &list, kEventTypeStandAlone, &FunctionRecord::note, 1, 2);
    EXPECT_EQ(code, EVENT_ERROR_BAD_PARAMETER);
    EXPECT_EQ(event.getReadFd(), -1);
    EXPECT_THAT(EventListTestAccess::events(list), IsEmpty());
    expectCode("CCEvent", "CCEvent::basicConstructor", EVENT_ERROR_BAD_PARAMETER);
    expectLines(1);
}

TEST_F(Event, IsPutOnItsList) {
    CEventList list;
    uint32_t code = 1;
    const CCEvent event(code, &list, kEventTypeArmed, &m_object, 1, 2);
    EXPECT_EQ(code, 0U);
    EXPECT_EQ(EventTestAccess::list(event), &list);
    EXPECT_THAT(EventListTestAccess::events(list), ElementsAre(&event));
    expectSilence();
}

TEST_F(Event, FailsWithoutAPipe) {
    const auto event = makeBroken();
    EXPECT_EQ(event->getReadFd(), -1);
    EXPECT_EQ(EventTestAccess::writeFd(*event), -1);
    expectCode("createPipe", "::pipe", EMFILE);
    EXPECT_TRUE(m_log.contains('E', "Description: unknown")) << m_log.dump();
    expectCode("basicConstructor", "createPipe", EVENT_ERROR_CREATE_FAILED);
    expectCode("CCEvent", "CCEvent::basicConstructor", EVENT_ERROR_CREATE_FAILED);
    expectLines(3);
}

TEST_F(Event, WithoutAPipeStaysOffItsList) {
    CEventList list;
    const DescriptorLimit limit(kNoDescriptors);
    uint32_t code = 0;
    const CCEvent event(code, &list, kEventTypeAlways, &m_object, 1, 2);
    EXPECT_EQ(code, EVENT_ERROR_CREATE_FAILED);
    EXPECT_THAT(EventListTestAccess::events(list), IsEmpty());
    EXPECT_EQ(EventTestAccess::list(event), nullptr);
}

TEST_F(Event, FailsWhenThePipesFlagsCanNotBeRead) {
    expectFailureAtFlags(F_GETFL, "::fcntl(F_GETFL)");
}

TEST_F(Event, FailsWhenThePipesFlagsCanNotBeSet) {
    expectFailureAtFlags(F_SETFL, "::fcntl(F_SETFL)");
}

TEST_F(Event, NeverBlocksItsReaderButItsWriter) {
    const auto event = makePlain();
    EXPECT_EQ(::fcntl(event->getReadFd(), F_GETFL) & O_NONBLOCK, O_NONBLOCK);
    EXPECT_EQ(::fcntl(event->getReadFd(), F_GETFL) & O_ACCMODE, O_RDONLY);
    EXPECT_EQ(::fcntl(EventTestAccess::writeFd(*event), F_GETFL) & O_NONBLOCK, 0);
    EXPECT_EQ(::fcntl(EventTestAccess::writeFd(*event), F_GETFL) & O_ACCMODE, O_WRONLY);
}

TEST_F(Event, IsNotInheritedByOtherPrograms) {
    const auto event = makePlain();
    EXPECT_EQ(::fcntl(event->getReadFd(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    EXPECT_EQ(::fcntl(EventTestAccess::writeFd(*event), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST_F(Event, TakesTwoDescriptorsAndGivesThemBack) {
    constexpr std::size_t kEvents = 200;
    const DescriptorLimit limit(kManyDescriptors);
    const std::set<int> before = descriptorNumbers();
    {
        std::vector<std::unique_ptr<CCEvent>> events;
        std::generate_n(std::back_inserter(events), kEvents, [] { return makePlain(); });
        EXPECT_EQ(descriptorNumbers().size(), before.size() + 2 * kEvents);
    }
    EXPECT_EQ(descriptorNumbers(), before);
    for (std::size_t count = 0; count < kEvents; ++count) {
        static_cast<void>(makePlain());
    }
    EXPECT_EQ(descriptorNumbers(), before);
}

TEST_F(Event, LeavesItsFurtherDescriptorOpen) {
    const TestPipe pipe;
    static_cast<void>(makePlain(pipe.readEnd.get()));
    EXPECT_NE(::fcntl(pipe.readEnd.get(), F_GETFD), -1);
}

TEST_F(Event, IsDestroyedAsSomethingThatCanBeSignalled) {
    const std::set<int> before = descriptorNumbers();
    std::unique_ptr<ISignalable> signalable = makePlain();
    EXPECT_EQ(signalable->Signal(), 2);
    signalable.reset();
    EXPECT_EQ(descriptorNumbers(), before);
}

TEST_F(Event, IsSignalledByALetterAndAZero) {
    const auto event = makePlain();
    EXPECT_EQ(event->Signal(), 2);
    EXPECT_EQ(event->SetEvent(true), 0U);
    std::array<char, 8> bytes{};
    ASSERT_EQ(::read(event->getReadFd(), bytes.data(), bytes.size()), 4);
    EXPECT_EQ(std::string(bytes.data(), 4), std::string("x\0x\0", 4));
    expectSilence();
}

TEST_F(Event, LogsAFailedSetOnlyIfThatIsWanted) {
    const auto event = makeBroken();
    EXPECT_EQ(event->SetEvent(false), EVENT_ERROR_SET_FAILED);
    expectLines(3); // those of its creation
    EXPECT_EQ(event->SetEvent(true), EVENT_ERROR_SET_FAILED);
    expectCode("SetEvent", "::write", EBADF);
    expectLines(4);
}

TEST_F(Event, SaysNothingOfAFailedSignal) {
    const auto event = makeBroken();
    EXPECT_EQ(event->Signal(), -1);
    EXPECT_EQ(errno, EBADF);
    expectLines(3); // those of its creation
}

TEST_F(Event, FiresOnceForThreeSignals) {
    const auto event = makeWithFunction();
    for (int count = 0; count < 3; ++count) {
        EXPECT_EQ(event->SetEvent(true), 0U);
    }
    EXPECT_EQ(event->WaitEvent(kLongMs, nullptr, true), 0U);
    EXPECT_EQ(FunctionRecord::calls().size(), 1U);
    EXPECT_EQ(bytesIn(*event), 0);
    EXPECT_EQ(event->WaitEvent(0, nullptr, true), EVENT_ERROR_WAIT_TIMEOUT);
    EXPECT_EQ(FunctionRecord::calls().size(), 1U);
    expectSilence();
}

TEST_F(Event, TakesAnyNumberOfSignalsAtOnce) {
    const auto event = makePlain();
    for (const int signals : {1, 7, 8, 9, 16, 1000}) {
        for (int count = 0; count < signals; ++count) {
            EXPECT_EQ(event->SetEvent(true), 0U);
        }
        EXPECT_EQ(event->WaitEvent(kLongMs, nullptr, false), 0U) << signals;
        EXPECT_EQ(bytesIn(*event), 0) << signals;
        EXPECT_EQ(event->WaitEvent(0, nullptr, false), EVENT_ERROR_WAIT_TIMEOUT) << signals;
    }
}

TEST_F(Event, WaitGivesUpAtOnceWithoutTime) {
    const auto event = makeWithFunction();
    EXPECT_EQ(event->WaitEvent(0, nullptr, true), EVENT_ERROR_WAIT_TIMEOUT);
    EXPECT_THAT(FunctionRecord::calls(), IsEmpty());
    expectSilence();
}

TEST_F(Event, WaitLastsForItsTime) {
    constexpr auto kTime = std::chrono::milliseconds(50);
    const auto event = makePlain();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(event->WaitEvent(static_cast<uint32_t>(kTime.count()), nullptr, true),
              EVENT_ERROR_WAIT_TIMEOUT);
    EXPECT_GE(std::chrono::steady_clock::now() - start, kTime);
}

TEST_F(Event, WaitAsksForSecondsAndMicroseconds) {
    const auto event = makePlain();
    std::vector<std::pair<int64_t, int64_t>> asked;
    m_hooks.onSelect = [&asked](const SelectCall& call) -> std::optional<int> {
        asked.emplace_back(call.timeout->tv_sec, call.timeout->tv_usec);
        return 0;
    };
    for (const uint32_t timeMs : {0U, 1U, 999U, 1000U, 61'001U, 0xFFFFFFFFU}) {
        EXPECT_EQ(event->WaitEvent(timeMs, nullptr, true), EVENT_ERROR_WAIT_TIMEOUT);
    }
    EXPECT_THAT(asked, ElementsAre(Pair(0, 0), Pair(0, 1000), Pair(0, 999'000), Pair(1, 0), Pair(61, 1000),
                                   Pair(4'294'967, 295'000)));
}

TEST_F(Event, WaitAsksForItsDescriptorsOnly) {
    const TestPipe pipe;
    const int last = pipe.writeEnd.get();
    int asked = 0;
    const auto event = makePlain(last, kExtraFdWritable);
    const int own = event->getReadFd();
    m_hooks.onSelect = [&](const SelectCall& call) -> std::optional<int> {
        ++asked;
        EXPECT_EQ(call.descriptorsEnd, std::max(last, own) + 1);
        EXPECT_EQ(call.exceptFds, nullptr);
        for (int fd = 0; fd < FD_SETSIZE; ++fd) {
            EXPECT_EQ(FD_ISSET(fd, call.readFds) != 0, fd == own) << fd;
            EXPECT_EQ(FD_ISSET(fd, call.writeFds) != 0, fd == last) << fd;
        }
        return 0;
    };
    EXPECT_EQ(event->WaitEvent(0, nullptr, true), EVENT_ERROR_WAIT_TIMEOUT);
    EXPECT_EQ(asked, 1);
}

TEST_F(Event, WaitDoesNotReadWhatIsReserved) {
    const auto event = makePlain();
    EXPECT_EQ(event->SetEvent(true), 0U);
    EXPECT_EQ(event->WaitEvent(0, reinterpret_cast<void*>(uintptr_t{1}), false), 0U);
}

TEST_F(Event, WaitNeedsAPipe) {
    const auto event = makeBroken();
    EXPECT_EQ(event->WaitEvent(0, nullptr, true), EVENT_ERROR_NOT_INITIALIZED);
    EXPECT_EQ(event->WaitEvent(0xFFFFFFFF, nullptr, true), EVENT_ERROR_NOT_INITIALIZED);
    expectLines(3); // those of its creation
}

TEST_F(Event, WaitFailsWhenSelectDoes) {
    const auto event = makeWithObject(m_object);
    EXPECT_EQ(event->setExtraFd(closedDescriptor(), kExtraFdReadable), 0U);
    EXPECT_EQ(event->WaitEvent(kLongMs, nullptr, true), EVENT_ERROR_WAIT_FAILED);
    expectCode("WaitEvent", "zmt_select", EBADF);
    expectMessage("zmt_select", "zmt_select failed with errno: 9");
    expectLines(2);
    EXPECT_THAT(m_object.calls(), IsEmpty());
}

TEST_F(Event, WaitFailsWhenNothingOfItIsReady) {
    const auto event = makeWithObject(m_object);
    m_hooks.onSelect = [](const SelectCall& call) -> std::optional<int> {
        FD_ZERO(call.readFds);
        return 1;
    };
    EXPECT_EQ(event->WaitEvent(kLongMs, nullptr, true), EVENT_ERROR_WAIT_FAILED);
    EXPECT_THAT(m_object.calls(), IsEmpty());
    expectSilence();
}

TEST_F(Event, FiresWhenItsFurtherDescriptorBecomesReadable) {
    const TestPipe pipe;
    const auto event = makeWithObject(m_object, pipe.readEnd.get(), kExtraFdReadable);
    EXPECT_EQ(event->WaitEvent(0, nullptr, true), EVENT_ERROR_WAIT_TIMEOUT);
    pipe.fill();
    EXPECT_EQ(event->WaitEvent(kLongMs, nullptr, true), 0U);
    EXPECT_EQ(m_object.calls().size(), 1U);
    // What made it ready is still there.
    EXPECT_EQ(event->WaitEvent(kLongMs, nullptr, true), 0U);
    pipe.drain();
    EXPECT_EQ(event->WaitEvent(0, nullptr, true), EVENT_ERROR_WAIT_TIMEOUT);
    EXPECT_EQ(m_object.calls().size(), 2U);
    expectSilence();
}

TEST_F(Event, FiresWhenItsFurtherDescriptorBecomesWritable) {
    const TestPipe pipe;
    ASSERT_EQ(::fcntl(pipe.writeEnd.get(), F_SETFL, O_NONBLOCK), 0);
    while (::write(pipe.writeEnd.get(), "a", 1) == 1) {
    }
    const auto event = makeWithObject(m_object, pipe.writeEnd.get(), kExtraFdWritable);
    EXPECT_EQ(event->WaitEvent(0, nullptr, true), EVENT_ERROR_WAIT_TIMEOUT);
    std::array<char, 8192> taken{};
    ASSERT_EQ(::read(pipe.readEnd.get(), taken.data(), taken.size()), static_cast<ssize_t>(taken.size()));
    EXPECT_EQ(event->WaitEvent(kLongMs, nullptr, true), 0U);
    EXPECT_EQ(m_object.calls().size(), 1U);
    expectSilence();
}

TEST_F(Event, FiresBySignalBesideAFurtherDescriptor) {
    const TestPipe pipe;
    const auto event = makeWithObject(m_object, pipe.readEnd.get());
    EXPECT_EQ(event->SetEvent(true), 0U);
    EXPECT_EQ(event->WaitEvent(kLongMs, nullptr, true), 0U);
    EXPECT_EQ(event->WaitEvent(0, nullptr, true), EVENT_ERROR_WAIT_TIMEOUT);
    EXPECT_EQ(m_object.calls().size(), 1U);
}

TEST_F(Event, FiresOnceWhenBothAreReady) {
    const TestPipe pipe;
    pipe.fill();
    const auto event = makeWithObject(m_object, pipe.readEnd.get());
    EXPECT_EQ(event->SetEvent(true), 0U);
    EXPECT_EQ(event->WaitEvent(kLongMs, nullptr, true), 0U);
    EXPECT_EQ(m_object.calls().size(), 1U);
    EXPECT_EQ(bytesIn(*event), 0);
}

TEST_F(Event, IgnoresAFurtherDescriptorOfAnUnknownType) {
    const TestPipe pipe;
    pipe.fill();
    const auto event = makeWithObject(m_object, pipe.readEnd.get(), kUnknownExtraFdType);
    EXPECT_EQ(event->WaitEvent(0, nullptr, true), EVENT_ERROR_WAIT_TIMEOUT);
    EXPECT_EQ(event->SetEvent(true), 0U);
    EXPECT_EQ(event->WaitEvent(kLongMs, nullptr, true), 0U);
    EXPECT_EQ(m_object.calls().size(), 1U);
}

TEST_F(Event, TakesZeroAndBelowForNoFurtherDescriptor) {
    int asked = 0;
    m_hooks.onSelect = [&asked](const SelectCall& call) -> std::optional<int> {
        ++asked;
        EXPECT_FALSE(FD_ISSET(0, call.readFds));
        EXPECT_FALSE(FD_ISSET(0, call.writeFds));
        return 0;
    };
    for (const int none : {0, -1, -2, std::numeric_limits<int>::min()}) {
        for (const uint32_t type : {kExtraFdReadable, kExtraFdWritable}) {
            EXPECT_EQ(makePlain(none, type)->WaitEvent(0, nullptr, false), EVENT_ERROR_WAIT_TIMEOUT);
        }
    }
    EXPECT_EQ(asked, 8);
}

TEST_F(Event, CanNotWaitOnAFurtherDescriptorThatSelectCanNotHold) {
    const DescriptorLimit limit(kManyDescriptors);
    const TestPipe pipe;
    pipe.fill();
    const FileDescriptor great(::fcntl(pipe.readEnd.get(), F_DUPFD_CLOEXEC, FD_SETSIZE));
    ASSERT_GE(great.get(), FD_SETSIZE);
    const auto event = makeWithObject(m_object, great.get());
    EXPECT_EQ(event->SetEvent(true), 0U);
    EXPECT_EQ(event->WaitEvent(0, nullptr, true), EVENT_ERROR_WAIT_FAILED);
    expectMessage("WaitEvent", "Descriptors '" + std::to_string(event->getReadFd()) + "' and '" +
                                   std::to_string(great.get()) + "' can't be waited on");
    expectLines(1);
    EXPECT_THAT(m_object.calls(), IsEmpty());
    EXPECT_EQ(event->setExtraFd(great.get(), kExtraFdWritable), 0U);
    EXPECT_EQ(event->WaitEvent(0, nullptr, true), EVENT_ERROR_WAIT_FAILED);
    expectLines(2);
}

TEST_F(Event, WaitsOnTheLastDescriptorThatSelectCanHold) {
    const DescriptorLimit limit(kManyDescriptors);
    const TestPipe pipe;
    const FileDescriptor last(::fcntl(pipe.readEnd.get(), F_DUPFD_CLOEXEC, FD_SETSIZE - 1));
    ASSERT_EQ(last.get(), FD_SETSIZE - 1);
    const auto event = makeWithObject(m_object, last.get());
    EXPECT_EQ(event->WaitEvent(0, nullptr, true), EVENT_ERROR_WAIT_TIMEOUT);
    pipe.fill();
    EXPECT_EQ(event->WaitEvent(kLongMs, nullptr, true), 0U);
    EXPECT_EQ(m_object.calls().size(), 1U);
    expectSilence();
}

TEST_F(Event, CanNotWaitOnAPipeThatSelectCanNotHold) {
    const DescriptorLimit limit(kManyDescriptors);
    const std::vector<FileDescriptor> taken = takeSmallDescriptors();
    const auto event = makeWithObject(m_object);
    ASSERT_GE(event->getReadFd(), FD_SETSIZE);
    EXPECT_EQ(event->SetEvent(true), 0U);
    EXPECT_EQ(event->WaitEvent(kLongMs, nullptr, true), EVENT_ERROR_WAIT_FAILED);
    expectMessage("WaitEvent",
                  "Descriptors '" + std::to_string(event->getReadFd()) + "' and '-1' can't be waited on");
    expectLines(1);
    EXPECT_EQ(event->ResetEvent(), 0U);
}

TEST_F(Event, ResetForgetsItsSignals) {
    const auto event = makeWithFunction();
    EXPECT_EQ(event->SetEvent(true), 0U);
    EXPECT_EQ(event->SetEvent(true), 0U);
    EXPECT_EQ(event->ResetEvent(), 0U);
    EXPECT_EQ(event->WaitEvent(0, nullptr, true), EVENT_ERROR_WAIT_TIMEOUT);
    EXPECT_THAT(FunctionRecord::calls(), IsEmpty());
    expectSilence();
}

TEST_F(Event, ResetDisarms) {
    const auto event = makeWithFunction(kEventTypeArmed);
    event->arm();
    EXPECT_TRUE(event->isArmed());
    EXPECT_EQ(event->ResetEvent(), 0U);
    EXPECT_FALSE(event->isArmed());
}

TEST_F(Event, ResetWithoutAPipeFailsAndDisarms) {
    const auto event = makeBroken();
    event->arm();
    EXPECT_EQ(event->ResetEvent(), EVENT_ERROR_RESET_FAILED);
    EXPECT_FALSE(event->isArmed());
    expectCode("ResetEvent", "::read", EBADF);
    expectLines(4);
}

TEST_F(Event, ResetEndsWithAFailureAtTheEndOfThePipe) {
    const auto event = makePlain();
    m_hooks.onRead = [](int /*fd*/) { return std::optional<ssize_t>(0); };
    errno = EAGAIN;
    EXPECT_EQ(event->ResetEvent(), EVENT_ERROR_RESET_FAILED);
    expectCode("ResetEvent", "::read", 0);
    expectLines(1);
}

TEST_F(Event, ResetBearsAHundredInterruptions) {
    const auto event = makePlain();
    EXPECT_EQ(event->SetEvent(true), 0U);
    int interruptions = 0;
    m_hooks.onRead = [&](int fd) -> std::optional<ssize_t> {
        EXPECT_EQ(fd, event->getReadFd());
        if (interruptions == 100) {
            return std::nullopt;
        }
        ++interruptions;
        return failWith(EINTR);
    };
    EXPECT_EQ(event->ResetEvent(), 0U);
    EXPECT_EQ(interruptions, 100);
    EXPECT_EQ(bytesIn(*event), 0);
    expectSilence();
}

TEST_F(Event, ResetFailsAtTheNextInterruption) {
    const auto event = makePlain();
    int reads = 0;
    m_hooks.onRead = [&reads](int /*fd*/) {
        ++reads;
        return std::optional<ssize_t>(failWith(EINTR));
    };
    EXPECT_EQ(event->ResetEvent(), EVENT_ERROR_RESET_FAILED);
    EXPECT_EQ(reads, 101);
    expectCode("ResetEvent", "::read", EINTR);
    expectLines(1);
}

TEST_F(Event, ResetCountsInterruptionsAcrossTheSignalsInBetween) {
    const auto event = makePlain();
    for (int count = 0; count < 100; ++count) {
        EXPECT_EQ(event->SetEvent(true), 0U);
    }
    int reads = 0;
    m_hooks.onRead = [&reads](int /*fd*/) -> std::optional<ssize_t> {
        ++reads;
        return reads % 20 == 0 ? std::nullopt : std::optional<ssize_t>(failWith(EINTR));
    };
    EXPECT_EQ(event->ResetEvent(), EVENT_ERROR_RESET_FAILED);
    EXPECT_EQ(reads, 101 + 5);
    expectCode("ResetEvent", "::read", EINTR);
}

TEST_F(Event, IsDisarmedByBeingProcessed) {
    const auto event = makeWithFunction(kEventTypeArmed);
    event->arm();
    EXPECT_EQ(event->processSignaledEvent(false), 0U);
    EXPECT_FALSE(event->isArmed());
    EXPECT_THAT(FunctionRecord::calls(), IsEmpty());
}

TEST_F(Event, IsDisarmedWhenItsCallbackRuns) {
    const auto event = makeWithObject(m_object);
    event->arm();
    m_object.doAtEachCall([&event](uint64_t /*arg1*/) {
        EXPECT_FALSE(event->isArmed());
        EXPECT_EQ(bytesIn(*event), 0);
        event->arm();
    });
    EXPECT_EQ(event->SetEvent(true), 0U);
    EXPECT_EQ(event->processSignaledEvent(true), 0U);
    EXPECT_TRUE(event->isArmed());
}

TEST_F(Event, GivesAFunctionTheLowHalfOfItsSecondArgument) {
    const auto event = makeWithFunction();
    EXPECT_EQ(event->processSignaledEvent(true), 0U);
    EXPECT_THAT(FunctionRecord::calls(), ElementsAre(Pair(kArg1, 0xDDEEFF01)));
}

TEST_F(Event, GivesAnObjectBothArgumentsWhole) {
    const auto event = makeWithObject(m_object);
    EXPECT_EQ(event->processSignaledEvent(true), 0U);
    EXPECT_THAT(m_object.calls(), ElementsAre(kArg1));
    EXPECT_EQ(m_object.lastArg2(), kArg2);
}

TEST_F(Event, CallsTheObjectRatherThanTheFunction) {
    const auto event = makeWithObject(m_object);
    EventTestAccess::setFunction(*event, &FunctionRecord::note);
    EXPECT_EQ(event->processSignaledEvent(true), 0U);
    EXPECT_EQ(m_object.calls().size(), 1U);
    EXPECT_THAT(FunctionRecord::calls(), IsEmpty());
}

TEST_F(Event, CallsNothingUnlessThatIsWanted) {
    const auto event = makeWithObject(m_object);
    EXPECT_EQ(event->SetEvent(true), 0U);
    EXPECT_EQ(event->WaitEvent(kLongMs, nullptr, false), 0U);
    EXPECT_THAT(m_object.calls(), IsEmpty());
    EXPECT_EQ(bytesIn(*event), 0);
}

TEST_F(Event, WithoutACallbackHasNoneToRun) {
    const auto event = makePlain();
    EXPECT_EQ(event->processSignaledEvent(false), 0U);
    EXPECT_EQ(event->SetEvent(true), 0U);
    EXPECT_EQ(event->processSignaledEvent(true), EVENT_ERROR_NO_CALLBACK);
    EXPECT_EQ(bytesIn(*event), 0);
    expectSilence();
    EXPECT_EQ(event->SetEvent(true), 0U);
    EXPECT_EQ(event->WaitEvent(kLongMs, nullptr, true), EVENT_ERROR_NO_CALLBACK);
    expectCode("WaitEvent", "CCEvent::processSignaledEvent", EVENT_ERROR_NO_CALLBACK);
    expectLines(1);
}

TEST_F(Event, IsNotProcessedWhenItsPipeCanNotBeEmptied) {
    const auto event = makeWithObject(m_object);
    m_hooks.onRead = [](int /*fd*/) { return std::optional<ssize_t>(failWith(EIO)); };
    EXPECT_EQ(event->processSignaledEvent(true), EVENT_ERROR_RESET_FAILED);
    expectCode("ResetEvent", "::read", EIO);
    expectCode("processSignaledEvent", "CCEvent::ResetEvent", EVENT_ERROR_RESET_FAILED);
    expectLines(2);
    EXPECT_EQ(event->SetEvent(true), 0U);
    EXPECT_EQ(event->WaitEvent(kLongMs, nullptr, true), EVENT_ERROR_RESET_FAILED);
    expectCode("WaitEvent", "CCEvent::processSignaledEvent", EVENT_ERROR_RESET_FAILED);
    expectLines(5);
    EXPECT_THAT(m_object.calls(), IsEmpty());
}

TEST_F(Event, MayBeDestroyedByItsCallback) {
    auto event = makeWithObject(m_object);
    m_object.doAtEachCall([&event](uint64_t /*arg1*/) { event.reset(); });
    EXPECT_EQ(event->SetEvent(true), 0U);
    EXPECT_EQ(event->WaitEvent(kLongMs, nullptr, true), 0U);
    EXPECT_EQ(event, nullptr);
    EXPECT_EQ(m_object.calls().size(), 1U);
    expectSilence();
}

TEST_F(Event, MaySignalItselfInItsCallback) {
    const auto event = makeWithObject(m_object);
    m_object.doAtEachCall([&event](uint64_t /*arg1*/) { EXPECT_EQ(event->SetEvent(true), 0U); });
    EXPECT_EQ(event->SetEvent(true), 0U);
    EXPECT_EQ(event->WaitEvent(kLongMs, nullptr, true), 0U);
    EXPECT_EQ(m_object.calls().size(), 1U);
    EXPECT_EQ(event->WaitEvent(kLongMs, nullptr, true), 0U);
    EXPECT_EQ(m_object.calls().size(), 2U);
}

TEST_F(Event, TakesAnotherFurtherDescriptor) {
    const TestPipe pipe;
    pipe.fill();
    const auto event = makeWithObject(m_object);
    EXPECT_EQ(event->setExtraFd(pipe.readEnd.get(), kExtraFdReadable), 0U);
    EXPECT_EQ(event->WaitEvent(kLongMs, nullptr, true), 0U);
    EXPECT_EQ(event->setExtraFd(pipe.writeEnd.get(), kExtraFdWritable), 0U);
    EXPECT_EQ(event->getExtraFd(), pipe.writeEnd.get());
    EXPECT_EQ(event->getExtraFdType(), kExtraFdWritable);
    EXPECT_EQ(event->WaitEvent(kLongMs, nullptr, true), 0U);
    EXPECT_EQ(m_object.calls().size(), 2U);
}

TEST_F(Event, RefusesABadFurtherDescriptor) {
    const auto event = makePlain(7, kExtraFdWritable);
    EXPECT_EQ(event->setExtraFd(0, kExtraFdReadable), EVENT_ERROR_BAD_PARAMETER);
    EXPECT_EQ(event->setExtraFd(-1, kExtraFdReadable), EVENT_ERROR_BAD_PARAMETER);
    EXPECT_EQ(event->setExtraFd(8, kUnknownExtraFdType), EVENT_ERROR_BAD_PARAMETER);
    EXPECT_EQ(event->setExtraFd(8, 0xFFFFFFFF), EVENT_ERROR_BAD_PARAMETER);
    EXPECT_EQ(event->getExtraFd(), 7);
    EXPECT_EQ(event->getExtraFdType(), kExtraFdWritable);
    EXPECT_EQ(event->setExtraFd(1, kExtraFdReadable), 0U);
    EXPECT_EQ(event->getExtraFd(), 1);
    expectSilence();
}

TEST_F(Event, NotesItsList) {
    CEventList list;
    const auto event = makeWithFunction(kEventTypeArmed);
    EXPECT_EQ(event->setEventList(&list), 0U);
    EXPECT_EQ(EventTestAccess::list(*event), &list);
    EXPECT_EQ(event->setEventList(nullptr), 0U);
    EXPECT_EQ(EventTestAccess::list(*event), nullptr);
    EXPECT_EQ(event->setEventList(nullptr), 0U);
    expectSilence();
}

TEST_F(Event, RefusesASecondList) {
    CEventList first;
    CEventList second;
    const auto event = makeWithFunction(kEventTypeAlways);
    EXPECT_EQ(event->setEventList(&first), 0U);
    EXPECT_EQ(event->setEventList(&second), EVENT_ERROR_EVENT_IS_ALREADY_ON_A_LIST);
    EXPECT_EQ(event->setEventList(&first), EVENT_ERROR_EVENT_IS_ALREADY_ON_A_LIST);
    EXPECT_EQ(EventTestAccess::list(*event), &first);
    EXPECT_EQ(event->setEventList(nullptr), 0U);
    EXPECT_EQ(event->setEventList(&second), 0U);
    EXPECT_EQ(event->setEventList(nullptr), 0U);
}

TEST_F(Event, RefusesAListWithoutACallback) {
    CEventList list;
    const auto event = makePlain();
    EXPECT_EQ(event->setEventList(&list), EVENT_ERROR_NO_CALLBACK);
    EXPECT_EQ(event->setEventList(nullptr), 0U);
}

TEST_F(Event, RefusesAListForItsType) {
    CEventList list;
    const auto event = makeWithFunction(kEventTypeStandAlone);
    EXPECT_EQ(event->setEventList(&list), EVENT_ERROR_EVENT_TYPE_INVALID_FOR_LISTS);
    EXPECT_EQ(EventTestAccess::list(*event), nullptr);
}

TEST_F(Event, LogsThatItsListDoesNotKnowIt) {
    CEventList list;
    {
        const auto event = makeWithFunction(kEventTypeAlways);
        EXPECT_EQ(event->setEventList(&list), 0U);
    }
    expectCode("~CCEvent", "CEventList::RemoveEvent", EVENTLIST_ERROR_EVENT_NOT_FOUND);
    expectLines(1);
}

} // namespace
