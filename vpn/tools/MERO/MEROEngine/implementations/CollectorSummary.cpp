#include "collector.h"
