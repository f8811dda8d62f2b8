#pragma once

#include "tests/support/CapturedLog.h"
#include "tests/support/Sandbox.h"
#include "tests/wizard/RecordedJob.h"
#include "tools/MERO/MEROOffline/Linux/MEROGtkMainWindow.h"
#include "tools/MERO/MEROOffline/Linux/Widgets.h"

#include <functional>
#include <gtk/gtk.h>
#include <memory>
#include <string>

/// A wizard with the real UI file on a real display, driven through its widgets. GLib's warnings end the
/// test.
class Wizard : public Sandbox {
public:
    ~Wizard() override;

protected:
    static void SetUpTestSuite();

    Wizard();

    /// Makes the window, with the UI file of the build or with that of another folder.
    void open(const std::string& programFolder = {});
    /// Makes the window from the build's UI file in which no widget has this id any more.
    void openWithout(const std::string& id);
    /// Writes resources/MEROGUI.glade into the private folder.
    void writeUIFile(const std::string& content) const;
    /// The build's UI file.
    [[nodiscard]] std::string realUIFile() const;
    /// Runs everything that is pending on the main loop.
    static void settle();
    /// Runs the main loop until the condition holds; fails the test after ten seconds.
    static void waitUntil(const std::function<bool()>& condition);

    /// Runs gtk_main with an action in its first round; fails the test if the action does not end it.
    static void expectQuits(const std::function<void()>& action);

    /// Presses a button and, if that asks the helper for a job, waits for the answer.
    static void click(const char* button);
    /// Presses Next; on the file selection page, waits until the scan has ended.
    static void next();
    static void press(const char* id, guint key);
    /// Asks for a job and waits for the helper's answer.
    void startMERO(const std::string& requestPath);
    static void awaitHelper();
    static void setActive(const char* toggle, bool active);
    static void type(const char* entry, const std::string& text);
    static void setComment(const std::string& text);
    /// Presses Next as often as it takes to come to a page of the typical or the custom walk.
    void walkTo(WizardPage target, bool typical = true);

    [[nodiscard]] static int page();
    [[nodiscard]] static std::string label(const char* id);
    [[nodiscard]] static std::string tooltip(const char* id);
    [[nodiscard]] static bool sensitive(const char* id);
    [[nodiscard]] static bool visible(const char* id);
    [[nodiscard]] static bool masked(const char* entry);
    /// The open message dialog; null if there is none.
    [[nodiscard]] static GtkWidget* messageDialog();
    [[nodiscard]] static std::string dialogText();

    std::unique_ptr<CapturedLog> m_log = std::make_unique<CapturedLog>();
    std::unique_ptr<CMEROGtkMainWindow> m_window;

private:
    /// There is one test at a time.
    static inline const Wizard* s_current = nullptr;
};
