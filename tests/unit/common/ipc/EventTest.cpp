#include "tests/unit/common/ipc/EventFixture.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <iterator>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

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
