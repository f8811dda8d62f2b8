#include "SystemIdentity.h"
