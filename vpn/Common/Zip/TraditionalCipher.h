#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

/// The traditional encryption of zip entries: a stream cipher of three 32-bit keys, which every unpacker
/// knows and which keeps no secret from a determined reader. One object encrypts one entry, header first,
/// then the deflated data. The keys are wiped at the end of its life; the password isn't kept.
class TraditionalCipher {
public:
    static constexpr std::size_t kHeaderSize = 12;
    using Header = std::array<unsigned char, kHeaderSize>;

    explicit TraditionalCipher(std::string_view password);
    ~TraditionalCipher();
    TraditionalCipher(const TraditionalCipher&) = delete;
    TraditionalCipher& operator=(const TraditionalCipher&) = delete;

    /// Makes the encrypted header that stands before the data: eleven random bytes, and one by which
    /// unpackers tell a wrong password.
    /// @param crc  CRC-32 of the entry's content before deflating, as the entry itself will state it.
    /// @return 0, or the errno of getrandom; there is no header then.
    [[nodiscard]] int makeHeader(uint32_t crc, Header& headerOut);
    /// Encrypts the next bytes in place.
    void encrypt(std::span<unsigned char> bytes);

private:
    void updateKeys(unsigned char plain);

    std::array<uint32_t, 3> m_keys;
};
