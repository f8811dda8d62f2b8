#include "MessageTable.h"
