#include "Common/Utility/log/SDJournalLogger.h"

#include "Common/Utility/log/LogLevel.h"
#include "Common/Utility/ReturnCodes.h"

// Exactly the three fields below go out, without the place in this file that the macro form would add.
#define SD_JOURNAL_SUPPRESS_LOCATION // NOLINT(cppcoreguidelines-macro-usage): the header's own switch
#include <systemd/sd-journal.h>

CSDJournalLogger::CSDJournalLogger(const char* identifier)
    : m_identifier(identifier == nullptr ? "" : identifier) {}

uint32_t CSDJournalLogger::write(uint32_t priority, const char* text, const char* /*messageName*/,
                                 uint32_t /*messageId*/, int32_t severity) {
    if (text == nullptr) {
        return GLOBAL_ERROR_BAD_PARAMETER;
    }
    std::string line;
    appendOnOneLine(line, text);
    // A journal that can't be reached is no reason for a caller to fail.
    static_cast<void>(sd_journal_send("MESSAGE=%s", line.c_str(), "PRIORITY=%i",
                                      levelOfLine(priority, severity), "SYSLOG_IDENTIFIER=%s",
                                      m_identifier.c_str(), nullptr));
    return 0;
}
