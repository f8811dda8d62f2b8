#pragma once

#include <csignal>
#include <cstdint>
#include <ctime>
#include <string>

/// Free functions over the C library: time, files, signals.

/// For callers outside of this system: milliseconds, in 32 bits, so that they wrap; 0 without a clock.
[[nodiscard]] uint32_t getTimeMsecs();
/// For callers outside of this system: wall clock in whole seconds.
[[nodiscard]] time_t getTimeSecs();
/// Fills in the local time. @return 0 or GLOBAL_ERROR_BAD_PARAMETER for null.
[[nodiscard]] uint32_t getLocalTime(std::tm* tmOut);
/// The local time through strftime into `buffer` of `sizeBytes` bytes.
/// @return 0; GLOBAL_ERROR_BAD_PARAMETER for a null or zero argument; GLOBAL_ERROR_UNEXPECTED, logged and
/// with an empty
///         buffer, when nothing was written.
[[nodiscard]] uint32_t TimeNowToString(const char* format, char* buffer, uint32_t sizeBytes);
/// The local time as text. Kind 1: "_MMDD_HHMM", the stamp of bundle and request names. Kind 2: asctime's
/// form with its line feed. Kind 3: "%a %b %d %H:%M:%S %Y %Z". Any other: "%c".
[[nodiscard]] std::string getTimeString(int kind);
/// The same for a given local time.
[[nodiscard]] std::string getTimeString(int kind, const std::tm& localTime);
/// Sleeps. The product with 1000 is taken in 32 bits.
void sleepMsecs(uint32_t milliseconds);

/// Unlinks a file. @return 0 or an errno (not a return code); EINVAL for null.
[[nodiscard]] int removeFile(const char* name);
/// True for a regular file. A failure of stat other than ENOENT is logged.
[[nodiscard]] bool fileExists(const char* path);
/// True for a folder. A failure of stat other than ENOENT is logged.
[[nodiscard]] bool directoryExists(const char* path);
/// For callers outside of this system: true for a regular file that isn't empty and that its owner may read;
/// otherwise a warning says why. A missing file is silent.
[[nodiscard]] bool fileIsReadable(const char* path);
/// Whether stat works on the path; false for null.
[[nodiscard]] bool pathExists(const char* path);

using SignalHandler = void (*)(int);
/// Installs a signal handler with an empty mask and no flags.
/// @param previousOut  gets the former handler if not null.
/// @return true, or false with a log line.
[[nodiscard]] bool install_sighdlr(int signalNumber, SignalHandler handler, SignalHandler* previousOut);
