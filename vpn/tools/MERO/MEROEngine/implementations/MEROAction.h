#pragma once

#include "Common/IPC/ProcessAPI_unix.h"
#include "tools/MERO/MEROEngine/implementations/MEROActionInfo.h"
#include "tools/MERO/MEROEngine/implementations/MEROCollectedFile.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlObject.h"

#include <cstdint>
#include <list>
#include <memory>
#include <string>

/// Attributes of one instruction of a file_copy_action.
struct FileActionAttrs {
    std::string path;
    std::string translatedPath;
    /// Kept as it stands; nobody interprets it yet.
    std::string truncateType;
    bool gatherNewest = false;
    bool clearLog = false;
};

/// Attributes of one instruction of a directory_copy_action.
struct DirectoryActionAttrs {
    std::string path;
    std::string translatedPath;
    std::list<std::string> patterns;
};

/// Attributes of one instruction of a use_extern_action.
struct ExternalActionAttrs {
    std::string commandName;
    std::string path;
    std::string arguments;
    std::string tempOut;
    /// Stays empty; the place of an output name that no instruction sets.
    std::string outputName;
    std::string tagName;
    std::string clearArguments;
    std::string baseName;
    bool clearLog = false;
    bool captureStdout = false;
    bool replaceArguments = false;
};

/// What the engine does for one item: the walk over the instructions below the item's os element. Made by the
/// collector for one Perform, on the collector's thread.
class MEROAction {
public:
    /// @param info      copied.
    /// @param reader    the os element with the instructions; a view, read only.
    /// @param adminRun  whether admin_args win over args.
    MEROAction(const MEROActionInfo& info, MEROComponent* reader, bool adminRun);
    /// Ends a tool that still runs.
    virtual ~MEROAction();
    MEROAction(const MEROAction&) = delete;
    MEROAction& operator=(const MEROAction&) = delete;

    /// Runs every instruction in document order. A failing one is logged and never stops the others.
    /// @param collected  gets the records of the instructions that succeeded appended.
    virtual void Perform(std::list<MEROCollectedFile>& collected);

    /// The three kinds of instruction.
    /// @param subtree  one instruction, as the root of a copy of its tree.
    /// @param found    gets a record per file placed in the bundle.
    /// @return 0, MEROENGINE_ERROR_FILE_NOT_FOUND (no log line), or another code, which Perform logs.
    [[nodiscard]] virtual uint32_t performFileAction(MEROXmlObject& subtree,
                                                     std::list<MEROCollectedFile>& found) = 0;
    [[nodiscard]] virtual uint32_t performDirectoryAction(MEROXmlObject& subtree,
                                                          std::list<MEROCollectedFile>& found) = 0;
    /// @param tempFiles  gets the files that Perform deletes when the list of instructions is done.
    [[nodiscard]] virtual uint32_t performExternalAction(MEROXmlObject& subtree,
                                                         std::list<MEROCollectedFile>& found,
                                                         std::list<std::string>& tempFiles) = 0;

protected:
    /// Folder of a tool: the text of a `path` element, or the plugin folder beside the program with the text
    /// of a `plugin` element behind it, without surrounding double quotes. Empty, with a log line, for null
    /// and for an element of another name.
    [[nodiscard]] std::string getPath(const MEROComponent* element) const;
    /// The parsers read one instruction. Each logs what it refuses; the attributes hold what was read so far
    /// then. Children that a file instruction doesn't know are passed over.
    /// @return 0, or MEROENGINE_ERROR_BAD_PARAMETER for a subtree without root.
    [[nodiscard]] uint32_t parseFileActionAttributes(MEROXmlObject& subtree, FileActionAttrs& attrs) const;
    /// A path that isn't empty gets a trailing "/".
    /// @return as above, or MEROENGINE_ERROR_UNEXPECTED for a child that is neither `loc` nor `pattern`.
    [[nodiscard]] uint32_t parseDirectoryActionAttributes(MEROXmlObject& subtree,
                                                          DirectoryActionAttrs& attrs) const;
    /// @param adminRun  `admin_args` win over `args` wherever they stand; else they are not looked at.
    /// @param attrs     emptied first. `path` gets the folder part of the command line appended.
    /// @return as above, or MEROENGINE_ERROR_UNKNOWN_XML_TAG for an unknown child, or
    ///         MEROENGINE_ERROR_INVALID_XML for one that must be a leaf and has children.
    [[nodiscard]] uint32_t parseExternalActionAttributes(MEROXmlObject& subtree, bool adminRun,
                                                         ExternalActionAttrs& attrs) const;

    /// Runs a tool and blocks until it has ended. A tool of this action that still runs is ended first.
    /// @param path           folder of the tool, or empty.
    /// @param commandLine    the program, a blank and its arguments.
    /// @param captureStdout  with an `outputFile`, runs the line through the shell and appends what it prints
    /// to that file, behind a banner; nobody hears of the tool meanwhile. Else the program is started with
    /// all of its arguments as one, its output is dropped, and the progress is reported each second.
    /// @param outputFile     empty for none.
    /// @return 0 however the tool has ended by itself, also when there is no such program. A code of starting
    /// it, for which the summary gets a row; PROCESS_API_ERROR_WAIT_TIMEOUT when a signal has ended it, or
    /// when it ended by itself just between two waits; MEROENGINE_ERROR_ACTION_CANCELED_BY_USER;
    /// MEROENGINE_ERROR_EXTERN_ACTION_TIMEOUT when this process has used 1200 seconds of processor time since
    /// the tool was started.
    [[nodiscard]] uint32_t callExtern(const std::string& path, const std::string& commandLine,
                                      bool captureStdout, const std::string& outputFile);

    /// What started the last tool; null before the first.
    std::unique_ptr<CProcessApi> m_pProcess;
    /// The tool that may still run; 0 if none does.
    int32_t m_processId = 0;
    /// The item's instructions, a view into the configuration's tree.
    MEROComponent* m_reader;
    MEROActionInfo m_info;
    /// Whether the run has administrator rights, so that admin_args take the place of args.
    bool m_adminRun;

private:
    /// Runs the instructions of one child of the os element; its name tells their kind, and a name that is
    /// none is passed over.
    void performInstructions(const MEROComponent& kind, std::list<MEROCollectedFile>& collected,
                             std::list<std::string>& tempFiles);
};
