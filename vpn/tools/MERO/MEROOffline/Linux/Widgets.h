#pragma once

#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"
#include "tools/MERO/MEROOffline/Linux/UIDefinition.h"

#include <cstdint>
#include <gtk/gtk.h>
#include <optional>
#include <string>

/// The UI definition and the one way to its widgets. GTK main thread only.

/// Loads the UI definition of the process.
/// @param onBuilt  as with UIDefinition; kept until the definition is released.
/// @return null on success, else the error. The definition stays until it is released, in both cases.
[[nodiscard]] ErrorHandle loadUIDefinition(const std::string& path, UIDefinition::BuiltHandler onBuilt);
/// Lets go of the definition; every later look-up fails. Widgets in a window that still exists live on with
/// it.
void releaseUIDefinition();

/// Builds what stands on a page of the notebook, unless that is done.
void buildPage(uint32_t page);
/// Whether what stands on a page is not built yet.
[[nodiscard]] bool isPagePostponed(uint32_t page);
/// Whether there is an object of this id already. To ask builds nothing.
[[nodiscard]] bool isBuilt(const char* id);

/// The widget of this id, looked up at each call and owned by the UI definition, which builds the page for it
/// that it stands on.
/// @return null for a null id, for an id that the UI file lacks, for an object of another class, and, with a
/// log line, without a UI definition.
[[nodiscard]] GtkWidget* LookUpWidget(const char* id, GType type = GTK_TYPE_WIDGET);

/// Classes of the wizard's own style.
inline constexpr char kStyleSuccess[] = "mero-success";
inline constexpr char kStyleFailure[] = "mero-failure";

/// Adds the wizard's own style to the default screen's, on top of the theme's.
void addWizardStyle();

// Each of these does nothing when there is no widget of that id and class.

/// Shows a text as it stands in a GtkLabel. Bytes that are no UTF-8 show as replacement characters.
void setLabelText(const char* id, const std::string& text);
/// Has a GtkLabel break what is too long for a line, as paths are, without a hyphen that is not part of it.
void breakWithoutHyphens(const char* id);
/// Sets the text of a check or radio button, likewise.
void setButtonLabel(const char* id, const std::string& text);
void setSensitive(const char* id, bool sensitive);
void setVisible(const char* id, bool visible);
/// Moves the window's keyboard focus there.
void giveFocus(const char* id);
/// Shows an icon of the theme in a GtkImage.
/// @param styleClass  class of the wizard's style that colours it.
void setIcon(const char* id, const char* iconName, const char* styleClass);
/// Has a GtkSpinner turn or stand.
void setSpinning(const char* id, bool spinning);
/// Shows or hides what is typed into a GtkEntry.
void setEntryVisibility(const char* id, bool visible);

/// Has a handler called for a signal, as long as there is the widget.
void connectSignal(const char* id, const char* signal, GCallback handler, gpointer data);

/// Whether a GtkToggleButton, which options are too, is active. Nothing when there is no such widget.
[[nodiscard]] std::optional<bool> isActive(const char* id);
/// Whether its window has the keyboard's focus there. False when there is no such widget.
[[nodiscard]] bool hasFocus(const char* id);

/// The text as valid UTF-8, which is what GTK takes; file names on disk may hold any bytes.
[[nodiscard]] std::string displayText(const std::string& text);
