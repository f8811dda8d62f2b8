#pragma once

#include <string>
#include <sys/types.h>

/// A message bus that stands for the system bus in one test: a bus daemon of its own, with its socket and its
/// files in the test's folder. It ends with the object. On the main thread.
class PrivateBus {
public:
    /// Starts the daemon and waits until it takes connections; fails the test if it does not.
    /// @param folder   private folder of the test, absolute.
    /// @param command  what the bus runs to start the helper, empty if it can't be started.
    explicit PrivateBus(const std::string& folder, const std::string& command = {});
    ~PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    [[nodiscard]] const std::string& address() const { return m_address; }
    /// Has the daemon answer nothing more.
    void pause() const;
    /// Ends the daemon at once, with all connections.
    void stop();

private:
    /// Ends this process's connection, which clients keep, before the bus goes: what comes next connects
    /// anew.
    void closeSharedConnection() const;

    std::string m_address;
    pid_t m_daemon = -1;
};
