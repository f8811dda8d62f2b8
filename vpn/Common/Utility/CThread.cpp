#include "CThread.h"
