#pragma once

#include <pwd.h>
#include <vector>

/// A copy of a user's entry in the user database, so that look-ups of other threads leave it alone.
class PasswordEntry {
public:
    explicit PasswordEntry(const char* userName);
    explicit PasswordEntry(uid_t user);
    PasswordEntry(const PasswordEntry&) = delete;
    PasswordEntry& operator=(const PasswordEntry&) = delete;

    /// The entry, which lives as long as this object; null if there is none.
    [[nodiscard]] const passwd* get() const { return m_pFound; }
    /// The errno of a look-up that failed; 0 also if there is no such user.
    [[nodiscard]] int getError() const { return m_error; }

private:
    std::vector<char> m_texts;
    passwd m_entry{};
    passwd* m_pFound = nullptr;
    int m_error = 0;
};
