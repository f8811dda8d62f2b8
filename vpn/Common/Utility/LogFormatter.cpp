#include "LogFormatter.h"
