#include "MEROAction.h"
