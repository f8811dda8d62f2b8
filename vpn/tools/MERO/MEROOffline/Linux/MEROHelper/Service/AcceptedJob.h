#pragma once

#include "JobArguments.h"
#include "PrivateFolders.h"
#include "UserIdentity.h"

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
