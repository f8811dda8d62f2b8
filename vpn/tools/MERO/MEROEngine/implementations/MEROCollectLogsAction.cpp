#include "MEROCollectLogsAction.h"
