#pragma once

#include "Common/Utility/memory/WipedString.h"

#include <functional>
#include <optional>

/// The page that asks whether to encrypt the bundle, and with which password. GTK main thread only.
class EncryptionPage {
public:
    /// Brings the page into its first state, in which nothing is encrypted.
    /// @param next  what Return does in an entry; kept as long as this object, which its widgets must not
    /// outlive.
    void setUp(std::function<void()> next);
    /// The password as typed, empty if the bundle is not to be encrypted. Two empty passwords are equal: the
    /// bundle is then made without encryption, and nothing asks for a password.
    /// @return nothing if the passwords differ, which the page then tells.
    [[nodiscard]] static std::optional<WipedString> acceptedPassword();

private:
    std::function<void()> m_next;
};
