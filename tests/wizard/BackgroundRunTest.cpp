#include "tools/MERO/MEROOffline/Linux/BackgroundRun.h"

#include "tests/support/NoNewThreads.h"
#include "tests/wizard/WizardFixture.h"
#include "tools/MERO/MEROEngine/implementations/Progress.h"

#include <future>
#include <thread>

namespace {

/// Runs until it is let go, and tells when it is destroyed.
class WaitingJob : public Runnable {
public:
    WaitingJob(std::shared_future<void> released, std::promise<void>& destroyed)
        : m_released(std::move(released)), m_destroyed(destroyed) {}
    ~WaitingJob() override { m_destroyed.set_value(); }
    WaitingJob(const WaitingJob&) = delete;
    WaitingJob& operator=(const WaitingJob&) = delete;
    void run() override { m_released.wait(); }

private:
    std::shared_future<void> m_released;
    std::promise<void>& m_destroyed;
};

TEST(BackgroundRun, KeepsItsJobUntilTheRunHasEnded) {
    std::promise<void> release;
    std::promise<void> destroyed;
    std::future<void> whenDestroyed = destroyed.get_future();
    EXPECT_FALSE(BackgroundRun::anyUnderWay());
    {
        auto thread = BackgroundRun::start(
            std::make_shared<WaitingJob>(release.get_future().share(), destroyed), nullptr);
        EXPECT_TRUE(BackgroundRun::anyUnderWay());
    }
    EXPECT_EQ(whenDestroyed.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    release.set_value();
    whenDestroyed.wait();
    while (BackgroundRun::anyUnderWay()) {
        std::this_thread::yield();
    }
}

TEST(BackgroundRun, KeepsItsContextAsLong) {
    std::promise<void> release;
    std::promise<void> destroyed;
    auto context = std::make_shared<int>(7);
    const std::weak_ptr<int> watch = context;
    auto thread = BackgroundRun::start(std::make_shared<WaitingJob>(release.get_future().share(), destroyed),
                                       std::move(context));
    EXPECT_FALSE(watch.expired());
    release.set_value();
    thread->join();
    EXPECT_TRUE(watch.expired());
    EXPECT_FALSE(BackgroundRun::anyUnderWay());
}

/// Notes the thread that it ran on.
class NotingJob : public Runnable {
public:
    void run() override { ranOn = Thread::getCurrentThreadId(); }
    pthread_t ranOn = 0;
};

TEST(BackgroundRun, IsNoneWithoutAThread) {
    const auto job = std::make_shared<NotingJob>();
    {
        const NoNewThreads limit;
        EXPECT_EQ(BackgroundRun::start(job, nullptr), nullptr);
    }
    EXPECT_EQ(job->ranOn, pthread_t{0});
    EXPECT_FALSE(BackgroundRun::anyUnderWay());
    EXPECT_EQ(job.use_count(), 1);
}

TEST(BackgroundRun, TakesTheCallersThreadWhereItMay) {
    const auto job = std::make_shared<NotingJob>();
    {
        const NoNewThreads limit;
        EXPECT_EQ(BackgroundRun::startOrRun(job, nullptr), nullptr);
    }
    EXPECT_EQ(job->ranOn, ::pthread_self());
    EXPECT_FALSE(BackgroundRun::anyUnderWay());
    const auto thread = BackgroundRun::startOrRun(job, nullptr);
    ASSERT_NE(thread, nullptr);
    thread->join();
    EXPECT_NE(job->ranOn, ::pthread_self());
}

using RunningJob = Wizard;

TEST_F(RunningJob, ThatGetsNoThreadShowsItsFailure) {
    open();
    // What GLib needs for the bus is made by then.
    startMERO("first.xml");
    settle();
    EXPECT_NE(page(), static_cast<int>(WizardPage::Result));
    {
        const NoNewThreads limit;
        startMERO("second.xml");
    }
    settle();
    EXPECT_EQ(page(), static_cast<int>(WizardPage::Result));
    EXPECT_EQ(label("labelResultMsg"),
              "An internal error occurred while creating the MERO bundle.  Please try again later.");
    EXPECT_FALSE(BackgroundRun::anyUnderWay());
}

TEST_F(RunningJob, OutlivesTheWindowAndReportsIntoTheVoid) {
    HeldJobs held;
    walkTo(WizardPage::Progress);
    held.waitForOne();
    m_window.reset();
    EXPECT_TRUE(BackgroundRun::anyUnderWay());
    EXPECT_EQ(getProgressListener(), nullptr);
    held.release();
    settle();
    EXPECT_EQ(LookUpWidget("windowMain"), nullptr);
}

TEST_F(RunningJob, ReportsToTheWindowThatStartedIt) {
    HeldJobs held;
    walkTo(WizardPage::Progress);
    held.waitForOne();
    held.release();
    waitUntil([] { return label("labelFileCollected").rfind("late ", 0) == 0; });
    EXPECT_EQ(gtk_progress_bar_get_fraction(GTK_PROGRESS_BAR(LookUpWidget("progressBar"))), 0.77);
}

TEST_F(RunningJob, IsLetGoForTheNextOne) {
    HeldJobs held;
    open();
    startMERO("first.xml");
    held.waitForOne();
    startMERO("second.xml");
    ASSERT_EQ(recordedJobs().size(), 2U);
    EXPECT_EQ(recordedJobs().back().requestPath, "second.xml");
    held.release();
}

} // namespace
