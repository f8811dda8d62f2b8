// A shared library with texts of its own, as a toolkit is.

#include "tests/unit/common/i18n/toolkit_stand_in.h"

#include <glib.h>
#include <libintl.h>

void setUpToolkit(const char* folder) {
    bindtextdomain(kToolkitDomain, folder);
    bind_textdomain_codeset(kToolkitDomain, "UTF-8");
}

const char* toolkitText(const char* key) {
    return dgettext(kToolkitDomain, key);
}

const char* toolkitTextThroughGlib(const char* key) {
    return g_dgettext(kToolkitDomain, key);
}
