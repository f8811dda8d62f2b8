#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <sys/types.h>

/// Most processes that read for users, their requests and targets, which may be there at a time: for one
/// user, whose file system may hold on to them after their time, and in all. The second is for accounts that
/// act together: the system lets the helper have more processes than that.
inline constexpr std::size_t kMostReadersOfUser = 2;
inline constexpr std::size_t kMostReaders = 128;

/// Time that a reader may take in all.
inline constexpr std::chrono::milliseconds kReaderLimit{5000};

/// The right to have one reader, given back by the destructor. Any thread.
class ReaderPlace {
public:
    /// @return nothing if that user, or all users together, have as many as may be.
    [[nodiscard]] static std::optional<ReaderPlace> take(uid_t user);
    /// Takes over a place that release has given.
    explicit ReaderPlace(uid_t user) : m_user(user) {}
    ReaderPlace(ReaderPlace&& other) noexcept;
    ReaderPlace& operator=(ReaderPlace&&) = delete;
    ~ReaderPlace();

    /// The place stays taken.
    /// @return whose it is.
    uid_t release() noexcept;

private:
    /// Nothing once the place is somebody else's to give back.
    std::optional<uid_t> m_user;
};
