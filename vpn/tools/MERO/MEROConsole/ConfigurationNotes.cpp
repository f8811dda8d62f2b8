#include "tools/MERO/MEROConsole/ConfigurationNotes.h"

#include "tools/MERO/MEROConsole/ConsoleMessages.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Paths.h"

void printFailedFiles(const std::list<std::string>& paths) {
    for (const std::string& path : paths) {
        // The folder itself stands for files that could not be listed.
        printError((path.ends_with('/') ? "the configuration folder '" : "the configuration file '") + path +
                   "' can't be read, so its items are missing; the log tells why: journalctl -t zrn_merocli");
    }
}

std::string nothingOffered(const std::string& installDirectory) {
    return "no configuration file in '" + helperUtil::getConfigDirectory(installDirectory) +
           "' offers an item; name the folder that holds xml/config/ with --install-dir";
}
