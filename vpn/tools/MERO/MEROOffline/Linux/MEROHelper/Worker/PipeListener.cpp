#include "tools/MERO/MEROOffline/Linux/MEROHelper/Worker/PipeListener.h"

#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROEngine/implementations/Progress.h"

#include <utility>

PipeListener::PipeListener(int pipe) : m_pipe(pipe) {
    setProgressListener(this);
}

PipeListener::~PipeListener() {
    setProgressListener(nullptr);
}

void PipeListener::updateStatus(const MEROStatusInfo* info, uint64_t status) {
    if (info != nullptr && status == MEROOFFLINE_ERROR_PROCESSING) {
        static_cast<void>(writeProgress(m_pipe, {.status = MEROOFFLINE_ERROR_PROCESSING,
                                                 .progress = info->m_progress,
                                                 .message = info->m_message}));
    }
}

ProgressRecord outcomeOfRun(uint32_t code) {
    MEROStatusInfo last = getProgressState();
    return {.status = code, .progress = last.m_progress, .message = std::move(last.m_message)};
}
