#pragma once

#include <cstddef>

/// Memory for the many small nodes of a tree, which are made one after the other and go together. Pieces are
/// carved from blocks; a block is freed with the last of its pieces, so that one piece keeps at most
/// kNodeBlockBytes alive. Each thread carves from a block of its own, without a lock; any thread may give a
/// piece back.
namespace NodeStorage {

inline constexpr std::size_t kNodeBlockBytes = std::size_t{16} * 1024;
/// The largest piece that can be taken.
inline constexpr std::size_t kLargestPieceBytes = 1024;

/// @param sizeBytes  1 to kLargestPieceBytes.
/// @return a piece aligned for every type; throws std::bad_alloc for a larger one and when
/// there is no memory.
[[nodiscard]] void* take(std::size_t sizeBytes);
/// @param piece  from take(); null is ignored.
void giveBack(void* piece) noexcept;

} // namespace NodeStorage
