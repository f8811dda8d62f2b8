#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Runs `body` in a child process that has the journal's socket, /run/systemd/journal/socket, to itself: in a
/// mount namespace of its own with an empty /run. Whatever the machine's journal is, it sees nothing of it.
/// @param body       sends no more than a few datagrams, since nobody reads before it ends.
/// @param reasonOut  why there is no such place here, when the kernel refuses one.
/// @return the datagrams that the socket got, in their order; nullopt if there was no place for it.
[[nodiscard]] std::optional<std::vector<std::string>> journalDatagrams(const std::function<void()>& body,
                                                                       std::string& reasonOut);
