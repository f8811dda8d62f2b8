#include "Common/i18n/LocaleVariants.h"

#include "Common/Utility/text/BoundedString.h"

#include <cctype>
#include <cstring>
#include <initializer_list>

namespace {

constexpr uint32_t kBufferBytes = std::tuple_size_v<LocaleVariantBuffer>;

/// A locale's name taken apart; a part that it lacks is null.
struct LocaleName {
    char* language;
    char* territory;
    char* codeset;
    char* modifier;
};

/// Ends `text` at the last `mark` and gives what stands behind it, or null if there is no mark.
char* cutAtLast(char* text, char mark) {
    char* const place = std::strrchr(text, mark);
    if (place == nullptr) {
        return nullptr;
    }
    *place = '\0';
    return place + 1;
}

/// @param text  holds the name, and afterwards its parts.
LocaleName splitFromTheRight(char* text) {
    LocaleName name{text, nullptr, nullptr, nullptr};
    name.modifier = cutAtLast(text, '@');
    name.codeset = cutAtLast(text, '.');
    name.territory = cutAtLast(text, '_');
    return name;
}

/// Builds the list, and keeps the entry that was made last.
class VariantList {
public:
    explicit VariantList(LocaleVariantBuffer& list) : m_list(list) {
        m_list[0] = '\0';
        m_entry[0] = '\0';
    }

    void add(std::initializer_list<const char*> parts) {
        m_entry[0] = '\0';
        for (const char* part : parts) {
            boundedAppend(m_entry.data(), kBufferBytes, part);
        }
        addLastAgain();
    }
    void addLastAgain() {
        boundedAppend(m_list.data(), kBufferBytes, m_entry.data());
        boundedAppend(m_list.data(), kBufferBytes, ":");
    }
    void end(const char* language) { boundedAppend(m_list.data(), kBufferBytes, language); }

private:
    LocaleVariantBuffer& m_list;
    LocaleVariantBuffer m_entry;
};

void addWithModifier(const LocaleName& name, VariantList& list) {
    if (name.territory != nullptr && name.codeset != nullptr) {
        list.add({name.language, "_", name.territory, ".", name.codeset, "@", name.modifier});
    }
    if (name.territory != nullptr) {
        list.add({name.language, "_", name.territory, "@", name.modifier});
    }
    list.add({name.language, "@", name.modifier});
}

void addWithTerritory(const LocaleName& name, VariantList& list) {
    if (name.codeset != nullptr) {
        list.add({name.language, "_", name.territory, ".", name.codeset});
    }
    // Catalogues are installed under "de-de" or "de", never under "de_DE": that name is not tried. What
    // stands in its place costs a second look at most, and an empty entry is skipped.
    list.addLastAgain();
    for (char* letter = name.territory; *letter != '\0'; ++letter) {
        *letter = static_cast<char>(std::tolower(static_cast<unsigned char>(*letter)));
    }
    list.add({name.language, "-", name.territory});
}

} // namespace

const char* listLocaleVariants(const char* name, LocaleVariantBuffer& variants) {
    LocaleVariantBuffer text;
    if (boundedCopy(text.data(), kBufferBytes, name) >= kBufferBytes) {
        return name;
    }
    const LocaleName parts = splitFromTheRight(text.data());
    if (*parts.language == '\0' || (parts.codeset != nullptr && parts.territory == nullptr)) {
        return name;
    }
    VariantList list(variants);
    if (parts.modifier != nullptr) {
        addWithModifier(parts, list);
    }
    if (parts.territory != nullptr) {
        addWithTerritory(parts, list);
    }
    list.end(parts.language);
    return variants.data();
}
