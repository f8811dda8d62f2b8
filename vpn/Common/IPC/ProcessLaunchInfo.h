#pragma once

#include <cstdint>

/// How a program is started. The strings are the caller's and are used during Launch only.
struct ProcessLaunchInfo {
    /// Run the child as m_pszUserName, with no environment but what is told here.
    bool m_bImpersonate = false;
    /// Folder of the program, put in front of its name; null for none.
    const char* m_pszPath = nullptr;
    /// Current folder of the child; null for that of ChildEnvironment.h.
    const char* m_pszWorkingDirectory = nullptr;
    /// Display for an impersonated child; null for none.
    const char* m_pszDisplay = nullptr;
    bool m_bVerifySignature = false;
    const char* m_pszUserName = nullptr;
    /// Further entries of the environment, ended by null; null for none. "NAME=value" sets a variable, "NAME"
    /// takes one out.
    char** m_ppszEnvironment = nullptr;
    /// The program is no child of this process, and doesn't end with the caller.
    bool m_bDetach = false;
    const char* m_pszExpectedSigner = nullptr;
    /// Index of the argument that names the file whose signature is tested; 0 for the program itself.
    int32_t m_signatureArgumentIndex = 0;
    /// Set by Launch to the started process; not for a detached one.
    int32_t m_processId = 0;
    /// The program leads a process group of its own and gets SIGTERM when the thread that started it ends.
    /// Ending it with terminateProcess then ends all of its group.
    bool m_bEndWithCaller = false;
    /// Standard output and standard error of the program lead nowhere.
    bool m_bDiscardOutput = false;
    /// A file that the program writes, where it finds that out by itself; null for none. It sees the folder
    /// of such a file, see ChildView.h.
    const char* m_pszOutputFile = nullptr;
};
