#pragma once

#include "Common/Utility/ReturnCodeRows.h"

#include <cstdint>

/// Return codes of the suite: 0 is success, a coded failure is 0xFE000000 + module * 0x10000 + row.
/// Only the codes that this system returns or tests have a name here; the table behind
/// getReturnCodeDescription has the text of every row of the modules in use.

inline constexpr uint32_t GLOBAL_ERROR_BAD_PARAMETER = returnCodeOf("GLOBAL_ERROR_BAD_PARAMETER");
inline constexpr uint32_t GLOBAL_ERROR_BAD_HANDLE = returnCodeOf("GLOBAL_ERROR_BAD_HANDLE");
inline constexpr uint32_t GLOBAL_ERROR_NULL_POINTER = returnCodeOf("GLOBAL_ERROR_NULL_POINTER");
inline constexpr uint32_t GLOBAL_ERROR_NOT_INITIALIZED = returnCodeOf("GLOBAL_ERROR_NOT_INITIALIZED");
inline constexpr uint32_t GLOBAL_ERROR_UNEXPECTED = returnCodeOf("GLOBAL_ERROR_UNEXPECTED");
inline constexpr uint32_t GLOBAL_ERROR_NO_INSTANCE = returnCodeOf("GLOBAL_ERROR_NO_INSTANCE");

inline constexpr uint32_t EVENT_ERROR_BAD_PARAMETER = returnCodeOf("EVENT_ERROR_BAD_PARAMETER");
inline constexpr uint32_t EVENT_ERROR_NOT_INITIALIZED = returnCodeOf("EVENT_ERROR_NOT_INITIALIZED");
inline constexpr uint32_t EVENT_ERROR_NO_CALLBACK = returnCodeOf("EVENT_ERROR_NO_CALLBACK");
inline constexpr uint32_t EVENT_ERROR_EVENT_IS_ALREADY_ON_A_LIST =
    returnCodeOf("EVENT_ERROR_EVENT_IS_ALREADY_ON_A_LIST");
inline constexpr uint32_t EVENT_ERROR_WAIT_TIMEOUT = returnCodeOf("EVENT_ERROR_WAIT_TIMEOUT");
inline constexpr uint32_t EVENT_ERROR_WAIT_FAILED = returnCodeOf("EVENT_ERROR_WAIT_FAILED");
inline constexpr uint32_t EVENT_ERROR_CREATE_FAILED = returnCodeOf("EVENT_ERROR_CREATE_FAILED");
inline constexpr uint32_t EVENT_ERROR_SET_FAILED = returnCodeOf("EVENT_ERROR_SET_FAILED");
inline constexpr uint32_t EVENT_ERROR_RESET_FAILED = returnCodeOf("EVENT_ERROR_RESET_FAILED");
inline constexpr uint32_t EVENT_ERROR_EVENT_TYPE_INVALID_FOR_LISTS =
    returnCodeOf("EVENT_ERROR_EVENT_TYPE_INVALID_FOR_LISTS");

inline constexpr uint32_t PROCESS_API_ERROR_BAD_PARAMETER = returnCodeOf("PROCESS_API_ERROR_BAD_PARAMETER");
inline constexpr uint32_t PROCESS_API_ERROR_BAD_HANDLE = returnCodeOf("PROCESS_API_ERROR_BAD_HANDLE");
inline constexpr uint32_t PROCESS_API_ERROR_UNEXPECTED = returnCodeOf("PROCESS_API_ERROR_UNEXPECTED");
inline constexpr uint32_t PROCESS_API_ERROR_NOTRUNNING = returnCodeOf("PROCESS_API_ERROR_NOTRUNNING");
inline constexpr uint32_t PROCESS_API_ERROR_NO_USER_TOKEN = returnCodeOf("PROCESS_API_ERROR_NO_USER_TOKEN");
inline constexpr uint32_t PROCESS_API_ERROR_GET_THREAD_PRIORITY_FAILED =
    returnCodeOf("PROCESS_API_ERROR_GET_THREAD_PRIORITY_FAILED");
inline constexpr uint32_t PROCESS_API_ERROR_SET_THREAD_PRIORITY_FAILED =
    returnCodeOf("PROCESS_API_ERROR_SET_THREAD_PRIORITY_FAILED");
inline constexpr uint32_t PROCESS_API_ERROR_WAIT_INTERRUPTED =
    returnCodeOf("PROCESS_API_ERROR_WAIT_INTERRUPTED");
inline constexpr uint32_t PROCESS_API_ERROR_WAIT_TIMEOUT = returnCodeOf("PROCESS_API_ERROR_WAIT_TIMEOUT");
inline constexpr uint32_t PROCESS_API_ERROR_PROCESS_NOT_FOUND =
    returnCodeOf("PROCESS_API_ERROR_PROCESS_NOT_FOUND");
inline constexpr uint32_t PROCESS_API_ERROR_UNKNOWN = returnCodeOf("PROCESS_API_ERROR_UNKNOWN");

inline constexpr uint32_t THREAD_ERROR_NOT_IMPLEMENTED = returnCodeOf("THREAD_ERROR_NOT_IMPLEMENTED");
inline constexpr uint32_t THREAD_ERROR_BAD_PARAMETER = returnCodeOf("THREAD_ERROR_BAD_PARAMETER");
inline constexpr uint32_t THREAD_ERROR_UNEXPECTED = returnCodeOf("THREAD_ERROR_UNEXPECTED");
inline constexpr uint32_t THREAD_ERROR_CREATE_FAILED = returnCodeOf("THREAD_ERROR_CREATE_FAILED");
inline constexpr uint32_t THREAD_ERROR_INVALID_STACK_SIZE = returnCodeOf("THREAD_ERROR_INVALID_STACK_SIZE");
inline constexpr uint32_t THREAD_ERROR_INVALID_CALLER = returnCodeOf("THREAD_ERROR_INVALID_CALLER");
inline constexpr uint32_t THREAD_ERROR_INVALID_STATE = returnCodeOf("THREAD_ERROR_INVALID_STATE");
inline constexpr uint32_t THREAD_ERROR_POSIX_JOIN_FAILED = returnCodeOf("THREAD_ERROR_POSIX_JOIN_FAILED");

inline constexpr uint32_t DIRECTORY_ERROR_BAD_PARAMETER = returnCodeOf("DIRECTORY_ERROR_BAD_PARAMETER");
inline constexpr uint32_t DIRECTORY_ERROR_UNEXPECTED = returnCodeOf("DIRECTORY_ERROR_UNEXPECTED");
inline constexpr uint32_t DIRECTORY_ERROR_DIRECTORY_NOT_SPECIFIED =
    returnCodeOf("DIRECTORY_ERROR_DIRECTORY_NOT_SPECIFIED");
inline constexpr uint32_t DIRECTORY_ERROR_DIRECTORY_NOT_FOUND =
    returnCodeOf("DIRECTORY_ERROR_DIRECTORY_NOT_FOUND");
inline constexpr uint32_t DIRECTORY_ERROR_NO_MORE_FILES = returnCodeOf("DIRECTORY_ERROR_NO_MORE_FILES");
inline constexpr uint32_t DIRECTORY_ERROR_FAILED_TO_CREATE_DIR =
    returnCodeOf("DIRECTORY_ERROR_FAILED_TO_CREATE_DIR");
inline constexpr uint32_t DIRECTORY_ERROR_DIRECTORY_ALREADY_EXISTS =
    returnCodeOf("DIRECTORY_ERROR_DIRECTORY_ALREADY_EXISTS");

inline constexpr uint32_t EVENTLIST_ERROR_BAD_PARAMETER = returnCodeOf("EVENTLIST_ERROR_BAD_PARAMETER");
inline constexpr uint32_t EVENTLIST_ERROR_MEMALLOC_FAILED = returnCodeOf("EVENTLIST_ERROR_MEMALLOC_FAILED");
inline constexpr uint32_t EVENTLIST_ERROR_NULL_POINTER = returnCodeOf("EVENTLIST_ERROR_NULL_POINTER");
inline constexpr uint32_t EVENTLIST_ERROR_LIMIT_EXCEEDED = returnCodeOf("EVENTLIST_ERROR_LIMIT_EXCEEDED");
inline constexpr uint32_t EVENTLIST_ERROR_EVENT_NOT_FOUND = returnCodeOf("EVENTLIST_ERROR_EVENT_NOT_FOUND");
inline constexpr uint32_t EVENTLIST_ERROR_BAD_EVENT_PIPE = returnCodeOf("EVENTLIST_ERROR_BAD_EVENT_PIPE");
inline constexpr uint32_t EVENTLIST_ERROR_BAD_EVENT_HANDLE_TYPE =
    returnCodeOf("EVENTLIST_ERROR_BAD_EVENT_HANDLE_TYPE");

inline constexpr uint32_t CSTORAGEPATH_ERROR_NO_INSTANCE = returnCodeOf("CSTORAGEPATH_ERROR_NO_INSTANCE");
inline constexpr uint32_t CSTORAGEPATH_ERROR_TEMPPATH_TOO_BIG =
    returnCodeOf("CSTORAGEPATH_ERROR_TEMPPATH_TOO_BIG");

inline constexpr uint32_t MEROENGINE_ERROR_NOT_IMPLEMENTED = returnCodeOf("MEROENGINE_ERROR_NOT_IMPLEMENTED");
inline constexpr uint32_t MEROENGINE_ERROR_BAD_PARAMETER = returnCodeOf("MEROENGINE_ERROR_BAD_PARAMETER");
inline constexpr uint32_t MEROENGINE_ERROR_NULL_POINTER = returnCodeOf("MEROENGINE_ERROR_NULL_POINTER");
inline constexpr uint32_t MEROENGINE_ERROR_NOT_INITIALIZED = returnCodeOf("MEROENGINE_ERROR_NOT_INITIALIZED");
inline constexpr uint32_t MEROENGINE_ERROR_UNEXPECTED = returnCodeOf("MEROENGINE_ERROR_UNEXPECTED");
inline constexpr uint32_t MEROENGINE_ERROR_INTERNAL = returnCodeOf("MEROENGINE_ERROR_INTERNAL");
inline constexpr uint32_t MEROENGINE_ERROR_WRITE_FAILURE = returnCodeOf("MEROENGINE_ERROR_WRITE_FAILURE");
inline constexpr uint32_t MEROENGINE_ERROR_FILE_NOT_FOUND = returnCodeOf("MEROENGINE_ERROR_FILE_NOT_FOUND");
inline constexpr uint32_t MEROENGINE_ERROR_FILE_OPEN_FAILURE =
    returnCodeOf("MEROENGINE_ERROR_FILE_OPEN_FAILURE");
inline constexpr uint32_t MEROENGINE_ERROR_ACCESS_DENIED = returnCodeOf("MEROENGINE_ERROR_ACCESS_DENIED");
inline constexpr uint32_t MEROENGINE_ERROR_NULL_XML_ROOT = returnCodeOf("MEROENGINE_ERROR_NULL_XML_ROOT");
inline constexpr uint32_t MEROENGINE_ERROR_NULL_XML_CHILD = returnCodeOf("MEROENGINE_ERROR_NULL_XML_CHILD");
inline constexpr uint32_t MEROENGINE_ERROR_INVALID_XML = returnCodeOf("MEROENGINE_ERROR_INVALID_XML");
inline constexpr uint32_t MEROENGINE_ERROR_UNKNOWN_XML_TAG = returnCodeOf("MEROENGINE_ERROR_UNKNOWN_XML_TAG");
inline constexpr uint32_t MEROENGINE_ERROR_ACTION_CANCELED_BY_USER =
    returnCodeOf("MEROENGINE_ERROR_ACTION_CANCELED_BY_USER");
inline constexpr uint32_t MEROENGINE_ERROR_EXTERN_ACTION_TIMEOUT =
    returnCodeOf("MEROENGINE_ERROR_EXTERN_ACTION_TIMEOUT");
/// The bundle stands at its target, but files could not be packed into it.
inline constexpr uint32_t MEROENGINE_ERROR_BUNDLE_INCOMPLETE =
    returnCodeOf("MEROENGINE_ERROR_BUNDLE_INCOMPLETE");

inline constexpr uint32_t XMLLOCALTLPOLMGR_ERROR_ALREADY_INITIALIZED =
    returnCodeOf("XMLLOCALTLPOLMGR_ERROR_ALREADY_INITIALIZED");

/// Status values, whatever their names say: a step is under way, the scan has ended, the request is written.
inline constexpr uint32_t MEROOFFLINE_ERROR_PROCESSING = returnCodeOf("MEROOFFLINE_ERROR_PROCESSING");
inline constexpr uint32_t MEROOFFLINE_ERROR_XML_CONFIG_PARSE_SUCCESS =
    returnCodeOf("MEROOFFLINE_ERROR_XML_CONFIG_PARSE_SUCCESS");
inline constexpr uint32_t MEROOFFLINE_ERROR_XML_REQUEST_GENERATE_SUCCESS =
    returnCodeOf("MEROOFFLINE_ERROR_XML_REQUEST_GENERATE_SUCCESS");

/// One module's rows in the return-code table.
struct ReturnCodeModule {
    uint32_t rowCount;
    const char* const* rows;
};

/// Number of slots of the return-code table. A code's module field has eight bits, so the slots
/// from 256 on cannot be reached; the bound stays 265 all the same, because all programs of the
/// suite share the numbering.
inline constexpr uint32_t kReturnCodeModuleCount = 265;

/// The table of kReturnCodeModuleCount slots, indexed by module number. Slots of other programs are empty.
[[nodiscard]] const ReturnCodeModule* getReturnCodeTable();

/// The text of a code in `table`, the whole row "NAME" or "NAME:text", or null.
/// Null for a code below 0xFE000000, an unset or empty table, a module that the table lacks or whose
/// slot is empty. A row index beyond the module's rows, or a row left out, gives the module's last row.
/// The text is static.
[[nodiscard]] const char* getReturnCodeDescription(uint32_t returnCode, const ReturnCodeModule* table,
                                                   uint32_t moduleCount);

/// The same over the system's own table.
[[nodiscard]] const char* getReturnCodeDescription(uint32_t returnCode);
