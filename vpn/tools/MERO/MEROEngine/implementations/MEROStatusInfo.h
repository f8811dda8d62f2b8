#pragma once

#include <cstdint>
#include <string>

/// What travels with each status: percentage and progress text.
struct MEROStatusInfo {
    uint32_t m_progress = 0;
    std::string m_message;
};
