#include "MEROXmlMgr.h"
