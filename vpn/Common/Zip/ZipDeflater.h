#pragma once

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

    /// Begins a stream. Needed once, before anything else. @return 0 or a failure of zlib.
    [[nodiscard]] int start();
    /// Deflates the next bytes of the content. @return 0, a failure of zlib, or the output's number.
    [[nodiscard]] int add(std::span<const unsigned char> content, const Output& output);
    /// Ends the stream. @return as add.
    [[nodiscard]] int finish(const Output& output);

private:
    struct Stream;
    [[nodiscard]] int run(int flush, const Output& output);

    std::unique_ptr<Stream> m_stream;
};
