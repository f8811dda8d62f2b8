#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/OwedAnswer.h"

#include "DBusIfc.h"

const char* OwedAnswer::getCaller() const {
    return m_invocation == nullptr ? nullptr : g_dbus_method_invocation_get_sender(m_invocation);
}

void OwedAnswer::give(bool taken) {
    if (m_invocation != nullptr) {
        mero_helper_complete_start_mero(nullptr, std::exchange(m_invocation, nullptr), taken ? TRUE : FALSE);
    }
}
