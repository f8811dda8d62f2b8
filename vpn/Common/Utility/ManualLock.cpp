#include "ManualLock.h"
