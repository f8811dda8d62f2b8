#include "MEROXmlObject.h"
