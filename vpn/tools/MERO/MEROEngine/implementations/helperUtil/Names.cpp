#include "Names.h"
