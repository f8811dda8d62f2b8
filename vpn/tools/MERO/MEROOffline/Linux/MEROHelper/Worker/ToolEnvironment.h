#pragma once

#include <string>

/// The environment of a job's tools. They run as root, so that nothing of the caller's may tell them what to
/// read or run: HOME is an empty folder of root's in the job's folder that nobody can write to, USER and
/// LOGNAME are root's, PATH is that of jobs, and LANG is this process's if it has one. There is nothing else,
/// and the current folder is "/". The caller's names stay in this process's own environment, by which the
/// engine translates paths. For a process with one thread, behind clearEnvironment.
/// @return false, logged, if there is no such folder to be had.
[[nodiscard]] bool makeToolEnvironment(const std::string& jobFolder);
