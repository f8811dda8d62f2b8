#include "tests/unit/common/i18n/CatalogueTest.h"

#include <clocale>
#include <cstdlib>
#include <libintl.h>

namespace {

std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (const char c : text) {
        if (c == '\n') {
            result += "\\n";
        } else {
            if (c == '"' || c == '\\') {
                result += '\\';
            }
            result += c;
        }
    }
    return result += "\"\n";
}

std::string sourceOf(const MoImage::Texts& texts, const std::string& charset) {
    std::string source = "msgid \"\"\nmsgstr ";
    source += quoted("Content-Type: text/plain; charset=" + charset + "\nContent-Transfer-Encoding: 8bit\n");
    for (const auto& [original, translation] : texts) {
        source += "\nmsgid " + quoted(original) + "msgstr " + quoted(translation);
    }
    return source;
}

} // namespace

CatalogueTest::CatalogueTest() {
    setEnvironment("LOCPATH", TEST_LOCALES);
    setLanguage("C");
    makeFolder("l10n");
    textdomain("");
}

CatalogueTest::~CatalogueTest() {
    static_cast<void>(std::setlocale(LC_ALL, "C"));
}

void CatalogueTest::setLanguage(const std::string& locale) {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LC_CTYPE", "LC_NUMERIC", "LC_TIME", "LANGUAGE"}) {
        setEnvironment(name, std::nullopt);
    }
    setEnvironment("LANG", locale);
}

void CatalogueTest::useLocale(const std::string& locale) {
    setLanguage(locale);
    const char* const taken = std::setlocale(LC_ALL, "");
    ASSERT_NE(taken, nullptr) << locale;
    ASSERT_EQ(taken, locale);
}

void CatalogueTest::compileCatalogue(const std::string& language, const std::string& domain,
                                     const MoImage::Texts& texts, const std::string& charset,
                                     const std::string& options) const {
    writeCatalogue(language, domain, "");
    const std::string source = writeFile("source.po", sourceOf(texts, charset));
    std::string command = MSGFMT " " + options;
    command.append(" -o '").append(path(nameOf(language, domain))).append("' '").append(source).append("'");
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
}

void CatalogueTest::writeCatalogue(const std::string& language, const std::string& domain,
                                   std::string_view bytes) const {
    writeFile(nameOf(language, domain), bytes);
}
