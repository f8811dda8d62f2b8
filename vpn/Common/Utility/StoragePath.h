#pragma once

#include "Common/Utility/memory/CountedInstance.h"

#include <cstdint>
#include <memory>
#include <string>

/// Fixed installation paths, as a reference-counted singleton. Its strings are written by the constructor
/// only, so any thread may read them; the reference operations take one process-wide lock.
class CStoragePath {
public:
    /// Gives out the instance, made if there is none, with one more reference.
    /// @param instance  null on failure.
    /// @return 0, or the constructor's code.
    [[nodiscard]] static uint32_t CreateSingletonInstance(CStoragePath*& instance);
    /// The instance with one more reference, or null if there is none.
    [[nodiscard]] static CStoragePath* acquireInstance();
    /// Drops a reference; the last one deletes the instance. A pointer that is not the instance
    /// is deleted at once.
    static void releaseInstance(CStoragePath* instance);
    [[nodiscard]] static uint32_t getReferenceCount(); ///< For callers outside of this system.

    /// "/opt/varnel/corvane/".
    [[nodiscard]] const std::string& getInstallPath() const;
    [[nodiscard]] std::string getBinPath() const; ///< For callers outside of this system.
    /// For callers outside of this system: the user's folder if `perUser` is set, else the VPN data folder.
    [[nodiscard]] std::string getModulePath(bool perUser, int module, const std::string& userName,
                                            bool systemWide) const;
    /// The user's home, and for modules 1 to 3, unless `systemWide` is set, the module's
    /// hidden folder below it.
    [[nodiscard]] std::string getUserModulePath(int module, const std::string& userName,
                                                bool systemWide) const;
    [[nodiscard]] std::string getVpnDataPath() const;
    /// Home of a user, or of the real user for an empty name, with a trailing "/"; "./" with
    /// a warning if unknown.
    [[nodiscard]] std::string GetUserProgramDataPath(const std::string& userName) const;
    /// For callers outside of this system.
    [[nodiscard]] std::string getFeedbackDataPath(const std::string& base) const;
    [[nodiscard]] std::string getProfilePath(int module) const; ///< For callers outside of this system.
    /// "/opt/varnel/corvane/resources/".
    [[nodiscard]] std::string getResourcesPath() const;
    /// For callers outside of this system: not supported on this platform; logs that, and is empty.
    [[nodiscard]] std::string GetUILogPath() const;
    /// For callers outside of this system: sets `path` to "/tmp/".
    /// @return 0, or CSTORAGEPATH_ERROR_TEMPPATH_TOO_BIG if it is longer than `maximum` bytes.
    [[nodiscard]] uint32_t getTempPath(std::string& path, uint64_t maximum) const;

private:
    explicit CStoragePath(uint32_t& returnCodeOut);
    ~CStoragePath() = default;

    /// Lets a std::unique_ptr delete the instance.
    struct Deleter {
        void operator()(CStoragePath* instance) const { delete instance; }
    };
    friend struct StoragePathTestAccess;

    [[nodiscard]] static CountedInstance<CStoragePath, Deleter>& instances();

    std::string m_installPath;
    std::string m_dataPath;
    /// Both stay empty on this platform.
    std::string m_userDataPath;
    std::string m_allUsersDataPath;
};
