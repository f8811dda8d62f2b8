#include "Common/Zip/PackProgress.h"

#include "Common/Utility/process/StopRequest.h"

#include <utility>

BlockReader watched(BlockReader read, PackProgress* progress) {
    return [read = std::move(read), progress](uint64_t offset, std::span<unsigned char> block) {
        const auto part = isStopRequested() ? std::span<const unsigned char>() : read(offset, block);
        if (progress != nullptr) {
            progress->bytesDone += part.size();
        }
        return part;
    };
}
