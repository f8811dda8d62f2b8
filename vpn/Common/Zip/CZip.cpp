#include "CZip.h"
