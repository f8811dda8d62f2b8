// The library that owns the precompiled header needs one source.
