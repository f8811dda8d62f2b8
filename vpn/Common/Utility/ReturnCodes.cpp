#include "ReturnCodes.h"
