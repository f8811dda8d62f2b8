#pragma once

#include "tools/MERO/MEROEngine/implementations/parser/MEROComponent.h"

/// The first "os" child of an item's "mero" element that is meant for the system that the program runs on.
/// @return null if there is none. Stays the tree's.
[[nodiscard]] MEROComponent* findPlatformSection(const MEROComponent& instructions);
