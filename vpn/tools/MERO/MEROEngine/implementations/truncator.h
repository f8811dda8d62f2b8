#pragma once

#include "tools/MERO/MEROEngine/implementations/MEROCollectedFile.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlObject.h"

#include <cstdint>
#include <list>

/// Enters a collector's files in the summary tree, on request with size limits per id. Lives for one use; the
/// caller holds g_summaryLock.
class truncator {
public:
    /// @param files    copied.
    /// @param summary  not owned.
    truncator(const std::list<MEROCollectedFile>& files, MEROXmlObject* summary);
    virtual ~truncator() = default;
    truncator(const truncator&) = delete;
    truncator& operator=(const truncator&) = delete;

    /// For callers outside of this system, with what serves it: applies the limits of the records and enters
    /// them, id by id. Once per object. No item of a run has a limit.
    /// @return 0, or MEROENGINE_ERROR_NOT_INITIALIZED for an empty list.
    [[nodiscard]] virtual uint32_t perform();
    /// Enters every record as included, in list order. @return 0.
    [[nodiscard]] virtual uint32_t fillSummaryGoodFiles();
    /// Cuts all files of a group in proportion to their sizes. @return 0.
    [[nodiscard]] virtual uint32_t DATATruncateAll(std::list<MEROCollectedFile>& group, double totalSize);
    /// Enters a record as omitted, with the reason "Internal error". @return 0.
    [[nodiscard]] virtual uint32_t fillSummaryInternalError(const MEROCollectedFile& file);
    /// Enters a record as included.
    /// @return 0, MEROENGINE_ERROR_NOT_INITIALIZED,
    /// MEROENGINE_ERROR_NULL_XML_ROOT or MEROENGINE_ERROR_NULL_XML_CHILD.
    [[nodiscard]] virtual uint32_t fillSummaryGoodFile(const MEROCollectedFile& file);

private:
    void handleMember(MEROCollectedFile& file, int32_t groupType, double& groupSum,
                      std::list<MEROCollectedFile>& dataGroup);
    void keepOrDropWhole(MEROCollectedFile& file, double& groupSum);
    void dropMixed(const MEROCollectedFile& file);
    void dropLost(const MEROCollectedFile& file);
    void cutData(const MEROCollectedFile& file, int32_t keepBytes);
    void endGroup(int32_t groupType, double groupSum, std::list<MEROCollectedFile>& dataGroup);
    void addNotes();

    /// A group was cut: note *2 is needed.
    bool m_bDataNoteNeeded = false;
    /// A group was handled by whole files: note *1 is needed.
    bool m_bWholeNoteNeeded = false;
    /// Own copies; their descriptions get remarks appended.
    std::list<MEROCollectedFile> m_TruncAttrsList;
    /// A view; outlives this object.
    MEROXmlObject* m_pXMLSummary;
};
