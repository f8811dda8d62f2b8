#include "tests/engine/pipeline/RecordingListener.h"

#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROEngine/implementations/Progress.h"

#include <ios>
#include <utility>

std::ostream& operator<<(std::ostream& stream, const Report& report) {
    return stream << '{' << report.percent << ", \"" << report.message << "\", 0x" << std::hex << report.code
                  << std::dec << '}';
}

Report step(uint32_t percent, const std::string& message) {
    return {percent, message, MEROOFFLINE_ERROR_PROCESSING};
}

RecordingListener::RecordingListener() {
    setProgressListener(this);
}

RecordingListener::~RecordingListener() {
    setProgressListener(nullptr);
}

void RecordingListener::updateStatus(const MEROStatusInfo* info, uint64_t status) {
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_reports.push_back({info->m_progress, info->m_message, status});
    }
    for (const auto& [message, action] : m_actions) {
        if (message == info->m_message) {
            action();
        }
    }
}

std::vector<Report> RecordingListener::reports() const {
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_reports;
}

std::vector<std::string> RecordingListener::messages() const {
    std::vector<std::string> texts;
    for (const Report& report : reports()) {
        texts.push_back(report.message);
    }
    return texts;
}

void RecordingListener::onMessage(const std::string& message, std::function<void()> action) {
    m_actions.emplace_back(message, std::move(action));
}
