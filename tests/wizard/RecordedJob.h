#pragma once

#include "tools/MERO/MEROEngine/implementations/MEROStatusInfo.h"

#include <cstdint>
#include <string>
#include <vector>

/// Stands in for the in-process runner: these tests are about what the window hands to a job and what it
/// makes of its reports, and a whole job shows neither its arguments nor reports at a chosen moment. Whole
/// jobs are run by the tests that start the program.
struct RecordedJob {
    std::string requestPath;
    std::string configDir;
    std::string bundlePath;
    std::string password;
    bool clearLogs = false;
};

/// The jobs made so far, oldest first. GTK main thread only.
std::vector<RecordedJob>& recordedJobs();

/// Holds the runs of all jobs that start from now on until the object goes away.
class HeldJobs {
public:
    HeldJobs();
    ~HeldJobs();
    HeldJobs(const HeldJobs&) = delete;
    HeldJobs& operator=(const HeldJobs&) = delete;
    /// Waits until a job runs and is being held.
    void waitForOne();
    /// Lets go of the jobs and waits until each has sent one more report and ended.
    void release();
};
