#pragma once

#include "Common/IPC/event.h"
#include "Common/Utility/ReturnCodes.h"
#include "tests/unit/common/ipc/Descriptors.h"
#include "tests/unit/common/ipc/EventRecord.h"
#include "tests/unit/common/ipc/EventTestAccess.h"
#include "tests/unit/common/ipc/LoggedTest.h"
#include "tests/unit/common/ipc/SystemCallHooks.h"

#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <sys/ioctl.h>

inline constexpr uint64_t kArg1 = 0x1122334455667788;
inline constexpr uint64_t kArg2 = 0x99AABBCCDDEEFF01;
inline constexpr uint32_t kUnknownExtraFdType = 2;

inline std::unique_ptr<CCEvent> makePlain(int extraFd = -1, uint32_t extraFdType = kExtraFdReadable) {
    uint32_t code = 1;
    auto event = std::make_unique<CCEvent>(code, extraFd, extraFdType);
    EXPECT_EQ(code, 0U);
    return event;
}

inline std::unique_ptr<CCEvent> makeWithFunction(uint32_t eventType = kEventTypeStandAlone) {
    uint32_t code = 1;
    auto event = std::make_unique<CCEvent>(code, nullptr, eventType, &FunctionRecord::note, kArg1, kArg2);
    EXPECT_EQ(code, 0U);
    return event;
}

inline std::unique_ptr<CCEvent> makeWithObject(IEventCallback& object, int extraFd = -1,
                                               uint32_t extraFdType = kExtraFdReadable) {
    uint32_t code = 1;
    auto event = std::make_unique<CCEvent>(code, nullptr, kEventTypeStandAlone, &object, kArg1, kArg2,
                                           extraFd, extraFdType);
    EXPECT_EQ(code, 0U);
    return event;
}

/// An event whose pipe could not be made.
inline std::unique_ptr<CCEvent> makeBroken() {
    const DescriptorLimit limit(kNoDescriptors);
    uint32_t code = 0;
    auto event = std::make_unique<CCEvent>(code);
    EXPECT_EQ(code, EVENT_ERROR_CREATE_FAILED);
    return event;
}

/// What its pipe holds.
inline int bytesIn(const CCEvent& event) {
    int bytes = -1;
    EXPECT_EQ(::ioctl(event.getReadFd(), FIONREAD, &bytes), 0);
    return bytes;
}

/// Fixture with the records of callbacks and the system calls' hooks.
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
