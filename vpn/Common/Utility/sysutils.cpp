#include "sysutils.h"
