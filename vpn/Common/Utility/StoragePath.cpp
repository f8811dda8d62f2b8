#include "StoragePath.h"
