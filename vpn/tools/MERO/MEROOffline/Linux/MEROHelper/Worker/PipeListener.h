#pragma once

#include "tools/MERO/MEROEngine/implementations/CMEROClientIfc.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/ProgressRecord.h"

/// Sends the engine's steps to the service, and is the engine's listener for as long as it lives. What the
/// engine reports as its end is held back: a job has one outcome, which is told when nothing can follow it.
class PipeListener final : public CMEROClientIfc {
public:
    /// @param pipe  writable; not owned. Must outlive this object.
    explicit PipeListener(int pipe);
    ~PipeListener() override;
    PipeListener(const PipeListener&) = delete;
    PipeListener& operator=(const PipeListener&) = delete;

    /// Any thread. A step that can't be sent is lost; the service is gone then, and this process with it.
    void updateStatus(const MEROStatusInfo* info, uint64_t status) override;

private:
    int m_pipe;
};

/// The outcome of an engine's run with this code: it comes with the percentage and text last reported.
[[nodiscard]] ProgressRecord outcomeOfRun(uint32_t code);
