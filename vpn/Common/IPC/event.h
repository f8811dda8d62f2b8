#pragma once

#include "Common/IPC/EventDescriptors.h"
#include "Common/Utility/memory/Handles.h"

#include <cstdint>
#include <sys/types.h>

class CEventList;

/// Whatever can be signalled.
class ISignalable {
public:
    /// @return the number of bytes that were written, or -1 with errno set.
    virtual ssize_t Signal() = 0;
    virtual ~ISignalable() = default;
};

/// What is called when an event fires, on the thread that waits. It may destroy the event,
/// and must not throw.
class IEventCallback {
public:
    virtual void onEvent(uint64_t arg1, uint64_t arg2) = 0;
    virtual ~IEventCallback() = default;
};

/// The same as a function; it gets the low 32 bits of the second argument.
using EventCallbackFunction = void (*)(uint64_t arg1, uint32_t arg2);

/// Not on a list.
inline constexpr uint32_t kEventTypeStandAlone = 0;
/// On a list, always waited on.
inline constexpr uint32_t kEventTypeAlways = 1;
/// On a list, waited on while it is armed.
inline constexpr uint32_t kEventTypeArmed = 2;

/// What an event waits for on its further descriptor.
inline constexpr uint32_t kExtraFdReadable = 0;
inline constexpr uint32_t kExtraFdWritable = 1;

/// An event that can be waited for together with any other descriptor: an anonymous pipe. Several signals
/// before a wait fire once. SetEvent and Signal may be called from any thread; everything else belongs to the
/// one thread that waits. Signals that nobody takes fill the pipe, and then stall whoever signals.
class CCEvent : public ISignalable {
public:
    /// The result is 0, EVENT_ERROR_BAD_PARAMETER (a null callback, an unknown type, a list for a stand-alone
    /// event), EVENT_ERROR_CREATE_FAILED, or the code of the list that refused the event. An event that was
    /// refused by its list still serves alone. After the other failures it has no pipe, and every wait gives
    /// EVENT_ERROR_NOT_INITIALIZED. No other program that this process starts gets the pipe.
    /// @param function     must not throw; it may destroy the event. See IEventCallback.
    /// @param eventList    gets the event added; null for none. Not owned.
    /// @param extraFd      further descriptor to wait on; 0 or below for none. Not owned. What makes it ready
    /// is left in it, so that the event fires again until somebody takes that.
    /// @param extraFdType  not tested here; a wait for the event alone ignores extraFd for an unknown one.
    CCEvent(uint32_t& returnCodeOut, CEventList* eventList, uint32_t eventType,
            EventCallbackFunction function, uint64_t arg1, uint64_t arg2, int extraFd = -1,
            uint32_t extraFdType = kExtraFdReadable);
    /// @param object  not owned.
    CCEvent(uint32_t& returnCodeOut, CEventList* eventList, uint32_t eventType, IEventCallback* object,
            uint64_t arg1, uint64_t arg2, int extraFd = -1, uint32_t extraFdType = kExtraFdReadable);
    /// A stand-alone event without a callback.
    explicit CCEvent(uint32_t& returnCodeOut, int extraFd = -1, uint32_t extraFdType = kExtraFdReadable);
    /// Takes itself off its list.
    ~CCEvent() override;
    CCEvent(const CCEvent&) = delete;
    CCEvent& operator=(const CCEvent&) = delete;

    /// @return 0 or EVENT_ERROR_SET_FAILED, which is logged if that is wanted.
    [[nodiscard]] uint32_t SetEvent(bool logFailure);
    ssize_t Signal() override;
    /// Disarms the event and forgets its signals. @return 0 or EVENT_ERROR_RESET_FAILED.
    [[nodiscard]] uint32_t ResetEvent();
    /// Waits for this event alone, and takes its signals.
    /// @param reserved     not read.
    /// @param runCallback  whether the callback is called when the event fires.
    /// @return 0; EVENT_ERROR_NOT_INITIALIZED, EVENT_ERROR_WAIT_TIMEOUT,
    /// EVENT_ERROR_WAIT_FAILED (logged; also for a descriptor of FD_SETSIZE or more, which
    /// select can't take), or what processSignaledEvent gives.
    [[nodiscard]] uint32_t WaitEvent(uint32_t timeoutMs, void* reserved, bool runCallback);
    /// Takes the signals, disarms the event and calls the callback if that is wanted.
    /// @return 0, EVENT_ERROR_RESET_FAILED, or EVENT_ERROR_NO_CALLBACK.
    [[nodiscard]] uint32_t processSignaledEvent(bool runCallback);
    /// For callers outside of this system: sets the further descriptor.
    /// @return 0, or EVENT_ERROR_BAD_PARAMETER for a descriptor below 1 or an unknown type.
    [[nodiscard]] uint32_t setExtraFd(int extraFd, uint32_t extraFdType);
    [[nodiscard]] uint32_t getEventType() const { return m_eventType; }
    void arm() { m_bArmed = true; }
    [[nodiscard]] bool isArmed() const { return m_bArmed; }
    /// For the list: says whether the event may go on it, and notes it.
    /// @param list  null takes the note back.
    /// @return 0, EVENT_ERROR_EVENT_IS_ALREADY_ON_A_LIST,
    /// EVENT_ERROR_NO_CALLBACK or EVENT_ERROR_EVENT_TYPE_INVALID_FOR_LISTS.
    [[nodiscard]] uint32_t setEventList(CEventList* list);
    /// The pipe's end to wait on; -1 without a pipe.
    [[nodiscard]] int getReadFd() const { return m_readFd.get(); }
    /// What a wait for the event waits on: the pipe, and the further descriptor unless its type is unknown.
    [[nodiscard]] WaitedDescriptors getWaitedDescriptors() const;
    [[nodiscard]] int getExtraFd() const { return m_extraFd; }
    [[nodiscard]] uint32_t getExtraFdType() const { return m_extraFdType; }

private:
    friend struct EventTestAccess;

    /// basicConstructor, with a log line of its failure.
    [[nodiscard]] uint32_t construct(CEventList* eventList, int extraFd, uint32_t extraFdType);
    [[nodiscard]] uint32_t basicConstructor(CEventList* eventList, int extraFd, uint32_t extraFdType);
    [[nodiscard]] bool createPipe();

    /// The list that the event is on, or null. It tells the event when it goes.
    CEventList* m_pEventList = nullptr;
    uint32_t m_eventType = kEventTypeStandAlone;
    /// Wins over the function.
    IEventCallback* m_pCallbackObject = nullptr;
    EventCallbackFunction m_pCallbackFunction = nullptr;
    uint64_t m_callbackArg1 = 0;
    uint64_t m_callbackArg2 = 0;
    bool m_bArmed = false;
    FileDescriptor m_readFd;
    FileDescriptor m_writeFd;
    int m_extraFd = -1;
    uint32_t m_extraFdType = kExtraFdReadable;
};
