#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// A catalogue of the `.mo` form put together by hand, so that tests can break it where they like.
struct MoImage {
    enum Word : std::size_t { Magic, Revision, StringCount, Originals, Translations };
    static constexpr uint32_t kMagic = 0x950412DE;
    static constexpr std::size_t kHeaderBytes = 28;
    static constexpr std::size_t kRowBytes = 8;

    using Texts = std::vector<std::pair<std::string, std::string>>;

    /// Header, both tables, then each original and its translation, each with a NUL byte. The texts stand in
    /// the order given.
    explicit MoImage(const Texts& texts);
    [[nodiscard]] static MoImage of(const Texts& texts) { return MoImage(texts); }

    void setWord(std::size_t place, uint32_t value) { bytes.replace(place, 4, wordOf(value)); }
    void setHeader(Word word, uint32_t value) { setWord(word * 4, value); }
    [[nodiscard]] uint32_t word(std::size_t place) const;
    /// Where the row of an original's length and place is; that of its translation is in the table behind.
    [[nodiscard]] static std::size_t originalRow(std::size_t number) {
        return kHeaderBytes + number * kRowBytes;
    }
    [[nodiscard]] std::size_t translationRow(std::size_t number) const { return originalRow(count + number); }

    std::size_t count;
    std::string bytes;

private:
    static std::string wordOf(uint32_t value);
    void putText(std::size_t row, const std::string& text);
};
