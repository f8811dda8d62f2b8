#include "Paths.h"
