#include "ZipDeflater.h"
