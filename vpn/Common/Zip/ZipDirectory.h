#pragma once

#include <cstdint>

/// Reads an archive's directory from its start to its end, as an unpacker does.
/// @param file           open for reading.
/// @param countExpected  entries that the archive must have.
/// @return false, logged, if the archive can't be opened or its directory is not that one.
[[nodiscard]] bool isDirectoryWhole(int file, uint64_t countExpected);
