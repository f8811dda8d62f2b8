#include "MEROMgr.h"
