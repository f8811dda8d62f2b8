#include "tools/MERO/MEROOffline/Linux/WindowRelay.h"

void WindowRelay::updateStatus(const MEROStatusInfo* info, uint64_t status) {
    const LockGuard guard(m_lock);
    if (m_client != nullptr) {
        m_client->updateStatus(info, status);
    }
}

std::string WindowRelay::getComments() {
    const LockGuard guard(m_lock);
    return m_offline == nullptr ? std::string() : m_offline->getComments();
}

std::list<RootItem>& WindowRelay::getModuleTree() {
    const LockGuard guard(m_lock);
    if (m_offline != nullptr) {
        m_tree = m_offline->getModuleTree();
    }
    return m_tree;
}

void WindowRelay::addModule(const std::string& rootName, const ModuleItem& module) {
    const LockGuard guard(m_lock);
    if (m_offline != nullptr) {
        m_offline->addModule(rootName, module);
    }
}

void WindowRelay::post(GSourceFunc handler) {
    const LockGuard guard(m_lock);
    if (m_window != nullptr) {
        g_idle_add(handler, m_window);
    }
}

void WindowRelay::detach() {
    const LockGuard guard(m_lock);
    m_window = nullptr;
    m_client = nullptr;
    m_offline = nullptr;
}
