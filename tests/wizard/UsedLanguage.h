#pragma once

#include "Common/Utility/StoragePath.h"

#include <string>

/// Has the wizard speak a language that the build has a catalogue of, for as long as the object lives, and
/// English behind it. No window may outlive it.
class UsedLanguage {
public:
    explicit UsedLanguage(const std::string& code);
    ~UsedLanguage();
    UsedLanguage(const UsedLanguage&) = delete;
    UsedLanguage& operator=(const UsedLanguage&) = delete;

private:
    CStoragePath* m_paths = nullptr;
};
