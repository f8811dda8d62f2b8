#pragma once

/// Locks an open file or folder for its descriptor and the copies of it, without waiting. Other processes
/// take note of it by the same call only. Any thread. Nothing is logged.
/// @return 0; EWOULDBLOCK if somebody else has locked it; any other errno if the system has no lock to give,
/// which says nothing about others.
[[nodiscard]] int lockAlone(int descriptor) noexcept;
