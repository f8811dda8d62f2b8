#include "BoundedString.h"
