#include "Common/Utility/ReturnCodes.h"

#include <array>

namespace {

/// Rows of one module; a row that this system never meets may be null.
template <std::size_t Count> using Rows = std::array<const char*, Count>;

constexpr uint32_t kFirstCode = 0xFE000000;

constexpr Rows<15> kGlobalRows = {
    "GLOBAL_SUCCESS",
    "GLOBAL_ERROR_NOT_IMPLEMENTED",
    "GLOBAL_ERROR_BAD_PARAMETER",
    "GLOBAL_ERROR_BAD_HANDLE",
    "GLOBAL_ERROR_MEMALLOC_FAILED",
    "GLOBAL_ERROR_NULL_POINTER",
    "GLOBAL_ERROR_INSUFFICIENT_BUFFER",
    "GLOBAL_ERROR_NOT_INITIALIZED",
    "GLOBAL_ERROR_ALREADY_INITIALIZED",
    "GLOBAL_ERROR_UNEXPECTED",
    "GLOBAL_ERROR_NO_INSTANCE",
    nullptr,
    "GLOBAL_ERROR_RESOURCE_NOT_ALLOCATED:Attempt to free an unheld resource.",
    "GLOBAL_ERROR_RESOURCE_NOT_AVAILABLE:Attempt to allocate or free a resource",
    "GLOBAL_ERROR_UNKNOWN",
};

constexpr Rows<20> kEventRows = {
    "EVENT_SUCCESS",
    "EVENT_ERROR_NOT_IMPLEMENTED",
    "EVENT_ERROR_BAD_PARAMETER",
    "EVENT_ERROR_BAD_HANDLE",
    "EVENT_ERROR_MEMALLOC_FAILED",
    "EVENT_ERROR_NULL_POINTER",
    "EVENT_ERROR_INSUFFICIENT_BUFFER",
    "EVENT_ERROR_NOT_INITIALIZED",
    "EVENT_ERROR_ALREADY_INITIALIZED",
    "EVENT_ERROR_UNEXPECTED",
    "EVENT_ERROR_NO_CALLBACK:An operation requiring an event callback was attempted on an event without a "
    "callback.",
    "EVENT_ERROR_EVENT_IS_ALREADY_ON_A_LIST:Attempted to place an event on an event list while it was "
    "already on an event list.",
    "EVENT_ERROR_WAIT_TIMEOUT:A wait on an event or a list of events timed out.",
    "EVENT_ERROR_WAIT_FAILED:A wait on an event or a list of events failed.",
    "EVENT_ERROR_DUPLICATE_FAILED:An attempt to duplicate an event's OS handle failed.",
    "EVENT_ERROR_CREATE_FAILED:An attempt to create an event's OS handle failed.",
    "EVENT_ERROR_SET_FAILED:An attempt to set an event's signaled state failed.",
    "EVENT_ERROR_RESET_FAILED:An attempt to reset an event's signaled state failed.",
    "EVENT_ERROR_EVENT_TYPE_INVALID_FOR_LISTS:Attempted to place an event, with an event type that is not "
    "valid for lists, on an event list.",
    "EVENT_ERROR_UNKNOWN",
};

constexpr Rows<59> kProcessApiRows = {
    "PROCESS_API_SUCCESS",
    "PROCESS_API_ERROR_NOT_IMPLEMENTED",
    "PROCESS_API_ERROR_BAD_PARAMETER",
    "PROCESS_API_ERROR_BAD_HANDLE",
    "PROCESS_API_ERROR_MEMALLOC_FAILED",
    "PROCESS_API_ERROR_NULL_POINTER",
    "PROCESS_API_ERROR_INSUFFICIENT_BUFFER",
    "PROCESS_API_ERROR_NOT_INITIALIZED",
    "PROCESS_API_ERROR_ALREADY_INITIALIZED",
    "PROCESS_API_ERROR_UNEXPECTED",
    "PROCESS_API_ERROR_NOTRUNNING",
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    "PROCESS_API_ERROR_NO_USER_TOKEN",
    nullptr,
    nullptr,
    nullptr,
    "PROCESS_API_ERROR_GET_THREAD_PRIORITY_FAILED",
    "PROCESS_API_ERROR_SET_THREAD_PRIORITY_FAILED",
    "PROCESS_API_ERROR_WAIT_INTERRUPTED",
    "PROCESS_API_ERROR_WAIT_TIMEOUT",
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    "PROCESS_API_ERROR_PROCESS_NOT_FOUND",
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    "PROCESS_API_ERROR_UNKNOWN",
};

constexpr Rows<20> kThreadRows = {
    "THREAD_SUCCESS",
    "THREAD_ERROR_NOT_IMPLEMENTED",
    "THREAD_ERROR_BAD_PARAMETER",
    "THREAD_ERROR_BAD_HANDLE",
    "THREAD_ERROR_MEMALLOC_FAILED",
    "THREAD_ERROR_NULL_POINTER",
    "THREAD_ERROR_INSUFFICIENT_BUFFER",
    "THREAD_ERROR_NOT_INITIALIZED",
    "THREAD_ERROR_ALREADY_INITIALIZED",
    "THREAD_ERROR_UNEXPECTED",
    "THREAD_ERROR_CREATE_FAILED",
    "THREAD_ERROR_INVALID_STACK_SIZE",
    "THREAD_ERROR_INVALID_CALLER",
    "THREAD_ERROR_INVALID_STATE",
    "THREAD_ERROR_POSIX_JOIN_FAILED",
    "THREAD_ERROR_WIN_GET_EXIT_CODE_THREAD_FAILED",
    "THREAD_ERROR_WIN_WAIT_FAILED",
    "THREAD_ERROR_WIN_WAIT_TIMEOUT",
    "THREAD_ERROR_COM_INIT_FAILED",
    "THREAD_ERROR_UNKNOWN",
};

constexpr Rows<16> kDirectoryRows = {
    "DIRECTORY_SUCCESS",
    "DIRECTORY_ERROR_NOT_IMPLEMENTED",
    "DIRECTORY_ERROR_BAD_PARAMETER",
    "DIRECTORY_ERROR_BAD_HANDLE",
    "DIRECTORY_ERROR_MEMALLOC_FAILED",
    "DIRECTORY_ERROR_NULL_POINTER",
    "DIRECTORY_ERROR_INSUFFICIENT_BUFFER",
    "DIRECTORY_ERROR_NOT_INITIALIZED",
    "DIRECTORY_ERROR_ALREADY_INITIALIZED",
    "DIRECTORY_ERROR_UNEXPECTED",
    "DIRECTORY_ERROR_DIRECTORY_NOT_SPECIFIED",
    "DIRECTORY_ERROR_DIRECTORY_NOT_FOUND",
    "DIRECTORY_ERROR_NO_MORE_FILES",
    "DIRECTORY_ERROR_FAILED_TO_CREATE_DIR",
    "DIRECTORY_ERROR_DIRECTORY_ALREADY_EXISTS",
    "DIRECTORY_ERROR_UNKNOWN",
};

constexpr Rows<15> kEventListRows = {
    "EVENTLIST_SUCCESS",
    "EVENTLIST_ERROR_NOT_IMPLEMENTED",
    "EVENTLIST_ERROR_BAD_PARAMETER",
    "EVENTLIST_ERROR_BAD_HANDLE",
    "EVENTLIST_ERROR_MEMALLOC_FAILED",
    "EVENTLIST_ERROR_NULL_POINTER",
    "EVENTLIST_ERROR_INSUFFICIENT_BUFFER",
    "EVENTLIST_ERROR_NOT_INITIALIZED",
    "EVENTLIST_ERROR_ALREADY_INITIALIZED",
    "EVENTLIST_ERROR_UNEXPECTED",
    "EVENTLIST_ERROR_LIMIT_EXCEEDED:The maximum number of events an event list can support has been "
    "exceeded.",
    "EVENTLIST_ERROR_EVENT_NOT_FOUND:A list was searched for a specific event and was not found.",
    "EVENTLIST_ERROR_BAD_EVENT_PIPE:The event's data structure does not contain a valid OS pipe handle.",
    "EVENTLIST_ERROR_BAD_EVENT_HANDLE_TYPE:The event's data structure does not contain a valid OS handle "
    "type specifier.",
    "EVENTLIST_ERROR_UNKNOWN",
};

constexpr Rows<14> kStoragePathRows = {
    "CSTORAGEPATH_SUCCESS",
    "CSTORAGEPATH_ERROR_NOT_IMPLEMENTED",
    "CSTORAGEPATH_ERROR_BAD_PARAMETER",
    "CSTORAGEPATH_ERROR_BAD_HANDLE",
    "CSTORAGEPATH_ERROR_MEMALLOC_FAILED",
    "CSTORAGEPATH_ERROR_NULL_POINTER",
    "CSTORAGEPATH_ERROR_INSUFFICIENT_BUFFER",
    "CSTORAGEPATH_ERROR_NOT_INITIALIZED",
    "CSTORAGEPATH_ERROR_ALREADY_INITIALIZED",
    "CSTORAGEPATH_ERROR_UNEXPECTED",
    "CSTORAGEPATH_ERROR_NO_INSTANCE",
    "CSTORAGEPATH_ERROR_GETTEMPPATH_FAILED",
    "CSTORAGEPATH_ERROR_TEMPPATH_TOO_BIG",
    "CSTORAGEPATH_ERROR_UNKNOWN",
};

constexpr Rows<24> kMeroEngineRows = {
    "MEROENGINE_SUCCESS",
    "MEROENGINE_ERROR_NOT_IMPLEMENTED",
    "MEROENGINE_ERROR_BAD_PARAMETER",
    "MEROENGINE_ERROR_BAD_HANDLE",
    "MEROENGINE_ERROR_MEMALLOC_FAILED",
    "MEROENGINE_ERROR_NULL_POINTER",
    "MEROENGINE_ERROR_INSUFFICIENT_BUFFER",
    "MEROENGINE_ERROR_NOT_INITIALIZED",
    "MEROENGINE_ERROR_ALREADY_INITIALIZED",
    "MEROENGINE_ERROR_UNEXPECTED",
    "MEROENGINE_ERROR_INTERNAL:Error: MERO encountered an unspecified internal error",
    "MEROENGINE_ERROR_WRITE_FAILURE:Error: Failed to write to file",
    "MEROENGINE_ERROR_FILE_NOT_FOUND:Error: File not found",
    "MEROENGINE_ERROR_FILE_OPEN_FAILURE:Error: File could not be opened",
    "MEROENGINE_ERROR_ACCESS_DENIED:Error: Access denied",
    "MEROENGINE_ERROR_NULL_XML_ROOT:Error: XML configuration tree root is NULL",
    "MEROENGINE_ERROR_NULL_XML_CHILD:Error: XML configuration tree child is NULL",
    "MEROENGINE_ERROR_INVALID_XML:Error: Encountered invalid XML configuration tree",
    "MEROENGINE_ERROR_UNKNOWN_XML_TAG:Error: Encountered unknown XML configuration tag",
    "MEROENGINE_ERROR_ACTION_CANCELED_BY_USER:Notice: Action canceled by user",
    "MEROENGINE_ERROR_EXTERN_ACTION_TIMEOUT:Error: Binary executable took too long to finish.",
    "MEROENGINE_ERROR_UNKNOWN",
    "MEROENGINE_ERROR_BUNDLE_INCOMPLETE:Warning: Files could not be packed into the bundle",
    // A module ends with the text of what it doesn't know, and no code moves for it.
    "MEROENGINE_ERROR_UNKNOWN",
};

constexpr Rows<15> kMeroOfflineRows = {
    "MEROOFFLINE_SUCCESS",
    "MEROOFFLINE_ERROR_NOT_IMPLEMENTED",
    "MEROOFFLINE_ERROR_BAD_PARAMETER",
    "MEROOFFLINE_ERROR_BAD_HANDLE",
    "MEROOFFLINE_ERROR_MEMALLOC_FAILED",
    "MEROOFFLINE_ERROR_NULL_POINTER",
    "MEROOFFLINE_ERROR_INSUFFICIENT_BUFFER",
    "MEROOFFLINE_ERROR_NOT_INITIALIZED",
    "MEROOFFLINE_ERROR_ALREADY_INITIALIZED",
    "MEROOFFLINE_ERROR_UNEXPECTED",
    "MEROOFFLINE_ERROR_INTERNAL:Error: MERO GUI encounted an unspecified internal error",
    "MEROOFFLINE_ERROR_PROCESSING:Notice: MERO GUI is processing...",
    "MEROOFFLINE_ERROR_XML_CONFIG_PARSE_SUCCESS:Notice: Successfully parsed XML configuration",
    "MEROOFFLINE_ERROR_XML_REQUEST_GENERATE_SUCCESS:Notice: Successfully generated request XML",
    "MEROOFFLINE_ERROR_UNKNOWN",
};

constexpr Rows<12> kXmlLocalTLPolMgrRows = {
    "XMLLOCALTLPOLMGR_SUCCESS",
    "XMLLOCALTLPOLMGR_ERROR_NOT_IMPLEMENTED",
    "XMLLOCALTLPOLMGR_ERROR_BAD_PARAMETER",
    "XMLLOCALTLPOLMGR_ERROR_BAD_HANDLE",
    "XMLLOCALTLPOLMGR_ERROR_MEMALLOC_FAILED",
    "XMLLOCALTLPOLMGR_ERROR_NULL_POINTER",
    "XMLLOCALTLPOLMGR_ERROR_INSUFFICIENT_BUFFER",
    "XMLLOCALTLPOLMGR_ERROR_NOT_INITIALIZED",
    "XMLLOCALTLPOLMGR_ERROR_ALREADY_INITIALIZED",
    "XMLLOCALTLPOLMGR_ERROR_UNEXPECTED",
    "XMLLOCALTLPOLMGR_ERROR_NO_INSTANCE",
    "XMLLOCALTLPOLMGR_ERROR_UNKNOWN",
};

template <std::size_t Count> constexpr ReturnCodeModule moduleOf(const Rows<Count>& rows) {
    return {static_cast<uint32_t>(Count), rows.data()};
}

using Table = std::array<ReturnCodeModule, kReturnCodeModuleCount>;

constexpr Table makeTable() {
    Table table{};
    table[0x00] = moduleOf(kGlobalRows);
    table[0x01] = moduleOf(kEventRows);
    table[0x2B] = moduleOf(kProcessApiRows);
    table[0x34] = moduleOf(kThreadRows);
    table[0x58] = moduleOf(kDirectoryRows);
    table[0x8C] = moduleOf(kEventListRows);
    table[0x9E] = moduleOf(kStoragePathRows);
    table[0xB0] = moduleOf(kMeroEngineRows);
    table[0xB1] = moduleOf(kMeroOfflineRows);
    table[0xB6] = moduleOf(kXmlLocalTLPolMgrRows);
    return table;
}

constexpr Table kTable = makeTable();

} // namespace

const ReturnCodeModule* getReturnCodeTable() {
    return kTable.data();
}

const char* getReturnCodeDescription(uint32_t returnCode, const ReturnCodeModule* table,
                                     uint32_t moduleCount) {
    if (returnCode < kFirstCode || table == nullptr) {
        return nullptr;
    }
    const uint32_t module = (returnCode >> 16) & 0xFFU;
    if (module >= moduleCount || table[module].rows == nullptr || table[module].rowCount == 0) {
        return nullptr;
    }
    const ReturnCodeModule& slot = table[module];
    const uint32_t index = returnCode & 0xFFFFU;
    const char* const lastRow = slot.rows[slot.rowCount - 1];
    if (index >= slot.rowCount || slot.rows[index] == nullptr) {
        return lastRow;
    }
    return slot.rows[index];
}

const char* getReturnCodeDescription(uint32_t returnCode) {
    return getReturnCodeDescription(returnCode, kTable.data(), kReturnCodeModuleCount);
}
