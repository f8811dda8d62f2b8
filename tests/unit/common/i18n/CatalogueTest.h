#pragma once

#include "tests/support/Sandbox.h"
#include "tests/unit/common/i18n/MoImage.h"

#include <string>
#include <string_view>

/// Fixture with catalogues in a private folder, and locales that the build has made. At first the locale is
/// "C" and the current domain "messages".
class CatalogueTest : public Sandbox {
public:
    ~CatalogueTest() override;

protected:
    CatalogueTest();

    /// The environment names this locale and no other.
    void setLanguage(const std::string& locale);
    /// The same, and the process takes it.
    void useLocale(const std::string& locale);
    /// Compiles a catalogue with msgfmt: "<folder>/<language>/LC_MESSAGES/<domain>.mo". It has a header.
    void compileCatalogue(const std::string& language, const std::string& domain, const MoImage::Texts& texts,
                          const std::string& charset = "utf-8", const std::string& options = "") const;
    /// Writes a catalogue made by hand to the same place.
    void writeCatalogue(const std::string& language, const std::string& domain, std::string_view bytes) const;
    /// Where catalogues are.
    [[nodiscard]] std::string folder() const { return path("l10n"); }

private:
    [[nodiscard]] static std::string nameOf(const std::string& language, const std::string& domain) {
        return "l10n/" + language + "/LC_MESSAGES/" + domain + ".mo";
    }
};
