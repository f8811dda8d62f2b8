#include "truncator.h"
