#include "tools/MERO/MEROEngine/implementations/parser/NodeStorage.h"

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <new>
#include <set>
#include <thread>
#include <vector>

namespace {

std::uintptr_t addressOf(const void* piece) {
    return reinterpret_cast<std::uintptr_t>(piece);
}

/// Where the block of a piece starts.
std::uintptr_t blockOf(const void* piece) {
    return addressOf(piece) / NodeStorage::kNodeBlockBytes;
}

void giveAllBack(const std::vector<void*>& pieces) {
    for (void* piece : pieces) {
        NodeStorage::giveBack(piece);
    }
}

TEST(NodeStorage, PiecesAreAlignedAndDoNotOverlap) {
    std::vector<void*> pieces;
    for (std::size_t size = 1; size <= NodeStorage::kLargestPieceBytes; ++size) {
        void* piece = NodeStorage::take(size);
        EXPECT_EQ(addressOf(piece) % alignof(std::max_align_t), 0u);
        std::memset(piece, static_cast<int>(size % 251), size);
        pieces.push_back(piece);
    }
    for (std::size_t size = 1; size <= pieces.size(); ++size) {
        const auto* bytes = static_cast<const unsigned char*>(pieces[size - 1]);
        const std::vector<unsigned char> wanted(size, static_cast<unsigned char>(size % 251));
        ASSERT_EQ(std::memcmp(bytes, wanted.data(), size), 0) << size;
    }
    giveAllBack(pieces);
}

TEST(NodeStorage, IgnoresANullPiece) {
    NodeStorage::giveBack(nullptr);
    void* piece = NodeStorage::take(16);
    EXPECT_NE(piece, nullptr);
    NodeStorage::giveBack(piece);
}

TEST(NodeStorage, RefusesAPieceThatIsTooLarge) {
    EXPECT_THROW(static_cast<void>(NodeStorage::take(NodeStorage::kLargestPieceBytes + 1)), std::bad_alloc);
}

TEST(NodeStorage, CarvesABlockAgainWhenAllItsPiecesAreBack) {
    std::set<std::uintptr_t> blocks;
    for (int round = 0; round < 1000; ++round) {
        void* piece = NodeStorage::take(NodeStorage::kLargestPieceBytes);
        blocks.insert(blockOf(piece));
        NodeStorage::giveBack(piece);
    }
    EXPECT_EQ(blocks.size(), 1u);
}

TEST(NodeStorage, KeepsABlockWhileOneOfItsPiecesIsInUse) {
    auto* kept = static_cast<char*>(NodeStorage::take(64));
    std::strcpy(kept, "kept");
    std::vector<void*> others;
    others.reserve(1000);
    for (int i = 0; i < 1000; ++i) {
        others.push_back(NodeStorage::take(256));
    }
    EXPECT_NE(blockOf(kept), blockOf(others.back()));
    giveAllBack(others);
    EXPECT_STREQ(kept, "kept");
    NodeStorage::giveBack(kept);
}

TEST(NodeStorage, APieceOutlivesItsThreadAndGoesBackFromAnother) {
    std::vector<void*> pieces;
    std::jthread([&] {
        for (int i = 0; i < 500; ++i) {
            pieces.push_back(NodeStorage::take(128));
            std::memset(pieces.back(), i % 128, 128);
        }
    }).join();
    for (int i = 0; i < 500; ++i) {
        ASSERT_EQ(static_cast<const char*>(pieces[static_cast<std::size_t>(i)])[127], i % 128);
    }
    giveAllBack(pieces);
}

TEST(NodeStorage, ThreadsTakeWhileOthersGiveBack) {
    constexpr std::size_t kThreads = 4;
    std::vector<std::vector<void*>> taken(kThreads);
    for (int round = 0; round < 20; ++round) {
        std::vector<std::vector<void*>> fresh(kThreads);
        std::vector<std::jthread> threads;
        threads.reserve(kThreads);
        for (std::size_t number = 0; number < kThreads; ++number) {
            // Each gives back what its neighbour took in the round before.
            threads.emplace_back([number, &mine = fresh[number], &old = taken[(number + 1) % kThreads]] {
                for (int i = 0; i < 200; ++i) {
                    mine.push_back(NodeStorage::take(144));
                    std::memset(mine.back(), static_cast<int>(number), 144);
                }
                giveAllBack(old);
                for (const void* piece : mine) {
                    EXPECT_EQ(static_cast<const unsigned char*>(piece)[143], number);
                }
            });
        }
        threads.clear();
        taken = std::move(fresh);
    }
    for (const std::vector<void*>& pieces : taken) {
        giveAllBack(pieces);
    }
}

} // namespace
