#include "Common/Zip/DeflatedPiece.h"

#include <algorithm>
#include <array>
#include <limits>
#include <new>

namespace {

/// How far back deflate looks.
constexpr uint64_t kWindowBytes = 32768;

/// Puts what comes out into a piece.
ZipDeflater::Output into(DeflatedPiece& piece) {
    return [&piece](std::span<unsigned char> deflated) { return piece.data.append(deflated); };
}

/// Reads what stands before an offset, up to the window. @return the part of the block that it fills, or
/// nothing where it is not there any more, which makes the parts no worse than a bit larger.
std::span<const unsigned char> readWindow(const BlockReader& read, uint64_t offset,
                                          std::span<unsigned char> block) {
    const uint64_t start = offset - std::min(offset, kWindowBytes);
    uint64_t filled = 0;
    while (start + filled < offset) {
        const auto part = read(start + filled, block.subspan(filled, offset - start - filled));
        if (part.empty()) {
            return {};
        }
        filled += part.size();
    }
    return block.first(filled);
}

} // namespace

bool PieceDeflater::deflateWhole(const BlockReader& read, DeflatedPiece& pieceOut) {
    try {
        return m_deflater.start() == 0 && add(read, 0, std::numeric_limits<uint64_t>::max(), pieceOut) &&
               ended(m_deflater.finish(into(pieceOut)), pieceOut);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool PieceDeflater::deflatePart(const BlockReader& read, uint64_t offset, DeflatedPiece& pieceOut) {
    try {
        std::array<unsigned char, kWindowBytes> window;
        return m_deflater.start(readWindow(read, offset, window)) == 0 &&
               add(read, offset, kPartBytes, pieceOut) && ended(m_deflater.flush(into(pieceOut)), pieceOut);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

/// Adds what stands from an offset on, so many bytes at most.
bool PieceDeflater::add(const BlockReader& read, uint64_t offset, uint64_t limitBytes, DeflatedPiece& piece) {
    SourceFile::Block block;
    while (piece.sum.sizeBytes < limitBytes) {
        const auto wanted = std::min<uint64_t>(block.size(), limitBytes - piece.sum.sizeBytes);
        const auto part = read(offset + piece.sum.sizeBytes, std::span(block).first(wanted));
        if (part.empty()) {
            break;
        }
        piece.sum.add(part);
        if (m_deflater.add(part, into(piece)) != 0) {
            return false;
        }
    }
    return true;
}

bool PieceDeflater::ended(int result, DeflatedPiece& piece) {
    piece.isText = m_deflater.isText();
    return result == 0;
}
