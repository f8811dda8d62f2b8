#include "Common/IPC/PasswordEntry.h"

#include "Common/IPC/DatabaseLookUp.h"

PasswordEntry::PasswordEntry(const char* userName)
    : m_error(lookUp(m_texts, [&](char* texts, std::size_t size) {
          return ::getpwnam_r(userName, &m_entry, texts, size, &m_pFound);
      })) {}

PasswordEntry::PasswordEntry(uid_t user)
    : m_error(lookUp(m_texts, [&](char* texts, std::size_t size) {
          return ::getpwuid_r(user, &m_entry, texts, size, &m_pFound);
      })) {}
