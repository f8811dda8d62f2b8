#pragma once

#include <string>

/// Whether no element "name" of a request, wherever it stands, holds a "/" or a "..": root would write
/// wherever that leads. The engine's own parser reads the file, so that both see the same names. A file that
/// is no request at all has none; what is wrong with it the engine tells.
/// @param requestPath  private copy of the request.
[[nodiscard]] bool namesStayInBundle(const std::string& requestPath);
