#pragma once

#include "Common/IPC/UserIdentity.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/JobArguments.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/PrivateFolders.h"

#include <string>

/// A job that may be done: checked, authorised, its request copied.
struct AcceptedJob {
    JobArguments arguments;
    UserIdentity caller;
    JobFolder folder;
    /// The copy of the request, in the folder; empty: the usual items.
    std::string requestCopy;
    /// No bundle can come to the target: the job ends before it begins.
    bool isTargetRefused = false;
};
