#pragma once

#include "Common/Utility/log/Log.h"

#include <exception>

/// Runs the body of a handler that GTK or GLib calls. Their frames can't be unwound, so what the body throws
/// (out of memory, in practice) ends here with a log line, and the handler counts as done.
/// @param function  the handler's name in the log.
template <typename Body> void runHandler(const char* function, const Body& body) noexcept {
    try {
        body();
    } catch (const std::exception& error) {
        ZRN_LOG_FOR(function, 'E', "The handler can't go on: %s", error.what());
    }
}
