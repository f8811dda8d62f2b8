#include "Directory.h"
