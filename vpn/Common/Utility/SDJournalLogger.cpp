#include "SDJournalLogger.h"
