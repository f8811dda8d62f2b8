#pragma once

#include <cstdint>
#include <string>

/// The page that tells how the job has ended. GTK main thread only.
struct ResultPage {
    static void setUp();
    /// Shows the result, and gives Finish the focus.
    /// @param status   code of the run.
    /// @param message  what was reported with it.
    static void show(uint64_t status, const std::string& message, const std::string& bundlePath);
};
