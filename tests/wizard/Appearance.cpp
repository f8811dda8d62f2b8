#include "tests/wizard/Appearance.h"

#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"

#include <gdk/gdkx.h>
#include <memory>
#include <ostream>

namespace {

using FontHandle = std::unique_ptr<PangoFontDescription, Releaser<&pango_font_description_free>>;

constexpr Look kDark{"Adwaita", true, false};
constexpr Look kHighContrast{"HighContrast", false, false};
constexpr Look kHighContrastInverse{"HighContrastInverse", false, false};

constexpr Appearance kAppearances[] = {
    {.name = "light"},
    {.name = "dark", .look = kDark},
    {.name = "high_contrast", .look = kHighContrast},
    {.name = "high_contrast_inverse", .look = kHighContrastInverse},
    {.name = "scale_2", .scale = 2},
    {.name = "large_fonts", .font = "Cantarell 14", .inPicturesOnly = true},
    {.name = "very_large_fonts", .font = "Cantarell 22"},
    {.name = "dejavu_sans", .font = "DejaVu Sans 11", .inPicturesOnly = true},
    {.name = "noto_sans", .font = "Noto Sans 11", .inPicturesOnly = true},
    {.name = "german", .language = "de"},
    {.name = "japanese", .font = "Noto Sans CJK JP 11", .language = "ja", .inPicturesOnly = true},
    {.name = "arabic", .font = "DejaVu Sans 11", .language = "ar"},
    {.name = "small_window", .isSmall = true},
};

} // namespace

void PrintTo(const Appearance& appearance, std::ostream* out) {
    *out << appearance.name;
}

std::span<const Appearance> appearances() {
    return kAppearances;
}

void putOn(const Appearance& appearance) {
    gdk_x11_display_set_window_scale(gdk_display_get_default(), appearance.scale);
    g_object_set(gtk_settings_get_default(), "gtk-font-name", appearance.font, "gtk-cursor-blink", FALSE,
                 nullptr);
}

void takeOff() {
    gdk_x11_display_set_window_scale(gdk_display_get_default(), 1);
    for (const char* name : {"gtk-font-name", "gtk-cursor-blink", "gtk-theme-name",
                             "gtk-application-prefer-dark-theme", "gtk-enable-animations"}) {
        gtk_settings_reset_property(gtk_settings_get_default(), name);
    }
}

std::string familyFor(const char* font) {
    const auto context = adoptRef(gdk_pango_context_get_for_screen(gdk_screen_get_default()));
    const FontHandle wanted(pango_font_description_from_string(font));
    const auto loaded = adoptRef(pango_context_load_font(context.get(), wanted.get()));
    const FontHandle found(pango_font_describe(loaded.get()));
    return pango_font_description_get_family(found.get());
}
