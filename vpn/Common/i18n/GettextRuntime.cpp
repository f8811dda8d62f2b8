#include "Common/i18n/GettextRuntime.h"

#include "Common/i18n/LocaleVariants.h"
#include "Common/i18n/TextDomain.h"
#include "Common/Utility/text/BoundedString.h"
#include "Common/Utility/threads/Mutex.h"

#include <clocale>
#include <cstddef>
#include <cstring>
#include <forward_list>
#include <memory>
#include <new>

namespace {

constexpr const char* kFirstDomain = "messages";
constexpr const char* kFirstFolder = "/usr/share/locale";
/// By category number.
constexpr std::array kCategories = {"LC_CTYPE",   "LC_NUMERIC",  "LC_TIME",
                                    "LC_COLLATE", "LC_MONETARY", "LC_MESSAGES"};

/// What the last load looked for. No domain: nothing is remembered.
struct LastLoad {
    const TextDomain* domain = nullptr;
    int category = 0;
    NameBuffer locales{};
};

/// The domains and what goes with them. Libraries of other makers set domains up from threads of their own,
/// so there is a lock: each public function takes it.
class Runtime {
public:
    /// @return the translation or null.
    const char* translate(const char* domainName, const char* key, int category, const char* locale);
    char* select(const char* domainName);
    /// Throws std::bad_alloc.
    void bind(const char* domainName, const char* folder);
    void unload(const char* domainName);
    const char* charset();

private:
    TextDomain* findDomain(const char* name) ZRN_REQUIRES(m_lock);
    const char* listLocales(const char* locale) ZRN_REQUIRES(m_lock);
    bool load(TextDomain& domain, int category, bool hasFallBack) ZRN_REQUIRES(m_lock);

    Mutex m_lock;
    /// Newest first. A domain stays to the end of the process.
    std::forward_list<TextDomain> m_bound ZRN_GUARDED_BY(m_lock);
    TextDomain m_first ZRN_GUARDED_BY(m_lock){kFirstDomain, kFirstFolder};
    NameBuffer m_current ZRN_GUARDED_BY(m_lock){"messages"};
    LastLoad m_last ZRN_GUARDED_BY(m_lock);
    /// The locales that a load goes through.
    NameBuffer m_scratch ZRN_GUARDED_BY(m_lock){};
    LocaleVariantBuffer m_variants ZRN_GUARDED_BY(m_lock){};
};

/// Never destroyed, for texts are asked for to the very end of the process.
Runtime& runtime() {
    alignas(Runtime) static std::array<std::byte, sizeof(Runtime)> storage;
    static Runtime& instance = *std::construct_at(reinterpret_cast<Runtime*>(storage.data()));
    return instance;
}

TextDomain* Runtime::findDomain(const char* name) {
    for (TextDomain& domain : m_bound) {
        if (std::strcmp(domain.name(), name) == 0) {
            return &domain;
        }
    }
    return std::strcmp(m_first.name(), name) == 0 ? &m_first : nullptr;
}

/// @return null if the process has no locale.
const char* Runtime::listLocales(const char* locale) {
    if (locale != nullptr) {
        return locale;
    }
    const char* const name = std::setlocale(LC_ALL, nullptr);
    return name == nullptr ? nullptr : listLocaleVariants(name, m_variants);
}

/// Loads for m_scratch, which it may cut.
bool Runtime::load(TextDomain& domain, int category, bool hasFallBack) {
    const char* const categoryName = kCategories.at(static_cast<std::size_t>(category));
    if (domain.load(m_scratch.data(), categoryName)) {
        return true;
    }
    char* const dash = hasFallBack ? std::strchr(m_scratch.data(), '-') : nullptr;
    if (dash == nullptr) {
        return false;
    }
    *dash = '\0';
    return domain.load(m_scratch.data(), categoryName);
}

const char* Runtime::translate(const char* domainName, const char* key, int category, const char* locale) {
    const LockGuard guard(m_lock);
    const char* const locales = listLocales(locale);
    TextDomain* const domain = findDomain(domainName == nullptr ? m_current.data() : domainName);
    if (locales == nullptr || domain == nullptr ||
        boundedCopy(m_scratch.data(), kNameBytes, locales) >= kNameBytes) {
        return nullptr;
    }
    // With a catalogue loaded, what was looked for last time needs no look at the file system.
    if (!domain->isLoaded() || m_last.domain != domain || m_last.category != category ||
        std::strcmp(m_last.locales.data(), locales) != 0) {
        if (!load(*domain, category, locale != nullptr)) {
            return nullptr;
        }
        m_last.domain = domain;
        m_last.category = category;
        boundedCopy(m_last.locales.data(), kNameBytes, locales);
    }
    return domain->find(key);
}

char* Runtime::select(const char* domainName) {
    const LockGuard guard(m_lock);
    if (domainName != nullptr && domainName != m_current.data()) {
        boundedCopy(m_current.data(), kNameBytes, *domainName == '\0' ? kFirstDomain : domainName);
    }
    return m_current.data();
}

void Runtime::bind(const char* domainName, const char* folder) {
    const LockGuard guard(m_lock);
    if (TextDomain* const domain = findDomain(domainName)) {
        domain->setFolder(folder);
    } else {
        m_bound.emplace_front(domainName, folder);
    }
}

void Runtime::unload(const char* domainName) {
    const LockGuard guard(m_lock);
    if (TextDomain* const domain = findDomain(domainName)) {
        domain->unload();
    }
}

const char* Runtime::charset() {
    const LockGuard guard(m_lock);
    const TextDomain* const domain = findDomain(m_current.data());
    return domain == nullptr ? "" : domain->charset();
}

bool fits(const char* text) {
    return boundedLength(text, kNameBytes) < kNameBytes;
}

} // namespace

const char* getText(const char* domain, const char* keySingular, const char* keyPlural, uint64_t count,
                    int category, const char* locale) noexcept {
    const char* const key = count == 1 ? keySingular : keyPlural;
    // As an unsigned number, one below 0 is far above.
    if (key == nullptr || static_cast<std::size_t>(category) >= kCategories.size()) {
        return key;
    }
    const char* const translation = runtime().translate(domain, key, category, locale);
    return translation == nullptr ? key : translation;
}

const char* getText(const char* key) noexcept {
    return getDomainText(nullptr, key);
}

const char* getDomainText(const char* domain, const char* key) noexcept {
    return getLocaleText(domain, key, nullptr);
}

const char* getCategoryText(const char* domain, const char* key, int category) noexcept {
    return getText(domain, key, nullptr, 1, category, nullptr);
}

const char* getPluralText(const char* domain, const char* keySingular, const char* keyPlural,
                          uint64_t count) noexcept {
    return getText(domain, keySingular, keyPlural, count, kMessagesCategory, nullptr);
}

const char* getLocaleText(const char* domain, const char* key, const char* locale) noexcept {
    return getText(domain, key, nullptr, 1, kMessagesCategory, locale);
}

const char* getCatalogCharset() noexcept {
    return runtime().charset();
}

void unloadDomain(const char* domain) noexcept {
    if (domain != nullptr) {
        runtime().unload(domain);
    }
}

namespace gettextRuntime {

char* selectDomain(const char* domain) noexcept {
    return runtime().select(domain);
}

bool bindDomain(const char* domain, const char* folder) noexcept {
    if (domain == nullptr || *domain == '\0' || folder == nullptr || *folder != '/' || !fits(domain) ||
        !fits(folder)) {
        return false;
    }
    try {
        runtime().bind(domain, folder);
        return true;
    } catch (const std::bad_alloc&) { // told by the result
        return false;
    }
}

} // namespace gettextRuntime
