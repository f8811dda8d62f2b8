#include "tests/unit/common/ipc/EventFixture.h"

#include <algorithm>
#include <chrono>
#include <gmock/gmock.h>
#include <limits>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

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

} // namespace
