#include "Summary.h"
