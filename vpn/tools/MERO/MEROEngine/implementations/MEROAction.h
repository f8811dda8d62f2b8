#pragma once

#include "MEROActionInfo.h"
#include "MEROCollectedFile.h"
#include "MEROXmlObject.h"

#include <cstdint>
#include <list>
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
