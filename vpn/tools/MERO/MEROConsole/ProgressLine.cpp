#include "tools/MERO/MEROConsole/ProgressLine.h"

#include "Common/Utility/log/Log.h"
#include "tools/MERO/MEROConsole/Utf8Text.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/ioctl.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// Nobody misses a line for a job that is over before it could be read.
constexpr milliseconds kFirst(500);
constexpr milliseconds kStep(100);
/// A rate of less than this is a guess.
constexpr milliseconds kLeastForRate(1000);
constexpr std::size_t kUsualColumns = 80;
/// A step that is cut shorter says nothing.
constexpr std::size_t kLeastForStep = 12;
/// Ends the line for the terminal: what stood behind it before goes.
constexpr const char* kToItsEnd = "\x1b[K";

/// "1.2 MB", in units of 1,000.
std::string sizeText(uint64_t bytes) {
    constexpr std::array kUnits{"B", "kB", "MB", "GB", "TB"};
    auto value = static_cast<double>(bytes);
    std::size_t unit = 0;
    while (value >= 999.5 && unit + 1 < kUnits.size()) {
        value /= 1000;
        ++unit;
    }
    char text[32];
    std::snprintf(text, sizeof text, value < 9.95 && unit > 0 ? "%.1f %s" : "%.0f %s", value,
                  kUnits.at(unit));
    return text;
}

/// "4 s", "2:05" or "1:02:05".
std::string timeText(uint64_t seconds) {
    char text[32];
    if (seconds < 60) {
        std::snprintf(text, sizeof text, "%" PRIu64 " s", seconds);
    } else if (seconds < 3600) {
        std::snprintf(text, sizeof text, "%" PRIu64 ":%02" PRIu64, seconds / 60, seconds % 60);
    } else {
        std::snprintf(text, sizeof text, "%" PRIu64 ":%02" PRIu64 ":%02" PRIu64, seconds / 3600,
                      seconds / 60 % 60, seconds % 60);
    }
    return text;
}

std::string countText(uint64_t files) {
    return std::to_string(files) + (files == 1 ? " file" : " files");
}

/// What there is to tell, the most important first.
std::vector<std::string> factsOf(const WorkProgress& work, milliseconds packing) {
    const uint64_t files = work.packing.files;
    if (files == 0) {
        const uint64_t copied = work.filesCopied;
        return copied == 0 ? std::vector<std::string>()
                           : std::vector<std::string>{sizeText(work.bytesCopied), countText(copied)};
    }
    const uint64_t bytes = work.packing.bytes;
    const uint64_t done = std::min<uint64_t>(work.packing.bytesDone, bytes);
    std::vector<std::string> facts{sizeText(done) + " of " + sizeText(bytes),
                                   std::to_string(std::min<uint64_t>(work.packing.filesDone, files)) +
                                       " of " + countText(files)};
    if (packing >= kLeastForRate && done > 0) {
        const uint64_t rate = done * 1000 / static_cast<uint64_t>(packing.count());
        facts.push_back(sizeText(rate) + "/s");
        if (rate > 0) {
            facts.push_back(timeText((bytes - done + rate - 1) / rate) + " left");
        }
    }
    return facts;
}

/// The first characters of a text.
std::string cut(const std::string& text, std::size_t characters) {
    std::size_t end = 0;
    for (; end < text.size(); ++end) {
        const bool isStart = (static_cast<unsigned char>(text[end]) & 0xC0U) != 0x80U;
        if (isStart && characters-- == 0) {
            break;
        }
    }
    return text.substr(0, end);
}

std::size_t terminalColumns() {
    winsize size{};
    const bool isKnown = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return isKnown ? size.ws_col : kUsualColumns;
}

/// Whether standard error can be written over.
bool isTerminal() {
    const char* const kind = std::getenv("TERM");
    return ::isatty(STDERR_FILENO) == 1 && kind != nullptr && *kind != '\0' && std::strcmp(kind, "dumb") != 0;
}

} // namespace

std::string progressText(const std::string& step, const WorkProgress& work, milliseconds packing,
                         std::size_t columns) {
    const std::size_t room = columns > 0 ? columns - 1 : 0;
    std::string facts;
    for (const std::string& fact : factsOf(work, packing)) {
        std::string longer = facts;
        longer.append(facts.empty() ? "" : ", ").append(fact);
        if (longer.size() > room) {
            break;
        }
        facts = longer;
    }
    const std::string clean = onOneLine(step);
    if (facts.empty()) {
        return cut(clean, room);
    }
    const std::size_t left = room - facts.size();
    const bool hasRoom = left >= kLeastForStep && !clean.empty();
    return hasRoom ? cut(clean, left - 1) + " " + facts : facts;
}

ProgressLine::ProgressLine(bool isWanted) {
    if (!isWanted || !isTerminal()) {
        return;
    }
    try {
        m_thread = std::thread([this] { run(); });
    } catch (const std::system_error& error) {
        ZRN_LOG_CODE('W', "std::thread", error.code().value()); // the job is worth more than its line
    }
}

ProgressLine::~ProgressLine() {
    if (!m_thread.joinable()) {
        return;
    }
    {
        const LockGuard guard(m_lock);
        m_isOver = true;
    }
    m_isOverChanged.tellOne();
    m_thread.join();
    if (m_isPainted) {
        static_cast<void>(std::fprintf(stderr, "\r%s", kToItsEnd));
    }
}

void ProgressLine::run() {
    const auto isOver = [this](milliseconds limit) {
        const LockGuard guard(m_lock);
        return m_isOverChanged.waitFor(m_lock, limit, [this]() ZRN_REQUIRES(m_lock) { return m_isOver; });
    };
    milliseconds pause = kFirst;
    steady_clock::time_point packingSince;
    bool isPacking = false;
    while (!isOver(pause)) {
        if (!isPacking && workProgress().packing.files > 0) {
            isPacking = true;
            packingSince = steady_clock::now() - pause;
        }
        paint(isPacking ? std::chrono::duration_cast<milliseconds>(steady_clock::now() - packingSince)
                        : milliseconds(0));
        pause = kStep;
    }
}

void ProgressLine::paint(milliseconds packing) {
    const std::string text = progressText(consoleStep(), workProgress(), packing, terminalColumns());
    static_cast<void>(std::fprintf(stderr, "\r%s%s", text.c_str(), kToItsEnd));
    m_isPainted = true;
}
