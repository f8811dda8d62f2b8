#include "MEROXmlParser.h"
