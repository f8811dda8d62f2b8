#include "Common/Zip/TraditionalCipher.h"

#include <cerrno>
#include <cstring>
#include <sys/random.h>
#include <zlib.h>

namespace {

uint32_t crcStep(uint32_t crc, uint32_t byte) {
    static const z_crc_t* const table = get_crc_table();
    return table[(crc ^ byte) & 0xFFU] ^ (crc >> 8U);
}

/// Fills `bytes` from the system's generator. @return 0 or an errno.
int fillRandom(std::span<unsigned char> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::getrandom(bytes.data(), bytes.size(), 0);
        if (count < 0) {
            const int error = errno;
            if (error != EINTR) {
                return error;
            }
            continue;
        }
        bytes = bytes.subspan(static_cast<size_t>(count));
    }
    return 0;
}

} // namespace

TraditionalCipher::TraditionalCipher(std::string_view password)
    : m_keys{0x12345678U, 0x23456789U, 0x34567890U} {
    for (const char c : password) {
        updateKeys(static_cast<unsigned char>(c));
    }
}

TraditionalCipher::~TraditionalCipher() {
    ::explicit_bzero(m_keys.data(), sizeof m_keys);
}

int TraditionalCipher::makeHeader(uint32_t crc, Header& headerOut) {
    if (const int error = fillRandom(std::span(headerOut).first<kHeaderSize - 1>()); error != 0) {
        return error;
    }
    headerOut.back() = static_cast<unsigned char>(crc >> 24U);
    encrypt(headerOut);
    return 0;
}

void TraditionalCipher::encrypt(std::span<unsigned char> bytes) {
    for (unsigned char& byte : bytes) {
        const uint32_t mixed = (m_keys[2] & 0xFFFFU) | 2U;
        const auto mask = static_cast<unsigned char>((mixed * (mixed ^ 1U)) >> 8U);
        updateKeys(byte);
        byte ^= mask;
    }
}

void TraditionalCipher::updateKeys(unsigned char plain) {
    m_keys[0] = crcStep(m_keys[0], plain);
    m_keys[1] = (m_keys[1] + (m_keys[0] & 0xFFU)) * 134775813U + 1U;
    m_keys[2] = crcStep(m_keys[2], m_keys[1] >> 24U);
}
