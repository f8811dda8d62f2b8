#include "tests/wizard/UsedLanguage.h"

#include "Common/i18n/MsgCatalog.h"

#include <gtest/gtest.h>
#include <gtk/gtk.h>

namespace {

void load(const std::string& code) {
    MsgCatalog::setLocalizationPath(WIZARD_PROGRAM_FOLDER);
    MsgCatalog::clearCatalogName();
    MsgCatalog::unloadCatalog();
    MsgCatalog::init("Trellink", "CorvaneDefault", code);
}

} // namespace

UsedLanguage::UsedLanguage(const std::string& code) {
    EXPECT_EQ(CStoragePath::CreateSingletonInstance(m_paths), 0U);
    load(code);
}

UsedLanguage::~UsedLanguage() {
    CStoragePath::releaseInstance(m_paths);
    gtk_widget_set_default_direction(GTK_TEXT_DIR_LTR);
    load("c");
}
