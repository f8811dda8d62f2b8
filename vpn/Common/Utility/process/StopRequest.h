#pragma once

/// The wish that the work of this process ends before it is done: made once, by a signal, a button
/// or a bound that was passed, and never taken back. Whatever takes long looks at it between two of
/// its steps. Any thread.

/// Makes the wish. May be called again, and in a signal handler.
void requestStop() noexcept;

[[nodiscard]] bool isStopRequested() noexcept;

/// A descriptor for those who wait in poll: readable from the wish on. Nobody reads from it or closes it.
/// @return -1 if none can be had, so that such a wait needs steps of its own.
[[nodiscard]] int stopDescriptor() noexcept;
