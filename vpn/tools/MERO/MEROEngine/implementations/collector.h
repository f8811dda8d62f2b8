#pragma once

#include "Common/Utility/threads/Mutex.h"
#include "tools/MERO/MEROEngine/implementations/ItemWalk.h"
#include "tools/MERO/MEROEngine/implementations/MEROActionInfo.h"
#include "tools/MERO/MEROEngine/implementations/MEROCollectedFile.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlObject.h"
#include "tools/MERO/MEROEngine/implementations/SummarySection.h"
#include "tools/MERO/MEROEngine/implementations/WantedEntries.h"

#include <cstdint>
#include <list>
#include <memory>
#include <string>

/// Held around printSummary of every collector.
extern Mutex g_summaryLock;

/// Works through configuration trees: decides which items are wanted, finds their instructions for this
/// platform, runs the actions and writes its section of the summary. One per configuration file in a collect
/// run, on one worker thread.
class collector {
public:
    /// @param request              the request, not owned; an object without a root
    /// selects the default items.
    /// @param unprocessed          the request's entries nobody has handled yet; may be shared by collectors,
    /// which guard it by a lock.
    /// @param targetPath           the zip file, for the summary.
    /// @param includeLegacyTree    take the legacy group's items in default mode.
    /// @param collectSystemLogs    take the system logs in default mode and in the clear run.
    collector(MEROXmlObject* request, std::list<MEROComponent*>& unprocessed, const std::string& targetPath,
              bool includeLegacyTree, bool collectSystemLogs);
    /// The same for one of many collectors of a request.
    /// @param wanted  the request's entries, shared by all of them.
    collector(MEROXmlObject* request, std::shared_ptr<WantedEntries> wanted, const std::string& targetPath,
              bool includeLegacyTree, bool collectSystemLogs);
    ~collector();
    collector(const collector&) = delete;
    collector& operator=(const collector&) = delete;

    /// Collects one configuration tree. A failed item or action goes to the summary and
    /// never into the result.
    /// @param bundleFolder  the working folder; an empty one becomes the default one.
    /// @return 0, MEROENGINE_ERROR_NOT_INITIALIZED, MEROENGINE_ERROR_BAD_PARAMETER, or a
    /// failure of the summary.
    [[nodiscard]] uint32_t Collect(std::string& bundleFolder, MEROXmlObject* config);
    /// The clear run for one tree. @return 0, or MEROENGINE_ERROR_BAD_PARAMETER for null.
    [[nodiscard]] uint32_t Clear(MEROXmlObject* config);

    /// Views into the trees, in document order. Empty, with a log line, for an object without a root or a
    /// component that is no fileGroup.
    [[nodiscard]] std::list<MEROComponent*> getFileGroupComponents(const MEROXmlObject& object) const;
    /// For callers outside of this system: the children named file.
    [[nodiscard]] std::list<MEROComponent*> getFileComponents(const MEROXmlObject& object) const;
    /// For callers outside of this system: the same of one group.
    [[nodiscard]] std::list<MEROComponent*> getFileGroupFileComponents(const MEROComponent& group) const;
    /// Folder of a fileGroup or file below `base`, by its attribute directoryName; made with its parents.
    [[nodiscard]] std::string getDirectory(const MEROComponent& component, const std::string& base) const;
    /// Sets the reader to the first os element of the item for this platform.
    /// @return 0, MEROENGINE_ERROR_BAD_PARAMETER, or MEROENGINE_ERROR_INTERNAL when there is none; the reader
    /// must not be used then.
    [[nodiscard]] uint32_t moveReaderToCorrectOS(MEROComponent* component);
    /// True if the item's `default` is exactly "true".
    [[nodiscard]] bool isDefault(const MEROComponent& file) const;
    /// Takes a request entry off the shared list; a missing one draws the note on duplicates.
    /// @return 0, or MEROENGINE_ERROR_BAD_PARAMETER for null.
    [[nodiscard]] uint32_t removeFromUnprocessedList(MEROComponent* requestFile);

    /// Builds the summary tree. @return 0 or MEROENGINE_ERROR_NULL_XML_ROOT.
    [[nodiscard]] uint32_t initializeSummary();
    /// Adds time, system, user and bundle. @return 0,
    /// MEROENGINE_ERROR_NULL_XML_ROOT or MEROENGINE_ERROR_NULL_XML_CHILD.
    [[nodiscard]] uint32_t fillInSummaryMainInfo();
    /// Prints the section under g_summaryLock and empties the list of collected
    /// files. @return as printSummary.
    [[nodiscard]] uint32_t writeSummary(const std::string& bundleFolder, MEROXmlObject* config);
    /// Appends this collector's section to the summary file, with the head before the first
    /// one of the process.
    /// @return 0, MEROENGINE_ERROR_BAD_PARAMETER, MEROENGINE_ERROR_FILE_OPEN_FAILURE or
    /// MEROENGINE_ERROR_WRITE_FAILURE.
    [[nodiscard]] uint32_t printSummary(MEROXmlObject* config, const std::string& bundleFolder)
        ZRN_REQUIRES(g_summaryLock);
    /// Writes the request's comment, if it has one, into the bundle. A failure leaves no file and becomes a
    /// row of the omitted files.
    /// @param commentsFile  the request's entry for the comments file, or null for the default name.
    /// @return 0, MEROENGINE_ERROR_FILE_OPEN_FAILURE or MEROENGINE_ERROR_WRITE_FAILURE.
    [[nodiscard]] uint32_t writeComments(MEROComponent* commentsFile, const std::string& bundleFolder);

    /// The summary tree; null before initializeSummary and after a successful Collect.
    [[nodiscard]] MEROXmlObject* getSummary() const { return m_pXMLSummary.get(); }
    /// What the actions have placed in the bundle since the last writeSummary, but for what they have handed
    /// on by then.
    [[nodiscard]] const std::list<MEROCollectedFile>& getCollected() const { return m_collected; }

private:
    void runRequestLoop(const MEROComponent& group, const std::string& bundleFolder, MEROActionInfo& info);
    void runDefaultLoop(const MEROComponent& group, const std::string& bundleFolder, MEROActionInfo& info);
    /// Takes over the place that the request has for the summary, at the first call.
    void placeSummary(const std::string& bundleFolder);
    /// Path of a file that the request names, with the folders on the way to it made.
    [[nodiscard]] static std::string placeInBundle(const std::string& bundleFolder, const std::string& name);
    /// Collects the requested item, unless it has no instructions for this platform.
    void runRequestedItem(MEROComponent* entry, const WalkedItem& item, const std::string& groupFolder,
                          MEROActionInfo& info);
    void runItem(const MEROActionInfo& info);
    /// Takes records over as an action makes them. Once there are many, their rows are made and kept for the
    /// section, so that the memory doesn't grow with the number of files.
    void handOn(std::list<MEROCollectedFile>& found);
    /// Clears one item, unless it is no part of a default bundle.
    void clearItem(const WalkedItem& item, MEROActionInfo& info);
    [[nodiscard]] bool isUnwantedSystemLog(const std::string& id) const;
    /// moveReaderToCorrectOS with its failure in the log. @return true if there are instructions to run.
    [[nodiscard]] bool findInstructions(MEROComponent& file);

    /// Tells of comments that could not be written, in the summary and in the result.
    [[nodiscard]] uint32_t recordLostComments(const std::string& fileName, const std::string& path,
                                              uint32_t code);

    MEROXmlObject* m_pXMLRequest;
    std::unique_ptr<MEROXmlObject> m_pXMLSummary;
    std::shared_ptr<WantedEntries> m_wanted;
    std::list<MEROCollectedFile> m_collected;
    /// Holds the rows that were made ahead.
    SummarySection m_section;
    std::string m_targetPath;
    std::string m_summaryPath;
    /// The way through the configuration.
    ItemWalk m_walk{kEngineRules};
    /// The os element whose instructions are to be run; a view into the configuration's tree.
    MEROComponent* m_reader = nullptr;
    bool m_includeLegacyTree;
    bool m_collectSystemLogs;
    /// Given to each action; always false on this platform.
    bool m_adminRun = false;
};
