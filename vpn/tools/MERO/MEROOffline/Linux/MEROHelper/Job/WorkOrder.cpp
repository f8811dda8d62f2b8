#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/WorkOrder.h"

#include "Common/Utility/log/Log.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <type_traits>
#include <unistd.h>
#include <vector>

namespace {

/// Tells an order from anything else that gets into the pipe.
constexpr uint32_t kOrderMark = 0x4D4F5244;

/// Numbers stand in the byte order of the machine, which they don't leave, and lists behind their length.
template <typename T>
concept OrderNumber = std::is_integral_v<T> &&
    (sizeof(T) == sizeof(uint32_t) || sizeof(T) == sizeof(uint64_t));
static_assert(OrderNumber<uid_t> && OrderNumber<gid_t> && OrderNumber<pid_t>);

class OrderWriter {
public:
    template <OrderNumber T> bool number(T value) {
        m_bytes.append({reinterpret_cast<const char*>(&value), sizeof value});
        return true;
    }
    bool numbers(const std::vector<gid_t>& values) {
        number(static_cast<uint32_t>(values.size()));
        m_bytes.append({reinterpret_cast<const char*>(values.data()), values.size() * sizeof(gid_t)});
        return true;
    }
    bool text(std::string_view value) {
        number(static_cast<uint32_t>(value.size()));
        m_bytes.append(value);
        return true;
    }
    [[nodiscard]] std::string_view bytes() const { return m_bytes; }

private:
    WipedString m_bytes;
};

/// Each function gives false when the bytes don't hold what it is to read.
class OrderReader {
public:
    explicit OrderReader(std::string_view bytes) : m_rest(bytes) {}

    template <OrderNumber T> bool number(T& valueOut) {
        std::string_view bytes;
        if (!take(sizeof valueOut, bytes)) {
            return false;
        }
        std::memcpy(&valueOut, bytes.data(), sizeof valueOut);
        return true;
    }
    bool numbers(std::vector<gid_t>& valuesOut) {
        uint32_t count = 0;
        std::string_view bytes;
        if (!number(count) || !take(std::size_t{count} * sizeof(gid_t), bytes)) {
            return false;
        }
        valuesOut.resize(count);
        if (count > 0) {
            std::memcpy(valuesOut.data(), bytes.data(), bytes.size());
        }
        return true;
    }
    template <typename Text> bool text(Text& valueOut) {
        uint32_t size = 0;
        std::string_view bytes;
        // What comes behind a NUL byte, calls that take strings of C would not see.
        if (!number(size) || !take(size, bytes) || bytes.find('\0') != std::string_view::npos) {
            return false;
        }
        valueOut = bytes;
        return true;
    }
    [[nodiscard]] bool isAtEnd() const { return m_rest.empty(); }

private:
    bool take(std::size_t size, std::string_view& bytesOut) {
        if (size > m_rest.size()) {
            return false;
        }
        bytesOut = m_rest.substr(0, size);
        m_rest.remove_prefix(size);
        return true;
    }

    std::string_view m_rest;
};

/// The one place that knows the parts of an order and their sequence.
template <typename Codec, typename Mark, typename Order>
bool passParts(Codec& codec, Mark& mark, Order& order) {
    return codec.number(mark) && codec.number(order.caller.user) && codec.number(order.caller.group) &&
           codec.numbers(order.caller.groups) && codec.text(order.caller.name) &&
           codec.text(order.caller.home) && codec.text(order.requestPath) && codec.text(order.installPath) &&
           codec.text(order.bundlePath) && codec.text(order.jobFolder) && codec.text(order.archivePath) &&
           codec.text(order.password) && codec.number(order.space.mostBytes) &&
           codec.number(order.space.keptFreeBytes) && codec.number(order.space.keptFreePercent) &&
           codec.number(order.service);
}

bool isTooLarge(std::size_t size) {
    if (size <= kLargestWorkOrderBytes) {
        return false;
    }
    ZRN_LOG('E', "The order of a job is too large.");
    return true;
}

/// Without the room the writing would wait for a reader.
bool makeRoom(int pipe, std::size_t size) {
    const int room = ::fcntl(pipe, F_GETPIPE_SZ);
    const bool enough = room >= 0 && static_cast<std::size_t>(room) >= size;
    if (room >= 0 && (enough || ::fcntl(pipe, F_SETPIPE_SZ, static_cast<int>(size)) >= 0)) {
        return true;
    }
    ZRN_LOG_ERRNO('E', "fcntl");
    return false;
}

struct WipedBuffer {
    std::string bytes;

    explicit WipedBuffer(std::size_t size) : bytes(size, '\0') {}
    ~WipedBuffer() { wipe(bytes); }
    WipedBuffer(const WipedBuffer&) = delete;
    WipedBuffer& operator=(const WipedBuffer&) = delete;
};

/// Reads up to the end or until the buffer is full.
/// @return the bytes read; nothing, logged, after a failure.
std::optional<std::string_view> readToEnd(int pipe, std::string& buffer) {
    std::size_t size = 0;
    while (size < buffer.size()) {
        const ssize_t length = ::read(pipe, buffer.data() + size, buffer.size() - size);
        if (length == 0) {
            break;
        }
        if (length < 0 && errno != EINTR) {
            ZRN_LOG_ERRNO('E', "read");
            return std::nullopt;
        }
        size += length > 0 ? static_cast<std::size_t>(length) : 0;
    }
    return std::string_view(buffer).substr(0, size);
}

} // namespace

bool writeWorkOrder(int descriptor, const WorkOrder& order) {
    OrderWriter writer;
    const bool whole = passParts(writer, kOrderMark, order);
    const std::string_view bytes = writer.bytes();
    if (!whole || isTooLarge(bytes.size()) || !makeRoom(descriptor, bytes.size())) {
        return false;
    }
    ssize_t written = 0;
    do {
        written = ::write(descriptor, bytes.data(), bytes.size());
    } while (written < 0 && errno == EINTR);
    if (written != static_cast<ssize_t>(bytes.size())) {
        const int error = written < 0 ? errno : ENOSPC;
        ZRN_LOG_CODE('E', "write", error);
        return false;
    }
    return true;
}

std::optional<WorkOrder> readWorkOrder(int descriptor) {
    WipedBuffer buffer(kLargestWorkOrderBytes + 1);
    const std::optional<std::string_view> bytes = readToEnd(descriptor, buffer.bytes);
    if (!bytes || isTooLarge(bytes->size())) {
        return std::nullopt;
    }
    OrderReader reader(*bytes);
    WorkOrder order;
    uint32_t mark = 0;
    if (!passParts(reader, mark, order) || mark != kOrderMark || !reader.isAtEnd()) {
        ZRN_LOG('E', "What came as the order of a job is none.");
        return std::nullopt;
    }
    return order;
}
