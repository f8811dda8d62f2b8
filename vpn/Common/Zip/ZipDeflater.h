#pragma once

#include <array>
#include <functional>
#include <memory>
#include <span>

/// Deflates one stream of bytes as a zip entry has it: raw deflate at the highest level, without the header
/// and sum of zlib's own format. Independent objects may work on different threads.
class ZipDeflater {
public:
    /// Takes the next deflated bytes, at most 16384 at a time, which it may change in place. Anything but 0
    /// stops the call that is under way, which then returns that number.
    using Output = std::function<int(std::span<unsigned char>)>;

    ZipDeflater();
    ~ZipDeflater();
    ZipDeflater(const ZipDeflater&) = delete;
    ZipDeflater& operator=(const ZipDeflater&) = delete;

    /// Begins a stream; again for the next one. Needed before anything else.
    /// @param dictionary  content that stands before the stream's own, 32 KB of it at most; the stream can be
    /// inflated only behind it.
    /// @return 0 or a failure of zlib.
    [[nodiscard]] int start(std::span<const unsigned char> dictionary = {});
    /// Deflates the next bytes of the content. @return 0, a failure of zlib, or the output's number.
    [[nodiscard]] int add(std::span<const unsigned char> content, const Output& output);
    /// Ends the stream. @return as add.
    [[nodiscard]] int finish(const Output& output);
    /// Brings out what has come in so far, up to a whole byte, and leaves the stream open. Streams that end
    /// so can be put one behind the other, with kEnd behind the last. @return as add.
    [[nodiscard]] int flush(const Output& output);
    /// Whether zlib takes what it has deflated in this stream for text.
    [[nodiscard]] bool isText() const;

    /// A stream of nothing: the end of one that was left open.
    static constexpr std::array<unsigned char, 2> kEnd{3, 0};

private:
    struct Stream;
    [[nodiscard]] int end(int flush, const Output& output);
    [[nodiscard]] int run(int flush, const Output& output);

    std::unique_ptr<Stream> m_stream;
};
