#include "Common/i18n/MoFile.h"

#include "tests/unit/common/i18n/MoImage.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <memory>

namespace {

const MoImage::Texts kTexts = {{"apple", "Apfel"}, {"bread", "Brot"}, {"cheese", "Käse"}, {"dill", "Dill"}};

/// Reads a catalogue out of a block of exactly its size, so that a sanitizer sees each byte too many.
class ReadCatalogue {
public:
    explicit ReadCatalogue(std::string_view bytes) : m_block(std::make_unique<char[]>(bytes.size())) {
        bytes.copy(m_block.get(), bytes.size());
        m_catalogue = MoFile::read({m_block.get(), bytes.size()});
    }
    explicit ReadCatalogue(const MoImage& image) : ReadCatalogue(image.bytes) {}

    [[nodiscard]] bool isGood() const { return m_catalogue.has_value(); }
    [[nodiscard]] std::string find(const char* key) const {
        const char* const text = m_catalogue->find(key);
        return text == nullptr ? "(none)" : text;
    }
    [[nodiscard]] const MoFile& operator*() const { return *m_catalogue; }

private:
    std::unique_ptr<char[]> m_block;
    std::optional<MoFile> m_catalogue;
};

TEST(MoFile, FindsEveryText) {
    for (std::size_t count = 0; count <= 9; ++count) {
        MoImage::Texts texts;
        for (std::size_t number = 0; number < count; ++number) {
            texts.emplace_back("key " + std::to_string(number), "text " + std::to_string(number));
        }
        const ReadCatalogue catalogue{MoImage(texts)};
        ASSERT_EQ(catalogue.isGood(), count > 0) << count;
        for (const auto& [original, translation] : texts) {
            EXPECT_EQ(catalogue.find(original.c_str()), translation) << count;
        }
    }
}

TEST(MoFile, FindsNothingForTextsBeforeBetweenAndBehindItsOwn) {
    const ReadCatalogue catalogue{MoImage(kTexts)};
    for (const char* key : {"", "aaa", "appl", "apples", "bun", "cheesf", "zebra"}) {
        EXPECT_EQ(catalogue.find(key), "(none)") << key;
    }
}

TEST(MoFile, TakesBytesAboveAsciiAsTheGreaterOnes) {
    const ReadCatalogue catalogue{MoImage::of({{"z", "1"}, {"\x80", "2"}, {"\xC3\xA4", "3"}})};
    EXPECT_EQ(catalogue.find("z"), "1");
    EXPECT_EQ(catalogue.find("\x80"), "2");
    EXPECT_EQ(catalogue.find("\xC3\xA4"), "3");
}

TEST(MoFile, ReadsTheCharsetUpToTheLineFeed) {
    const auto charsetOf = [](const std::string& header) {
        return *ReadCatalogue(MoImage::of({{"", header}, {"a", "b"}})).operator*().charset();
    };
    EXPECT_EQ(charsetOf("Content-Type: text/plain; charset=utf-8\nX: y\n"), "utf-8");
    EXPECT_EQ(charsetOf("charset=koi8-r"), "koi8-r");
    EXPECT_EQ(charsetOf("charset=\n"), "");
    EXPECT_EQ(charsetOf("charset= utf-8 \ncharset=other\n"), " utf-8 ");
}

TEST(MoFile, HasNoCharsetWithoutAHeaderThatSaysIt) {
    EXPECT_FALSE((*ReadCatalogue(MoImage(kTexts))).charset().has_value());
    EXPECT_FALSE((*ReadCatalogue(MoImage::of({{"", "Language: de\n"}}))).charset().has_value());
}

TEST(MoFile, GivesTheFirstOfSeveralTranslations) {
    using namespace std::string_literals;
    const ReadCatalogue catalogue{MoImage::of({{"file\0files"s, "Datei\0Dateien"s}, {"files", "Dateien"}})};
    EXPECT_EQ(catalogue.find("file"), "Datei");
    EXPECT_EQ(catalogue.find("files"), "Dateien");
}

TEST(MoFile, RefusesAFileThatEndsInItsHeader) {
    const std::string whole = MoImage(kTexts).bytes;
    for (std::size_t size = 0; size < 20; ++size) {
        EXPECT_FALSE(ReadCatalogue(whole.substr(0, size)).isGood()) << size;
    }
}

TEST(MoFile, RefusesAFileCutShortAnywhere) {
    const std::string whole = MoImage(kTexts).bytes;
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_FALSE(ReadCatalogue(whole.substr(0, size)).isGood()) << size;
    }
    EXPECT_TRUE(ReadCatalogue(whole).isGood());
}

TEST(MoFile, RefusesAnotherMagic) {
    for (const uint32_t magic : {0U, 0x950412DFU, 0xDE120494U, 0x12DE9504U}) {
        MoImage image(kTexts);
        image.setHeader(MoImage::Magic, magic);
        EXPECT_FALSE(ReadCatalogue(image).isGood()) << std::hex << magic;
    }
}

TEST(MoFile, RefusesEveryRevisionButNought) {
    for (const uint32_t revision : {1U, 0x10000U, 0x01000000U, 0xFFFFFFFFU}) {
        MoImage image(kTexts);
        image.setHeader(MoImage::Revision, revision);
        EXPECT_FALSE(ReadCatalogue(image).isGood()) << std::hex << revision;
    }
}

TEST(MoFile, RefusesMoreStringsThanTheFileHoldsRowsFor) {
    for (const uint32_t count : {1000U, 0x20000000U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        MoImage image(kTexts);
        image.setHeader(MoImage::StringCount, count);
        EXPECT_FALSE(ReadCatalogue(image).isGood()) << std::hex << count;
    }
}

TEST(MoFile, RefusesTablesOutOfBounds) {
    for (const MoImage::Word table : {MoImage::Originals, MoImage::Translations}) {
        MoImage image(kTexts);
        const auto size = static_cast<uint32_t>(image.bytes.size());
        const auto tableBytes = static_cast<uint32_t>(kTexts.size() * MoImage::kRowBytes);
        for (const uint32_t offset :
             {size, size - 1, size - tableBytes + 1, size + 1, 0x80000000U, 0xFFFFFFF8U, 0xFFFFFFFFU}) {
            image.setHeader(table, offset);
            EXPECT_FALSE(ReadCatalogue(image).isGood()) << table << " at " << offset;
        }
    }
}

TEST(MoFile, RefusesAnEmptyTableBehindTheEnd) {
    MoImage image = MoImage::of({});
    image.bytes.push_back('\0');
    EXPECT_TRUE(ReadCatalogue(image).isGood());
    image.setHeader(MoImage::Originals, static_cast<uint32_t>(image.bytes.size()));
    EXPECT_FALSE(ReadCatalogue(image).isGood());
}

TEST(MoFile, RefusesStringsOutOfBounds) {
    for (const bool isOriginal : {true, false}) {
        const MoImage good(kTexts);
        const std::size_t row = isOriginal ? MoImage::originalRow(2) : good.translationRow(2);
        const auto size = static_cast<uint32_t>(good.bytes.size());
        for (const uint32_t place : {size, size + 1, 0x80000000U, 0xFFFFFFFFU}) {
            MoImage image = good;
            image.setWord(row, 0);
            image.setWord(row + 4, place);
            EXPECT_FALSE(ReadCatalogue(image).isGood()) << isOriginal << " at " << place;
        }
        const uint32_t longest = size - 1 - good.word(row + 4);
        for (const uint32_t length : {longest + 1, size, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
            MoImage image = good;
            image.setWord(row, length);
            EXPECT_FALSE(ReadCatalogue(image).isGood()) << isOriginal << " of " << length;
        }
        MoImage image = good;
        image.setWord(row, longest);
        EXPECT_TRUE(ReadCatalogue(image).isGood()) << isOriginal;
    }
}

TEST(MoFile, RefusesPlaceAndLengthWhoseSumOverflows) {
    const MoImage good(kTexts);
    for (const std::size_t row : {MoImage::originalRow(0), good.translationRow(0)}) {
        const uint32_t place = good.word(row + 4);
        for (const uint32_t excess : {0U, 1U, 8U}) {
            MoImage image = good;
            image.setWord(row, 0xFFFFFFFFU - place + excess);
            EXPECT_FALSE(ReadCatalogue(image).isGood()) << excess;
        }
    }
}

TEST(MoFile, RefusesATextThatNoNulByteEnds) {
    MoImage image(kTexts);
    image.bytes.back() = '!';
    EXPECT_FALSE(ReadCatalogue(image).isGood());
    image.bytes.push_back('\0');
    EXPECT_TRUE(ReadCatalogue(image).isGood());
}

TEST(MoFile, ReadsTextsThatEndBehindTheirLength) {
    MoImage image(kTexts);
    image.setWord(image.translationRow(1), 2);
    EXPECT_EQ(ReadCatalogue(image).find("bread"), "Brot");
}

TEST(MoFile, ReadsOverlappingTextsAndTables) {
    MoImage image(kTexts);
    // All translations are one text, and a part of an original.
    for (std::size_t number = 0; number < kTexts.size(); ++number) {
        image.setWord(image.translationRow(number), 3);
        image.setWord(image.translationRow(number) + 4, image.word(MoImage::originalRow(1) + 4) + 2);
    }
    const ReadCatalogue catalogue{image};
    EXPECT_EQ(catalogue.find("apple"), "ead");
    EXPECT_EQ(catalogue.find("dill"), "ead");

    image.setHeader(MoImage::Translations, static_cast<uint32_t>(MoImage::originalRow(0)));
    EXPECT_EQ(ReadCatalogue(image).find("cheese"), "cheese");
}

TEST(MoFile, ReadsTablesAtAnyPlace) {
    MoImage image(kTexts);
    const std::string tables =
        image.bytes.substr(MoImage::originalRow(0), 2 * kTexts.size() * MoImage::kRowBytes);
    const auto place = static_cast<uint32_t>(image.bytes.size() + 1);
    image.bytes.append("?").append(tables);
    image.setHeader(MoImage::Originals, place);
    image.setHeader(MoImage::Translations, place + static_cast<uint32_t>(tables.size() / 2));
    EXPECT_EQ(ReadCatalogue(image).find("cheese"), "Käse");
}

TEST(MoFile, FindsInUnsortedOriginalsWhatItsSearchMeets) {
    const ReadCatalogue catalogue{MoImage::of({{"d", "4"}, {"b", "2"}, {"c", "3"}, {"a", "1"}, {"e", "5"}})};
    ASSERT_TRUE(catalogue.isGood());
    EXPECT_EQ(catalogue.find("c"), "3");
    EXPECT_EQ(catalogue.find("b"), "2");
    EXPECT_EQ(catalogue.find("e"), "5");
    EXPECT_EQ(catalogue.find("a"), "(none)");
    EXPECT_EQ(catalogue.find("d"), "(none)");
}

TEST(MoFile, FindsOneOfEqualOriginals) {
    const ReadCatalogue catalogue{MoImage::of({{"same", "1"}, {"same", "2"}, {"same", "3"}})};
    EXPECT_EQ(catalogue.find("same"), "2");
}

} // namespace
