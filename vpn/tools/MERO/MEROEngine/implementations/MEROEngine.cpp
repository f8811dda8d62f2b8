#include "MEROEngine.h"
