#pragma once

#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/BusCaller.h"

#include <functional>

/// Asks the authority of this machine whether a caller may have a bundle collected. The user may be asked in
/// turn, so that the answer can take any time. Main thread.
/// @param cancellable  takes the question back.
/// @param answer       called once from the main loop, also after a cancellation: true only for a plain yes.
///                     Any error, no authority and a cancellation are a no, logged.
void askAuthorisation(const BusCaller& caller, GCancellable* cancellable, std::function<void(bool)> answer);
