#include "Common/Zip/ZipDeflater.h"
#include "tests/unit/zip/ArchiveTools.h"

#include <zlib.h>

namespace {

/// Deflates a content in parts, and checks the size of what comes out at a time.
std::string deflated(const std::string& content, size_t partSize) {
    ZipDeflater deflater;
    EXPECT_EQ(deflater.start(), Z_OK);
    std::string result;
    const auto keep = [&](std::span<unsigned char> part) {
        EXPECT_FALSE(part.empty());
        EXPECT_LE(part.size(), 16384U);
        result.append(part.begin(), part.end());
        return 0;
    };
    for (size_t at = 0; at < content.size(); at += partSize) {
        EXPECT_EQ(deflater.add(asBytes(content).subspan(at, std::min(partSize, content.size() - at)), keep),
                  0);
    }
    EXPECT_EQ(deflater.finish(keep), 0);
    return result;
}

std::string inflated(const std::string& data, size_t size) {
    std::string result(size + 1, '\0');
    z_stream stream{};
    EXPECT_EQ(inflateInit2(&stream, -15), Z_OK);
    std::string input = data;
    stream.next_in = reinterpret_cast<Bytef*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = reinterpret_cast<Bytef*>(result.data());
    stream.avail_out = static_cast<uInt>(result.size());
    EXPECT_EQ(inflate(&stream, Z_FINISH), Z_STREAM_END);
    EXPECT_EQ(stream.avail_in, 0U) << "bytes behind the end of the stream";
    result.resize(stream.total_out);
    inflateEnd(&stream);
    return result;
}

TEST(ZipDeflaterTest, WhatComesOutInflatesToWhatWentIn) {
    for (const std::string& content :
         {std::string(), std::string("x"), std::string(1000000, 'z'), noise(200000)}) {
        EXPECT_TRUE(inflated(deflated(content, 16384), content.size()) == content)
            << content.size() << " bytes";
    }
}

TEST(ZipDeflaterTest, ThePartsThatComeInLeaveNoTrace) {
    const std::string content = noise(3000) + std::string(50000, 'a') + noise(3000);
    EXPECT_TRUE(deflated(content, 1) == deflated(content, 16384));
}

TEST(ZipDeflaterTest, StreamsFollowEachOther) {
    ZipDeflater deflater;
    const std::string content = noise(3000) + std::string(50000, 'a');
    for (int i = 0; i < 3; ++i) {
        std::string result;
        const auto keep = [&](std::span<unsigned char> part) {
            result.append(part.begin(), part.end());
            return 0;
        };
        ASSERT_EQ(deflater.start(), Z_OK);
        ASSERT_EQ(deflater.add(asBytes(content), keep), 0);
        if (i == 1) {
            continue; // given up
        }
        ASSERT_EQ(deflater.finish(keep), 0);
        EXPECT_TRUE(result == deflated(content, 16384)) << i;
    }
}

TEST(ZipDeflaterTest, PiecesThatAreLeftOpenMakeOneStream) {
    const std::string content = std::string(40000, 'a') + noise(60000) + std::string(60000, 'b');
    constexpr size_t kPiece = 50000;
    constexpr size_t kWindow = 32768;
    std::string result;
    const auto keep = [&](std::span<unsigned char> part) {
        result.append(part.begin(), part.end());
        return 0;
    };
    ZipDeflater deflater;
    for (size_t at = 0; at < content.size(); at += kPiece) {
        const size_t window = std::min(at, kWindow);
        ASSERT_EQ(deflater.start(asBytes(content).subspan(at - window, window)), Z_OK);
        ASSERT_EQ(deflater.add(asBytes(content).subspan(at, std::min(kPiece, content.size() - at)), keep), 0);
        ASSERT_EQ(deflater.flush(keep), 0);
    }
    result.append(ZipDeflater::kEnd.begin(), ZipDeflater::kEnd.end());
    EXPECT_TRUE(inflated(result, content.size()) == content);
    EXPECT_LT(result.size(), deflated(content, 16384).size() + 100)
        << "what stands before a piece is made use of";
}

TEST(ZipDeflaterTest, TellsTextFromOtherBytes) {
    ZipDeflater deflater;
    const auto ignore = [](std::span<unsigned char>) { return 0; };
    for (const auto& [content, isText] :
         {std::pair{std::string("some text\n"), true}, std::pair{noise(2000), false}}) {
        ASSERT_EQ(deflater.start(), Z_OK);
        ASSERT_EQ(deflater.add(asBytes(content), ignore), 0);
        ASSERT_EQ(deflater.finish(ignore), 0);
        EXPECT_EQ(deflater.isText(), isText);
    }
}

TEST(ZipDeflaterTest, TheOutputStopsTheWork) {
    ZipDeflater deflater;
    ASSERT_EQ(deflater.start(), Z_OK);
    int calls = 0;
    const auto refuse = [&](std::span<unsigned char>) {
        ++calls;
        return -77;
    };
    EXPECT_EQ(deflater.add(asBytes(noise(1000000)), refuse), -77);
    EXPECT_EQ(calls, 1);
}

TEST(ZipDeflaterTest, AStreamThatWasNotStartedFails) {
    ZipDeflater deflater;
    const auto ignore = [](std::span<unsigned char>) { return 0; };
    EXPECT_EQ(deflater.add(asBytes("text"), ignore), Z_STREAM_ERROR);
    EXPECT_EQ(deflater.finish(ignore), Z_STREAM_ERROR);
}

} // namespace
