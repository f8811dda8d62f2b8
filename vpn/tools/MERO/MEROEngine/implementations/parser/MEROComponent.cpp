#include "MEROComponent.h"
