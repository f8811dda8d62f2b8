#include "Common/IPC/event.h"

#include "Common/IPC/EventList.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/process/OutputPipe.h"
#include "Common/Utility/ReturnCodes.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace {

/// What a signal puts into the pipe, the terminating zero included.
constexpr char kSignal[] = "x";

/// Takes all out of a pipe. @return errno of the read that found no more; 0 at the end of the file.
int emptyPipe(int readFd) {
    constexpr int kMaxRetries = 100;
    std::array<char, 16> chunk{};
    for (int retries = 0;;) {
        const ssize_t length = ::read(readFd, chunk.data(), chunk.size());
        if (length > 0) {
            continue;
        }
        const int error = length == 0 ? 0 : errno;
        if (error != EINTR || retries == kMaxRetries) {
            return error;
        }
        ++retries;
    }
}

} // namespace

CCEvent::CCEvent(uint32_t& returnCodeOut, CEventList* eventList, uint32_t eventType,
                 EventCallbackFunction function, uint64_t arg1, uint64_t arg2, int extraFd,
                 uint32_t extraFdType)
    : m_eventType(eventType), m_pCallbackFunction(function), m_callbackArg1(arg1), m_callbackArg2(arg2) {
    returnCodeOut =
        function == nullptr ? EVENT_ERROR_BAD_PARAMETER : construct(eventList, extraFd, extraFdType);
}

CCEvent::CCEvent(uint32_t& returnCodeOut, CEventList* eventList, uint32_t eventType, IEventCallback* object,
                 uint64_t arg1, uint64_t arg2, int extraFd, uint32_t extraFdType)
    : m_eventType(eventType), m_pCallbackObject(object), m_callbackArg1(arg1), m_callbackArg2(arg2) {
    returnCodeOut =
        object == nullptr ? EVENT_ERROR_BAD_PARAMETER : construct(eventList, extraFd, extraFdType);
}

CCEvent::CCEvent(uint32_t& returnCodeOut, int extraFd, uint32_t extraFdType) {
    returnCodeOut = construct(nullptr, extraFd, extraFdType);
}

CCEvent::~CCEvent() {
    if (m_pEventList == nullptr) {
        return;
    }
    const uint32_t code = m_pEventList->RemoveEvent(this);
    if (code != 0) {
        ZRN_LOG_CODE('E', "CEventList::RemoveEvent", code);
    }
}

uint32_t CCEvent::construct(CEventList* eventList, int extraFd, uint32_t extraFdType) {
    const uint32_t code = basicConstructor(eventList, extraFd, extraFdType);
    if (code != 0) {
        ZRN_LOG_CODE_FOR("CCEvent", 'E', "CCEvent::basicConstructor", code, nullptr);
    }
    return code;
}

uint32_t CCEvent::basicConstructor(CEventList* eventList, int extraFd, uint32_t extraFdType) {
    if (m_eventType > kEventTypeArmed || (eventList != nullptr && m_eventType == kEventTypeStandAlone)) {
        return EVENT_ERROR_BAD_PARAMETER;
    }
    m_extraFd = extraFd;
    m_extraFdType = extraFdType;
    if (!createPipe()) {
        ZRN_LOG_CODE('E', "createPipe", EVENT_ERROR_CREATE_FAILED);
        return EVENT_ERROR_CREATE_FAILED;
    }
    if (eventList == nullptr) {
        return 0;
    }
    const uint32_t code = eventList->AddEvent(this);
    if (code != 0) {
        ZRN_LOG_CODE('E', "CEventList::AddEvent", code);
    }
    return code;
}

bool CCEvent::createPipe() {
    FileDescriptor readEnd;
    FileDescriptor writeEnd;
    if (const int error = openPipe(readEnd, writeEnd); error != 0) {
        ZRN_LOG_CODE('E', "::pipe", error);
        return false;
    }
    const int flags = ::fcntl(readEnd.get(), F_GETFL);
    if (flags == -1) {
        ZRN_LOG_CODE('E', "::fcntl(F_GETFL)", errno);
        return false;
    }
    // Only this end: emptying the pipe must never hang, but whoever signals waits until there is room.
    if (::fcntl(readEnd.get(), F_SETFL, flags | O_NONBLOCK) == -1) {
        ZRN_LOG_CODE('E', "::fcntl(F_SETFL)", errno);
        return false;
    }
    m_readFd = std::move(readEnd);
    m_writeFd = std::move(writeEnd);
    return true;
}

ssize_t CCEvent::Signal() {
    return ::write(m_writeFd.get(), kSignal, sizeof kSignal);
}

uint32_t CCEvent::SetEvent(bool logFailure) {
    if (Signal() > 0) {
        return 0;
    }
    if (logFailure) {
        ZRN_LOG_CODE('E', "::write", errno);
    }
    return EVENT_ERROR_SET_FAILED;
}

uint32_t CCEvent::ResetEvent() {
    m_bArmed = false;
    const int error = emptyPipe(m_readFd.get());
    if (error == EAGAIN) {
        return 0;
    }
    ZRN_LOG_CODE('E', "::read", error);
    return EVENT_ERROR_RESET_FAILED;
}

uint32_t CCEvent::WaitEvent(uint32_t timeoutMs, void* /*reserved*/, bool runCallback) {
    if (!m_readFd) {
        return EVENT_ERROR_NOT_INITIALIZED;
    }
    EventDescriptors descriptors;
    if (!descriptors.add(getWaitedDescriptors())) {
        ZRN_LOG('E', "Descriptors '%d' and '%d' can't be waited on", m_readFd.get(), m_extraFd);
        return EVENT_ERROR_WAIT_FAILED;
    }
    const int ready = descriptors.wait(timeoutMs);
    if (ready == 0) {
        return EVENT_ERROR_WAIT_TIMEOUT;
    }
    if (ready < 0) {
        ZRN_LOG_CODE('E', "zmt_select", errno);
        return EVENT_ERROR_WAIT_FAILED;
    }
    if (!descriptors.contain(getWaitedDescriptors())) {
        return EVENT_ERROR_WAIT_FAILED;
    }
    // From here on the event may be gone.
    const uint32_t code = processSignaledEvent(runCallback);
    if (code != 0) {
        ZRN_LOG_CODE('E', "CCEvent::processSignaledEvent", code);
    }
    return code;
}

uint32_t CCEvent::processSignaledEvent(bool runCallback) {
    const uint32_t code = ResetEvent();
    if (code != 0) {
        ZRN_LOG_CODE('E', "CCEvent::ResetEvent", code);
        return code;
    }
    if (!runCallback) {
        return 0;
    }
    // The callback may destroy the event, so nothing of it is looked at afterwards.
    if (m_pCallbackObject != nullptr) {
        m_pCallbackObject->onEvent(m_callbackArg1, m_callbackArg2);
        return 0;
    }
    if (m_pCallbackFunction != nullptr) {
        m_pCallbackFunction(m_callbackArg1, static_cast<uint32_t>(m_callbackArg2));
        return 0;
    }
    return EVENT_ERROR_NO_CALLBACK;
}

uint32_t CCEvent::setExtraFd(int extraFd, uint32_t extraFdType) {
    if (extraFd < 1 || extraFdType > kExtraFdWritable) {
        return EVENT_ERROR_BAD_PARAMETER;
    }
    m_extraFd = extraFd;
    m_extraFdType = extraFdType;
    return 0;
}

WaitedDescriptors CCEvent::getWaitedDescriptors() const {
    const auto extraFdFor = [this](uint32_t type) {
        return m_extraFd > 0 && m_extraFdType == type ? m_extraFd : -1;
    };
    return {.pipe = m_readFd.get(),
            .readable = extraFdFor(kExtraFdReadable),
            .writable = extraFdFor(kExtraFdWritable)};
}

uint32_t CCEvent::setEventList(CEventList* list) {
    if (list != nullptr) {
        if (m_pEventList != nullptr) {
            return EVENT_ERROR_EVENT_IS_ALREADY_ON_A_LIST;
        }
        if (m_pCallbackObject == nullptr && m_pCallbackFunction == nullptr) {
            return EVENT_ERROR_NO_CALLBACK;
        }
        if (m_eventType != kEventTypeAlways && m_eventType != kEventTypeArmed) {
            return EVENT_ERROR_EVENT_TYPE_INVALID_FOR_LISTS;
        }
    }
    m_pEventList = list;
    return 0;
}
