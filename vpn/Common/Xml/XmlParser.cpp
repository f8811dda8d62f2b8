#include "XmlParser.h"
