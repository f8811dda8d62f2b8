#include "MEROClearLogsAction.h"
