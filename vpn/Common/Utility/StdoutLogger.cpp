#include "StdoutLogger.h"
