#pragma once

/// Where the helper is found on the system bus: its name there, which is that of its interface too, and its
/// object.
inline constexpr const char* kHelperName = "com.varnel.corvane.mero.helper";
inline constexpr const char* kHelperPath = "/com/varnel/corvane/mero/helper";
