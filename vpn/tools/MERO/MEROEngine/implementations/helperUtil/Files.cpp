#include "Files.h"
