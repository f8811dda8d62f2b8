#include "ListCommand.h"

#include "ConfigurationNotes.h"
#include "ConsoleMessages.h"
#include "ItemListing.h"
#include "ItemSelection.h"

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
