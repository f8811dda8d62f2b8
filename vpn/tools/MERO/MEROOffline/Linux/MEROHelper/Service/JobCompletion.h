#pragma once

#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/ProgressRecord.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/AcceptedJob.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/ServiceSettings.h"

#include <cstdint>
#include <string>

/// Name of the archive in the job's folder.
inline constexpr const char* kArchiveName = "bundle.zip";

/// Where the bundle of a job goes: what the caller has named, with the extension of an archive.
[[nodiscard]] std::string bundleTarget(const JobArguments& arguments);

/// The outcome of a job that has failed for a reason which the engine does not tell.
[[nodiscard]] ProgressRecord failedJob(uint32_t code);

/// The outcome of a job whose bundle can't come to its target.
[[nodiscard]] ProgressRecord refusedTarget();

/// What is left to do when the worker has ended: ends what it may have left running, hands the bundle of a
/// job that made one to the caller, and removes all else that is left of the job. May take as long as
/// publishBundle does. Any thread, but no other child of this process may be of use meanwhile.
/// @param outcome   of the worker.
/// @param settings  what the bundle at its target may take, and for what is left running to end.
/// @return the outcome of the job: the worker's, or MEROENGINE_ERROR_WRITE_FAILURE if there is a bundle that
/// can't be handed over.
[[nodiscard]] ProgressRecord completeJob(AcceptedJob& job, const ProgressRecord& outcome,
                                         const ServiceSettings& settings);
