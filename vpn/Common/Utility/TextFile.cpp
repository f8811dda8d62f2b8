#include "TextFile.h"
