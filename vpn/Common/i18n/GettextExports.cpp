// The three functions of this library that have names and signatures of the C library's own. A program that
// is linked with this library defines them, so that all code in the process calls these: the linker exports
// them to the shared libraries. They set our domains up and give our results.
//
// Toolkits such as GLib and GTK call them too, for domains of their own, whose texts they then look up with
// dgettext and its like, which stay the C library's. It must know of their folders and encodings, or it would
// look in its default folder and convert to the encoding of the locale, and a file chooser would speak
// English or break its umlauts. So every call is passed on to the C library's function of the same name,
// after ours has done its work.
//
// Calls for our own domains are passed on as well. GLib translates texts only in a program that has a
// translation itself: when it first needs one it takes textdomain(NULL), which is ours, and unless that is
// still "messages" it looks with gettext("") for the header of the program's catalogue, which is the C
// library's affair. That has to know the same domain and folder as we do, to find the same catalogue.
// It only finds one that has a folder in its own spelling, "de" or "pt_BR", not "pt-br". A program that has
// its toolkit initialised before it chooses a domain doesn't depend on that, since GLib asks once.

#include "Common/i18n/GettextRuntime.h"

#include <dlfcn.h>
#include <libintl.h>

namespace {

using OneName = char* (*)(const char*);
using TwoNames = char* (*)(const char*, const char*);

/// The definition that stands behind ours, or null.
template <typename Function> Function nextDefinition(const char* name) noexcept {
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

// The C library's header names the parameters with names that are reserved to it.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)

/// Chooses the domain of look-ups that name none: "messages" for an empty name. A null name only asks.
/// @return the name in force, cut at 4095 characters.
char* textdomain(const char* domain) noexcept {
    static const auto next = nextDefinition<OneName>("textdomain");
    char* const current = gettextRuntime::selectDomain(domain);
    if (next != nullptr) {
        next(domain);
    }
    return current;
}

/// Says below which folder the catalogues of a domain are.
/// @return `domain`, and not the folder; null, with the binding as it was, if either name is null, empty or
/// has 4096 characters or more, or if the folder does not begin with "/". With a null folder, which only
/// asks, it is the C library's answer.
char* bindtextdomain(const char* domain, const char* folder) noexcept {
    static const auto next = nextDefinition<TwoNames>("bindtextdomain");
    const bool isBound = gettextRuntime::bindDomain(domain, folder);
    char* const known = next == nullptr ? nullptr : next(domain, folder);
    if (folder == nullptr) {
        return known;
    }
    // NOLINTNEXTLINE(*-const-cast): the signature is the C library's
    return isBound ? const_cast<char*>(domain) : nullptr;
}

/// Does nothing for our look-ups, whose texts are never converted.
/// @return null always, so that a caller that needs another encoding gets UTF-8 all the same.
char* bind_textdomain_codeset(const char* domain, const char* codeset) noexcept {
    static const auto next = nextDefinition<TwoNames>("bind_textdomain_codeset");
    if (next != nullptr) {
        next(domain, codeset);
    }
    return nullptr;
}

// NOLINTEND(readability-inconsistent-declaration-parameter-name)

} // extern "C"
