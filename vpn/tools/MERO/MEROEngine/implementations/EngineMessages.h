#pragma once

/// Failure messages of the engine that those who run it give as well.

inline constexpr const char* kInvalidRequest = "Internal Error: invalid request XML, please contact your "
                                               "administrator, or run in default mode";
inline constexpr const char* kEncounteredError = "Internal Error: MERO has encountered an error...";
