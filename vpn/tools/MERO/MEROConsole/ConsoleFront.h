#pragma once

/// prepareJobProcess, and descriptors 0 to 2 are open, so that no file of the job takes their place, and
/// writing to a standard output that was closed fails. Called first in main.
void prepareProcess();

/// The console front: reads the command line, runs what it asks for and blocks until that has ended. What was
/// asked for goes to standard output, where that is a bundle the progress in the engine's console form, and
/// nothing else does; where the bundle is, and what went wrong, stands on standard error.
/// @return the exit status.
[[nodiscard]] int runConsole(int argc, const char* const* argv);
