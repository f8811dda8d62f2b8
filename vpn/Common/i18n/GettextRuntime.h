#pragma once

#include <cstdint>

/// Look-up of translated texts in the `.mo` catalogues of GNU gettext, beside that of the C library: with an
/// explicit locale, without plural rules, conversion of characters or a cache of results.
///
/// The exported textdomain, bindtextdomain and bind_textdomain_codeset of this library (see
/// GettextExports.cpp) set the domains up.
///
/// All functions may be called by any thread, but a translation is valid only as long as its catalogue is
/// loaded: whoever unloads one, or lets it be loaded again from another folder, must keep others from using
/// its texts. MsgCatalog does, by its lock. A call needs up to 32 KiB of stack. None fails: what can't be
/// translated comes back as it is, without a log line.

/// Number of the category of messages; the others, 0 to 4, are LC_CTYPE, LC_NUMERIC,
/// LC_TIME, LC_COLLATE and LC_MONETARY.
inline constexpr int kMessagesCategory = 5;

/// Looks a text up.
/// @param domain       null for the current one.
/// @param keySingular  the text if `count` is 1, else `keyPlural` is: there are no other plural forms.
/// @param category     0 to 5; with any other the text comes back.
/// @param locale       a language code such as "de-de", which falls back to "de"; null for the locale of the
///                     process and what listLocaleVariants makes of it. With 4096 characters and more the
///                     text comes back.
/// @return the translation, or the text itself, null if that is null.
[[nodiscard]] const char* getText(const char* domain, const char* keySingular, const char* keyPlural,
                                  uint64_t count, int category, const char* locale) noexcept;
/// The same in the current domain, the process's locale and the category of messages.
[[nodiscard]] const char* getText(const char* key) noexcept;
/// The same in a given domain.
[[nodiscard]] const char* getDomainText(const char* domain, const char* key) noexcept;
/// For callers outside of this system: the same in a given domain and category.
[[nodiscard]] const char* getCategoryText(const char* domain, const char* key, int category) noexcept;
/// For callers outside of this system: the same in a given domain, for a text with a number in it.
[[nodiscard]] const char* getPluralText(const char* domain, const char* keySingular, const char* keyPlural,
                                        uint64_t count) noexcept;
/// The same in a given domain and locale.
[[nodiscard]] const char* getLocaleText(const char* domain, const char* key, const char* locale) noexcept;

/// What the header of the current domain's catalogue says behind "charset="; "" if none is loaded or it says
/// nothing. Valid as long as the catalogue is loaded.
[[nodiscard]] const char* getCatalogCharset() noexcept;

/// Lets the catalogue of a domain go, with all texts that it gave. The next look-up loads it again.
void unloadDomain(const char* domain) noexcept;

/// What the exported functions of these jobs do; see there.
namespace gettextRuntime {

/// @return the name in force, in storage that stays, and changes with the next choice.
char* selectDomain(const char* domain) noexcept;
/// @return false if the binding was refused.
[[nodiscard]] bool bindDomain(const char* domain, const char* folder) noexcept;

} // namespace gettextRuntime
