#include "Common/Utility/log/LogFormatter.h"

#include "Common/Utility/sysutils.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>
#include <pthread.h>
#include <unistd.h>

namespace {

constexpr std::array kLevelNames = {"Emergency", "Alert",  "Critical", "Error",
                                    "Warning",   "Notice", "Info",     "Debug"};

std::string timeOrElse(const char* format, const char* fallback) {
    std::array<char, 64> buffer{};
    return TimeNowToString(format, buffer.data(), buffer.size()) == 0 ? buffer.data() : fallback;
}

/// A null text ends the line there and then, its closing part included.
std::string closeLine(std::string prefix, const char* text, const char* closing) {
    return text == nullptr ? prefix : prefix.append(text).append(closing);
}

} // namespace

std::string CBasicLogFormatter::getHeader() {
    return "---- Start log\n";
}

std::string CBasicLogFormatter::format(uint32_t /*level*/, const char* text) {
    std::array<char, 64> ids{};
    std::snprintf(ids.data(), ids.size(), "TID:0x%08" PRIx64 " PID:0x%x",
                  static_cast<uint64_t>(::pthread_self()), static_cast<unsigned>(::getpid()));
    return closeLine(timeOrElse("%H:%M:%S ", "00:00:00 ") + ids.data() + "\n\t", text, "\n");
}

std::string CBasicLogFormatter::getFooter() {
    return "---- End log\n";
}

std::string CPlainFormatter::getHeader() {
    return {};
}

std::string CPlainFormatter::format(uint32_t /*level*/, const char* text) {
    return closeLine({}, text, "\n");
}

std::string CPlainFormatter::getFooter() {
    return {};
}

std::string CSimpleHTMLLogFormatter::getHeader() {
    return "<html><head><title>Varnel Trellink Nolvane Log</title></head><body>\n";
}

std::string CSimpleHTMLLogFormatter::format(uint32_t level, const char* text) {
    const char* const name = kLevelNames[std::min<std::size_t>(level, kLevelNames.size() - 1)];
    return closeLine(timeOrElse("<b>%H:%M:%S</b>", "<b>00:00:00</b>") + "<i>" + name + "</i><br/>\n", text,
                     "<br/>\n");
}

std::string CSimpleHTMLLogFormatter::getFooter() {
    return "</body></html>\n";
}
