#include "tests/unit/offline/RecordingWindow.h"

#include <algorithm>

namespace {

std::string flags(uint32_t isDefault, uint32_t selected) {
    return std::to_string(isDefault).append("/").append(std::to_string(selected)).append("\n");
}

} // namespace

void RecordingClient::updateStatus(const MEROStatusInfo* info, uint64_t status) {
    const std::lock_guard guard(m_lock);
    m_statuses.push_back({info != nullptr, status, std::this_thread::get_id()});
}

std::vector<KeptStatus> RecordingClient::statuses() const {
    const std::lock_guard guard(m_lock);
    return m_statuses;
}

bool RecordingClient::gotOnly(uint64_t code, std::size_t times) const {
    const std::vector<KeptStatus> kept = statuses();
    return kept.size() == times && std::all_of(kept.begin(), kept.end(), [code](const KeptStatus& status) {
               return !status.hasInfo && status.code == code;
           });
}

std::string RecordingWindow::getComments() {
    return m_comments;
}

std::list<RootItem>& RecordingWindow::getModuleTree() {
    return m_roots;
}

void RecordingWindow::addModule(const std::string& rootName, const ModuleItem& module) {
    const std::lock_guard guard(m_treeLock);
    m_rootsByName.append(rootName, module);
}

std::string RecordingWindow::outline() const {
    const std::lock_guard guard(m_treeLock);
    std::string text;
    for (const RootItem& root : m_roots) {
        text.append(root.m_name).append(" ").append(flags(root.m_default, root.m_selected));
        for (const ModuleItem& module : root.m_modules) {
            text.append("  ").append(module.m_name).append(" ");
            text.append(flags(module.m_default, module.m_selected));
            for (const FileItem& file : module.m_files) {
                text.append("    ").append(file.m_id).append("|").append(file.m_label).append("|");
                text.append(file.m_description).append("|").append(file.m_platform).append(" ");
                text.append(flags(file.m_default, file.m_selected));
            }
        }
    }
    return text;
}

std::list<FileItem> RecordingWindow::files() const {
    const std::lock_guard guard(m_treeLock);
    std::list<FileItem> all;
    for (const RootItem& root : m_roots) {
        for (const ModuleItem& module : root.m_modules) {
            all.insert(all.end(), module.m_files.begin(), module.m_files.end());
        }
    }
    return all;
}
