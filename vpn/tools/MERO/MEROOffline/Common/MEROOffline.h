#pragma once

#include "Common/Utility/memory/WipedString.h"
#include "Common/Utility/threads/Thread.h"
#include "tools/MERO/MEROEngine/implementations/CMEROClientIfc.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

/// Runs one job of the engine in the wizard's own process, on a Thread.
class MEROOffline : public Runnable {
public:
    /// @param client  gets the engine's reports from now on; not owned, must outlive the run.
    /// The strings are copied. @param configDir  installation path of the configuration; empty for the
    /// default one.
    MEROOffline(CMEROClientIfc* client, const std::string& requestPath, const std::string& configDir,
                const std::string& bundlePath, std::string_view password, bool clearLogs);

    void run() override;
    /// For callers outside of this system: the engine's result once run has returned; 0 before.
    [[nodiscard]] virtual uint64_t getResult() const { return m_result; }

private:
    std::string m_requestPath;
    std::string m_configDir;
    std::string m_bundlePath;
    WipedString m_password;
    bool m_clearLogs;
    std::atomic<uint64_t> m_result{0};
};
