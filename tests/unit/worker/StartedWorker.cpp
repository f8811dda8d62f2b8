#include "tests/unit/worker/StartedWorker.h"

#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Worker/Worker.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr int kFailedInChild = 255;

void writeAll(int pipe, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t length = ::write(pipe, bytes.data(), bytes.size());
        ASSERT_GT(length, 0);
        bytes.remove_prefix(static_cast<std::size_t>(length));
    }
}

bool isOutcome(const ProgressRecord& record) {
    return record.status != MEROOFFLINE_ERROR_PROCESSING;
}

} // namespace

ProgressRecord JobResult::outcome() const {
    EXPECT_TRUE(wellFormed);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "worker's status " << status << "\n" << log;
    EXPECT_EQ(std::ranges::count_if(records, isOutcome), 1) << log;
    if (records.empty()) {
        return {};
    }
    EXPECT_TRUE(isOutcome(records.back()));
    return records.back();
}

StartedWorker::StartedWorker(const WorkOrder& order, const CapturedLog& log,
                             const std::function<void()>& prepare) {
    Pipe orders;
    EXPECT_TRUE(writeWorkOrder(orders.writer.get(), order));
    orders.writer.reset();
    start(orders.reader.get(), log, prepare);
}

StartedWorker::StartedWorker(std::string_view order, const CapturedLog& log,
                             const std::function<void()>& prepare) {
    Pipe orders;
    EXPECT_TRUE(orders.put(order));
    orders.writer.reset();
    start(orders.reader.get(), log, prepare);
}

StartedWorker::~StartedWorker() {
    if (m_pid > 0) {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
}

void StartedWorker::start(int orderPipe, const CapturedLog& log, const std::function<void()>& prepare) {
    std::fflush(nullptr);
    m_pid = ::fork();
    ASSERT_NE(m_pid, -1);
    if (m_pid == 0) {
        m_progress.reader.reset();
        if (prepare) {
            prepare();
        }
        const int exitStatus = runWorker(::dup(orderPipe), m_progress.writer.release());
        writeAll(m_log.writer.get(), log.dump());
        std::fflush(nullptr);
        ::_exit(::testing::Test::HasFailure() ? kFailedInChild : exitStatus);
    }
}

JobResult StartedWorker::finish() {
    JobResult result;
    ProgressReader reader;
    // The worker closes it at its end, and tells its log only then.
    reader.append(m_progress.drain());
    result.log = m_log.drain();
    EXPECT_EQ(::waitpid(m_pid, &result.status, 0), m_pid);
    m_pid = -1;
    while (std::optional<ProgressRecord> record = reader.next()) {
        result.records.push_back(std::move(*record));
    }
    result.wellFormed = !reader.isBroken();
    return result;
}
