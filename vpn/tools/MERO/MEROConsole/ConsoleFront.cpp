#include "ConsoleFront.h"
