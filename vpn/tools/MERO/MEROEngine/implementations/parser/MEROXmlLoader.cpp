#include "MEROXmlLoader.h"
