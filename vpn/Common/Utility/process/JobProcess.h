#pragma once

/// Sets this process up for a job: files that it makes are the user's alone, and a full disk, a size limit or
/// a reader that has gone shows as an error of the call and not as the process's end. Called before anything
/// is made, while there is one thread.
void prepareJobProcess();
