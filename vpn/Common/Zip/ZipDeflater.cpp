#include "Common/Zip/ZipDeflater.h"

#include <array>
#include <zlib.h>

namespace {

constexpr int kWindowBits = -15;
constexpr int kMemoryLevel = 8;

} // namespace

/// The stream keeps a pointer to itself, so it must never move.
struct ZipDeflater::Stream {
    Stream() = default;
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
    ~Stream() { static_cast<void>(deflateEnd(&z)); }

    z_stream z{};
    std::array<unsigned char, 16384> deflated;
};

ZipDeflater::ZipDeflater() : m_stream(std::make_unique<Stream>()) {}

ZipDeflater::~ZipDeflater() = default;

int ZipDeflater::start(std::span<const unsigned char> dictionary) {
    z_stream& z = m_stream->z;
    const int code = z.state ? deflateReset(&z)
                             : deflateInit2(&z, Z_BEST_COMPRESSION, Z_DEFLATED, kWindowBits, kMemoryLevel,
                                            Z_DEFAULT_STRATEGY);
    if (code != Z_OK || dictionary.empty()) {
        return code;
    }
    return deflateSetDictionary(&z, dictionary.data(), static_cast<uInt>(dictionary.size()));
}

int ZipDeflater::add(std::span<const unsigned char> content, const Output& output) {
    m_stream->z.next_in = content.data();
    m_stream->z.avail_in = static_cast<uInt>(content.size());
    return run(Z_NO_FLUSH, output);
}

int ZipDeflater::finish(const Output& output) {
    return end(Z_FINISH, output);
}

int ZipDeflater::flush(const Output& output) {
    return end(Z_SYNC_FLUSH, output);
}

bool ZipDeflater::isText() const {
    return m_stream->z.data_type == Z_TEXT;
}

int ZipDeflater::end(int flush, const Output& output) {
    m_stream->z.next_in = nullptr;
    m_stream->z.avail_in = 0;
    return run(flush, output);
}

int ZipDeflater::run(int flush, const Output& output) {
    z_stream& z = m_stream->z;
    std::array<unsigned char, 16384>& deflated = m_stream->deflated;
    do {
        z.next_out = deflated.data();
        z.avail_out = static_cast<uInt>(deflated.size());
        const int code = deflate(&z, flush);
        // Z_BUF_ERROR only says that there was nothing left to do.
        if (code != Z_OK && code != Z_STREAM_END && code != Z_BUF_ERROR) {
            return code;
        }
        const size_t count = deflated.size() - z.avail_out;
        if (const int stop = count == 0 ? 0 : output(std::span(deflated).first(count)); stop != 0) {
            return stop;
        }
    } while (z.avail_out == 0);
    return Z_OK;
}
