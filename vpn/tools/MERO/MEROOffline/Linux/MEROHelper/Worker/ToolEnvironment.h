#pragma once

#include <optional>
#include <string>

/// What a job's tools find. They run as root, so that nothing of the caller's may tell them what to read or
/// run. For a process with one thread, behind closeFolders and clearEnvironment.
///
/// HOME is a new folder in the job's folder, empty and root's alone, TMPDIR another, USER and LOGNAME are
/// root's, PATH is that of jobs, and LANG is this process's if it has one. There is nothing else, and the
/// current folder is "/". The caller's names stay in this process's own environment, by which the engine
/// translates paths.
///
/// The caller's home, the folders that everybody may write to and those of users' sessions are empty for a
/// tool, and nothing can be made there, unless its instruction names them or something below. Where the
/// kernel can't do that the log says so.
/// @param home  the caller's home if it is in view.
/// @return false, logged, if there are no such folders to be had.
[[nodiscard]] bool makeToolEnvironment(const std::string& jobFolder, const std::optional<std::string>& home);
