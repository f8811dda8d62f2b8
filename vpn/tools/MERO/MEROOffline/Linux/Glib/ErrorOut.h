#pragma once

#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"

/// What a call that tells its error in a GError** takes instead: the handle has the error, or is empty, once
/// the statement or condition that the call stands in is over.
class ErrorOut {
public:
    /// @param handle  not owned.
    explicit ErrorOut(ErrorHandle& handle) : m_handle(handle) {}
    ~ErrorOut() { m_handle.reset(m_error); }
    ErrorOut(const ErrorOut&) = delete;
    ErrorOut& operator=(const ErrorOut&) = delete;
    operator GError**() { return &m_error; }

private:
    ErrorHandle& m_handle;
    GError* m_error = nullptr;
};
