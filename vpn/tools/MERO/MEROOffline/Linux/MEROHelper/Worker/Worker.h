#pragma once

/// What a worker process does: reads its order, goes into its cage, runs the engine on it, tells its progress
/// and, as the last thing, the outcome. It never asks anybody and ends with the service. If it can't go into
/// its cage, nothing of the job is touched. Called once in a process, which has one thread.
/// @param order     readable descriptor, at whose end the order is whole; taken over.
/// @param progress  writable descriptor; taken over.
/// @return exit status: 0 if the outcome was told, whatever it was.
[[nodiscard]] int runWorker(int order, int progress);
