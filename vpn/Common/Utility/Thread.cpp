#include "Thread.h"
