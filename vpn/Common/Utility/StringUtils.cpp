#include "StringUtils.h"
