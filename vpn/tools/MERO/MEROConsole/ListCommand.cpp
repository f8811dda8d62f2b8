#include "tools/MERO/MEROConsole/ListCommand.h"

#include "tools/MERO/MEROConsole/ConfigurationNotes.h"
#include "tools/MERO/MEROConsole/ConsoleMessages.h"
#include "tools/MERO/MEROConsole/ItemListing.h"
#include "tools/MERO/MEROConsole/ItemSelection.h"

int listItems(const ListOptions& options) {
    ItemSelection items;
    items.scan(options.installDirectory);
    printFailedFiles(items.failedFiles());
    if (items.roots().empty()) {
        printError(nothingOffered(options.installDirectory));
        return kExitFailed;
    }
    return printOutput(options.json ? jsonListing(items.roots()) : textListing(items.roots()));
}
