#pragma once

#include "Common/Zip/SourceFile.h"
#include "Common/Zip/SpillBuffer.h"
#include "Common/Zip/ZipDeflater.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

/// A content that was deflated before its place in the archive is reached, or a part of one.
struct DeflatedPiece {
    /// @param spillFolder  as of SpillBuffer.
    explicit DeflatedPiece(std::string spillFolder = {}) : data(std::move(spillFolder)) {}

    /// Of what was read.
    ContentSum sum;
    SpillBuffer data;
    /// Whether it looks like text, which an archive notes of its entries.
    bool isText = false;
};

/// Deflates contents into pieces. Independent objects may work on different threads.
class PieceDeflater {
public:
    /// Contents above this size are deflated in parts, side by side.
    static constexpr uint64_t kLargestWhole = uint64_t{8} << 20U;
    static constexpr uint64_t kPartBytes = uint64_t{1} << 20U;

    /// Deflates a content to its end, as one stream: the same bytes that an archive makes of it.
    /// @return false if there is no memory or no room for what comes out; the piece is of no use then.
    [[nodiscard]] bool deflateWhole(const BlockReader& read, DeflatedPiece& pieceOut);
    /// Deflates the part of a content that begins at an offset, kPartBytes of it or what there is. Parts one
    /// behind the other make one stream once ZipDeflater::kEnd stands behind the last.
    /// @return as deflateWhole.
    [[nodiscard]] bool deflatePart(const BlockReader& read, uint64_t offset, DeflatedPiece& pieceOut);

private:
    [[nodiscard]] bool add(const BlockReader& read, uint64_t offset, uint64_t limitBytes,
                           DeflatedPiece& piece);
    [[nodiscard]] bool ended(int result, DeflatedPiece& piece);

    ZipDeflater m_deflater;
};
