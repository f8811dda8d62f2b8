#include "WipedString.h"
