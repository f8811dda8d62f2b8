#include "MEROOffline.h"
