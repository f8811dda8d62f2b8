#pragma once

/// What this test program does when it is started as a worker: what its order's requestPath names. It writes
/// to files of the folder that the order names as the job's.

/// Writes "report": what the worker has found when it started. Tells one step and leaves with status 0.
inline constexpr const char* kReport = "report";
/// Leaves with status 7.
inline constexpr const char* kLeaveBadly = "leave badly";
/// Ignores the signals that ask for an end, and waits. The file "ready" has its process id.
inline constexpr const char* kStay = "stay";
/// As kStay, in a child of the worker, which does the same.
inline constexpr const char* kStayInTwo = "stay in two";
/// As kStay in a child only; the worker leaves with status 0.
inline constexpr const char* kLeaveAChild = "leave a child";

/// @return exit status.
[[nodiscard]] int actAsWorker(int argc, const char* const* argv);
