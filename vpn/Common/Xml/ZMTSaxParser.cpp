#include "ZMTSaxParser.h"
