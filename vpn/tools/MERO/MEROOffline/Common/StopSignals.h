#pragma once

/// The signals that a terminal, a logout or an administrator ends a program by, as a wish to stop: a first
/// SIGINT, SIGTERM or SIGHUP requests it, and any second one ends the process at once, with nothing removed
/// but hidden files. One that this process was started to ignore, as by nohup, stays ignored. Called once,
/// before other threads are started.
void stopOnSignals() noexcept;

/// The signal that has come; 0 if none has. Any thread.
[[nodiscard]] int stopSignal() noexcept;

/// Ends the process as the signal would have done by itself, so that whoever waits for it
/// sees that. Any thread.
[[noreturn]] void dieBySignal(int signalNumber) noexcept;
