#pragma once

#include "tools/MERO/MEROEngine/implementations/CMEROClientIfc.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

/// One call of updateStatus.
struct Report {
    uint32_t percent;
    std::string message;
    uint64_t code;
    bool operator==(const Report&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Report& report);

/// A step that is under way.
[[nodiscard]] Report step(uint32_t percent, const std::string& message);

/// Keeps every report, and is the process's listener for as long as it lives.
class RecordingListener : public CMEROClientIfc {
public:
    RecordingListener();
    ~RecordingListener() override;
    RecordingListener(const RecordingListener&) = delete;
    RecordingListener& operator=(const RecordingListener&) = delete;

    void updateStatus(const MEROStatusInfo* info, uint64_t status) override;

    [[nodiscard]] std::vector<Report> reports() const;
    [[nodiscard]] std::vector<std::string> messages() const;
    /// Calls `action` on the reporting thread at each report with this message. Set before the run.
    void onMessage(const std::string& message, std::function<void()> action);

private:
    mutable std::mutex m_lock;
    std::vector<Report> m_reports;
    std::vector<std::pair<std::string, std::function<void()>>> m_actions;
};
