#include "TraditionalCipher.h"
