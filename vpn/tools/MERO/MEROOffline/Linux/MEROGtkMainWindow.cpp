#include "MEROGtkMainWindow.h"
