#include "tools/MERO/MEROOffline/Linux/HelperStart.h"

#include <utility>

HelperStart::HelperStart(std::shared_ptr<WindowRelay> relay, Job job, std::function<void()> answered)
    : m_relay(std::move(relay)), m_job(std::move(job)), m_answered(std::move(answered)),
      m_cancellable(adoptRef(g_cancellable_new())) {}

void HelperStart::run() {
    m_client = std::make_unique<CDBusClient>(m_relay.get(), m_cancellable.get());
    m_isTaken = m_job.isForTheHelper && g_cancellable_is_cancelled(m_cancellable.get()) == FALSE &&
                m_client->RequestHelperStartMERO(m_job.requestPath.c_str(), "", m_job.bundlePath.c_str(),
                                                 m_job.password.c_str());
    m_isAnswered = true;
    m_answered();
}

void HelperStart::giveUp() {
    g_cancellable_cancel(m_cancellable.get());
}
