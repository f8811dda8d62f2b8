#include "Common/Zip/ZipDeflater.h"
#include "tests/unit/zip/ArchiveTools.h"

#include <zlib.h>

namespace {

std::span<const unsigned char> asBytes(const std::string& text) {
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

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
