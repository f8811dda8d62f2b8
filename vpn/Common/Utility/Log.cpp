#include "Log.h"
