#pragma once

#include <cstdint>
#include <string>

/// For callers outside of this system: renders log lines for a file of their own. No logger here uses one,
/// nor one of the classes below.
class ILogFormatter {
public:
    virtual ~ILogFormatter() = default;
    [[nodiscard]] virtual std::string getHeader() = 0;
    /// One line. A null text ends the result after what stands before it.
    [[nodiscard]] virtual std::string format(uint32_t level, const char* text) = 0;
    [[nodiscard]] virtual std::string getFooter() = 0;
};

/// Time, thread and process id on one line, the text indented on the next.
class CBasicLogFormatter : public ILogFormatter {
public:
    [[nodiscard]] std::string getHeader() override;
    [[nodiscard]] std::string format(uint32_t level, const char* text) override;
    [[nodiscard]] std::string getFooter() override;
};

/// The bare text.
class CPlainFormatter : public ILogFormatter {
public:
    [[nodiscard]] std::string getHeader() override;
    [[nodiscard]] std::string format(uint32_t level, const char* text) override;
    [[nodiscard]] std::string getFooter() override;
};

/// A page of HTML. The level is an index of the eight level names, "Emergency" to "Debug"; one past the end
/// counts as "Debug".
class CSimpleHTMLLogFormatter : public ILogFormatter {
public:
    [[nodiscard]] std::string getHeader() override;
    [[nodiscard]] std::string format(uint32_t level, const char* text) override;
    [[nodiscard]] std::string getFooter() override;
};
