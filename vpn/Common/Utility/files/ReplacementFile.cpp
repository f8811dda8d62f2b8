#include "Common/Utility/files/ReplacementFile.h"

#include "Common/Utility/files/DescriptorPath.h"
#include "Common/Utility/files/RegularFile.h"

#include <array>
#include <cerrno>
#include <exception>
#include <fcntl.h>
#include <random>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

using Failure = ReplacementFile::Failure;
using Call = ReplacementFile::Call;

Failure failed(Call call) noexcept {
    return {.call = call, .error = errno};
}

/// That a folder can't be written out is no failure: the file is there, and some file systems refuse. The
/// folder itself was opened for its place only.
void synchronizeFolder(int folder) noexcept {
    const FileDescriptor readable(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (readable) {
        static_cast<void>(::fsync(readable.get()));
    }
}

std::string folderOf(const std::string& path) {
    const std::size_t nameStart = path.rfind('/') + 1; // 0 if there is none
    return nameStart == 0 ? "." : path.substr(0, nameStart);
}

} // namespace

int refusalOfTarget(int folder, const char* path) noexcept {
    struct stat status {};
    if (::fstatat(folder, path, &status, 0) != 0 || S_ISREG(status.st_mode)) {
        return 0;
    }
    return S_ISDIR(status.st_mode) ? EISDIR : ENXIO;
}

std::string drawHiddenName() {
    constexpr std::string_view kDigits = "0123456789abcdef";
    constexpr int kNumbers = 4;
    std::string name = ".part_";
    try {
        std::random_device source;
        for (int i = 0; i < kNumbers; ++i) {
            const std::random_device::result_type number = source();
            for (unsigned shift = 0; shift < 32; shift += 4) {
                name += kDigits[(number >> shift) & 0xFU];
            }
        }
    } catch (const std::exception&) {
        return {};
    }
    return name;
}

ReplacementFile::ReplacementFile(const std::string& path, std::string hiddenName)
    : m_folderPath(folderOf(path)), m_name(path.substr(path.rfind('/') + 1)),
      m_hiddenName(std::move(hiddenName)) {}

ReplacementFile::~ReplacementFile() {
    discard();
}

void ReplacementFile::discard() noexcept {
    if (std::exchange(m_isNamed, false)) {
        // The failure that led here is the one to tell.
        static_cast<void>(::unlinkat(m_folder.get(), m_hiddenName.c_str(), 0));
    }
    m_listed.drop();
    m_file.reset();
}

Failure ReplacementFile::create() noexcept {
    m_folder.reset(::open(m_folderPath.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!m_folder) {
        return failed(Call::OpenFolder);
    }
    if (createNameless()) {
        return {};
    }
    m_listed.list(m_folder.get(), m_hiddenName.c_str());
    m_file.reset(::openat(m_folder.get(), m_hiddenName.c_str(),
                          O_CREAT | O_EXCL | O_NOFOLLOW | O_RDWR | O_CLOEXEC, kPrivateFileMode));
    if (!m_file) {
        const Failure failure = failed(Call::CreateFile);
        m_listed.drop();
        return failure;
    }
    m_isNamed = true;
    return {};
}

/// A process that is not dumpable, and one without /proc, could not give the file its name in the end.
bool ReplacementFile::createNameless() noexcept {
    FileDescriptor file(::openat(m_folder.get(), ".", O_TMPFILE | O_RDWR | O_CLOEXEC, kPrivateFileMode));
    struct stat status {};
    if (!file || ::stat(DescriptorPath(file.get()).get(), &status) != 0) {
        return false;
    }
    m_file = std::move(file);
    return true;
}

Failure ReplacementFile::giveName() noexcept {
    if (m_isNamed) {
        return {};
    }
    // A link never takes the place of another file, so the file gets its hidden name first.
    m_listed.list(m_folder.get(), m_hiddenName.c_str());
    if (::linkat(AT_FDCWD, DescriptorPath(m_file.get()).get(), m_folder.get(), m_hiddenName.c_str(),
                 AT_SYMLINK_FOLLOW) != 0) {
        const Failure failure = failed(Call::Link);
        m_listed.drop();
        return failure;
    }
    m_isNamed = true;
    return {};
}

Failure ReplacementFile::place() noexcept {
    if (::fchmod(m_file.get(), kPrivateFileMode) != 0) {
        return failed(Call::SetMode);
    }
    // Some file systems tell of a full disk only when the bytes are written out.
    if (::fsync(m_file.get()) != 0) {
        return failed(Call::Synchronize);
    }
    if (const Failure failure = giveName(); failure.happened()) {
        return failure;
    }
    if (::renameat(m_folder.get(), m_hiddenName.c_str(), m_folder.get(), m_name.c_str()) != 0) {
        return failed(Call::Rename);
    }
    m_isNamed = false;
    m_listed.drop();
    synchronizeFolder(m_folder.get());
    return {};
}

const char* nameOf(ReplacementFile::Call call) {
    static constexpr std::array<const char*, 7> kNames{"",      "open",   "openat",  "fchmod",
                                                       "fsync", "linkat", "renameat"};
    return kNames.at(static_cast<std::size_t>(call));
}
