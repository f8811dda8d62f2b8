#include "tests/unit/common/i18n/MoImage.h"

#include <cstring>

MoImage::MoImage(const Texts& texts) : count(texts.size()) {
    bytes.assign(originalRow(2 * count), '\0');
    setHeader(Magic, kMagic);
    setHeader(StringCount, static_cast<uint32_t>(count));
    setHeader(Originals, static_cast<uint32_t>(originalRow(0)));
    setHeader(Translations, static_cast<uint32_t>(translationRow(0)));
    for (std::size_t number = 0; number < count; ++number) {
        putText(originalRow(number), texts[number].first);
        putText(translationRow(number), texts[number].second);
    }
}

uint32_t MoImage::word(std::size_t place) const {
    uint32_t value = 0;
    std::memcpy(&value, bytes.data() + place, sizeof value);
    return value;
}

std::string MoImage::wordOf(uint32_t value) {
    std::string text(sizeof value, '\0');
    std::memcpy(text.data(), &value, sizeof value);
    return text;
}

void MoImage::putText(std::size_t row, const std::string& text) {
    setWord(row, static_cast<uint32_t>(text.size()));
    setWord(row + 4, static_cast<uint32_t>(bytes.size()));
    bytes.append(text).push_back('\0');
}
