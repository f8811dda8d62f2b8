#include "Common/i18n/TextDomain.h"

#include "Common/Utility/text/BoundedString.h"

#include <new>
#include <sys/stat.h>
#include <utility>

namespace {

constexpr std::size_t kLargestCatalogueBytes = 0x100000;

bool isRegularFile(const char* path) {
    struct stat status = {};
    return ::stat(path, &status) == 0 && S_ISREG(status.st_mode);
}

bool holdsSlash(std::string_view text) {
    return text.find('/') != std::string_view::npos;
}

/// Takes the first entry off a list. False if the list is empty.
bool takeEntry(std::string_view& list, std::string_view& entryOut) {
    if (list.empty()) {
        return false;
    }
    entryOut = list.substr(0, list.find(':'));
    list.remove_prefix(entryOut.size() == list.size() ? list.size() : entryOut.size() + 1);
    return true;
}

/// False if the path does not fit: cut short it would name another file.
bool makePath(NameBuffer& pathOut, const char* folder, std::string_view locale, std::string_view category,
              const char* domain) {
    const int length = formatBounded(pathOut.data(), kNameBytes, "%s/%.*s/%.*s/%s.mo", folder,
                                     static_cast<int>(locale.size()), locale.data(),
                                     static_cast<int>(category.size()), category.data(), domain);
    return static_cast<std::size_t>(length) < kNameBytes;
}

} // namespace

TextDomain::TextDomain(const char* name, const char* folder) {
    boundedCopy(m_name.data(), kNameBytes, name);
    setFolder(folder);
}

void TextDomain::setFolder(const char* folder) {
    boundedCopy(m_folder.data(), kNameBytes, folder);
    m_isCurrent = false;
}

void TextDomain::unload() noexcept {
    m_isCurrent = false;
    m_catalogue.reset();
}

const char* TextDomain::charset() const noexcept {
    return m_catalogue && m_catalogue->content.charset() ? m_catalogue->content.charset()->c_str() : "";
}

bool TextDomain::load(std::string_view locales, std::string_view category) noexcept {
    NameBuffer path;
    for (std::string_view locale; takeEntry(locales, locale);) {
        if (locale == "C" || locale == "POSIX") {
            return false;
        }
        if (!locale.empty() && !holdsSlash(locale) && !holdsSlash(category) && !holdsSlash(m_name.data()) &&
            makePath(path, m_folder.data(), locale, category, m_name.data()) && loadFrom(path.data())) {
            return true;
        }
    }
    return false;
}

bool TextDomain::loadFrom(const char* path) {
    if (!isRegularFile(path)) {
        return false;
    }
    if (!m_isCurrent) {
        unload();
        m_isCurrent = readFrom(path);
    }
    return m_isCurrent;
}

bool TextDomain::readFrom(const char* path) {
    try {
        std::optional<MappedFile> file = MappedFile::open(path, kLargestCatalogueBytes);
        std::optional<MoFile> content = file ? MoFile::read(file->bytes()) : std::nullopt;
        if (content) {
            m_catalogue = Catalogue{std::move(*file), std::move(*content)};
        }
    } catch (const std::bad_alloc&) { // as every failure here: the texts stay as they are in the source
        unload();
    }
    return m_catalogue.has_value();
}
