#include "MEROAttribute.h"
