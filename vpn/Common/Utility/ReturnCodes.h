#pragma once

#include <cstdint>

/// Return codes of the suite: 0 is success, a coded failure is 0xFE000000 + module * 0x10000 + row.
/// Only the codes that this system returns or tests have a name here; the table behind
/// getReturnCodeDescription has the text of every row of the modules in use.

inline constexpr uint32_t GLOBAL_ERROR_BAD_PARAMETER = 0xFE000002;
inline constexpr uint32_t GLOBAL_ERROR_BAD_HANDLE = 0xFE000003;
inline constexpr uint32_t GLOBAL_ERROR_NULL_POINTER = 0xFE000005;
inline constexpr uint32_t GLOBAL_ERROR_NOT_INITIALIZED = 0xFE000007;
inline constexpr uint32_t GLOBAL_ERROR_UNEXPECTED = 0xFE000009;
inline constexpr uint32_t GLOBAL_ERROR_NO_INSTANCE = 0xFE00000A;

inline constexpr uint32_t EVENT_ERROR_BAD_PARAMETER = 0xFE010002;
inline constexpr uint32_t EVENT_ERROR_NOT_INITIALIZED = 0xFE010007;
inline constexpr uint32_t EVENT_ERROR_NO_CALLBACK = 0xFE01000A;
inline constexpr uint32_t EVENT_ERROR_EVENT_IS_ALREADY_ON_A_LIST = 0xFE01000B;
inline constexpr uint32_t EVENT_ERROR_WAIT_TIMEOUT = 0xFE01000C;
inline constexpr uint32_t EVENT_ERROR_WAIT_FAILED = 0xFE01000D;
inline constexpr uint32_t EVENT_ERROR_CREATE_FAILED = 0xFE01000F;
inline constexpr uint32_t EVENT_ERROR_SET_FAILED = 0xFE010010;
inline constexpr uint32_t EVENT_ERROR_RESET_FAILED = 0xFE010011;
inline constexpr uint32_t EVENT_ERROR_EVENT_TYPE_INVALID_FOR_LISTS = 0xFE010012;

inline constexpr uint32_t PROCESS_API_ERROR_BAD_PARAMETER = 0xFE2B0002;
inline constexpr uint32_t PROCESS_API_ERROR_BAD_HANDLE = 0xFE2B0003;
inline constexpr uint32_t PROCESS_API_ERROR_UNEXPECTED = 0xFE2B0009;
inline constexpr uint32_t PROCESS_API_ERROR_NOTRUNNING = 0xFE2B000A;
inline constexpr uint32_t PROCESS_API_ERROR_NO_USER_TOKEN = 0xFE2B0026;
inline constexpr uint32_t PROCESS_API_ERROR_GET_THREAD_PRIORITY_FAILED = 0xFE2B002A;
inline constexpr uint32_t PROCESS_API_ERROR_SET_THREAD_PRIORITY_FAILED = 0xFE2B002B;
inline constexpr uint32_t PROCESS_API_ERROR_WAIT_INTERRUPTED = 0xFE2B002C;
inline constexpr uint32_t PROCESS_API_ERROR_WAIT_TIMEOUT = 0xFE2B002D;
inline constexpr uint32_t PROCESS_API_ERROR_PROCESS_NOT_FOUND = 0xFE2B0035;
inline constexpr uint32_t PROCESS_API_ERROR_UNKNOWN = 0xFE2B003A;

inline constexpr uint32_t THREAD_ERROR_NOT_IMPLEMENTED = 0xFE340001;
inline constexpr uint32_t THREAD_ERROR_BAD_PARAMETER = 0xFE340002;
inline constexpr uint32_t THREAD_ERROR_UNEXPECTED = 0xFE340009;
inline constexpr uint32_t THREAD_ERROR_CREATE_FAILED = 0xFE34000A;
inline constexpr uint32_t THREAD_ERROR_INVALID_STACK_SIZE = 0xFE34000B;
inline constexpr uint32_t THREAD_ERROR_INVALID_CALLER = 0xFE34000C;
inline constexpr uint32_t THREAD_ERROR_INVALID_STATE = 0xFE34000D;
inline constexpr uint32_t THREAD_ERROR_POSIX_JOIN_FAILED = 0xFE34000E;

inline constexpr uint32_t DIRECTORY_ERROR_BAD_PARAMETER = 0xFE580002;
inline constexpr uint32_t DIRECTORY_ERROR_UNEXPECTED = 0xFE580009;
inline constexpr uint32_t DIRECTORY_ERROR_DIRECTORY_NOT_SPECIFIED = 0xFE58000A;
inline constexpr uint32_t DIRECTORY_ERROR_DIRECTORY_NOT_FOUND = 0xFE58000B;
inline constexpr uint32_t DIRECTORY_ERROR_NO_MORE_FILES = 0xFE58000C;
inline constexpr uint32_t DIRECTORY_ERROR_FAILED_TO_CREATE_DIR = 0xFE58000D;
inline constexpr uint32_t DIRECTORY_ERROR_DIRECTORY_ALREADY_EXISTS = 0xFE58000E;

inline constexpr uint32_t EVENTLIST_ERROR_BAD_PARAMETER = 0xFE8C0002;
inline constexpr uint32_t EVENTLIST_ERROR_MEMALLOC_FAILED = 0xFE8C0004;
inline constexpr uint32_t EVENTLIST_ERROR_NULL_POINTER = 0xFE8C0005;
inline constexpr uint32_t EVENTLIST_ERROR_LIMIT_EXCEEDED = 0xFE8C000A;
inline constexpr uint32_t EVENTLIST_ERROR_EVENT_NOT_FOUND = 0xFE8C000B;
inline constexpr uint32_t EVENTLIST_ERROR_BAD_EVENT_PIPE = 0xFE8C000C;
inline constexpr uint32_t EVENTLIST_ERROR_BAD_EVENT_HANDLE_TYPE = 0xFE8C000D;

inline constexpr uint32_t CSTORAGEPATH_ERROR_NO_INSTANCE = 0xFE9E000A;
inline constexpr uint32_t CSTORAGEPATH_ERROR_TEMPPATH_TOO_BIG = 0xFE9E000C;

inline constexpr uint32_t MEROENGINE_ERROR_NOT_IMPLEMENTED = 0xFEB00001;
inline constexpr uint32_t MEROENGINE_ERROR_BAD_PARAMETER = 0xFEB00002;
inline constexpr uint32_t MEROENGINE_ERROR_NULL_POINTER = 0xFEB00005;
inline constexpr uint32_t MEROENGINE_ERROR_NOT_INITIALIZED = 0xFEB00007;
inline constexpr uint32_t MEROENGINE_ERROR_UNEXPECTED = 0xFEB00009;
inline constexpr uint32_t MEROENGINE_ERROR_INTERNAL = 0xFEB0000A;
inline constexpr uint32_t MEROENGINE_ERROR_WRITE_FAILURE = 0xFEB0000B;
inline constexpr uint32_t MEROENGINE_ERROR_FILE_NOT_FOUND = 0xFEB0000C;
inline constexpr uint32_t MEROENGINE_ERROR_FILE_OPEN_FAILURE = 0xFEB0000D;
inline constexpr uint32_t MEROENGINE_ERROR_ACCESS_DENIED = 0xFEB0000E;
inline constexpr uint32_t MEROENGINE_ERROR_NULL_XML_ROOT = 0xFEB0000F;
inline constexpr uint32_t MEROENGINE_ERROR_NULL_XML_CHILD = 0xFEB00010;
inline constexpr uint32_t MEROENGINE_ERROR_INVALID_XML = 0xFEB00011;
inline constexpr uint32_t MEROENGINE_ERROR_UNKNOWN_XML_TAG = 0xFEB00012;
inline constexpr uint32_t MEROENGINE_ERROR_ACTION_CANCELED_BY_USER = 0xFEB00013;
inline constexpr uint32_t MEROENGINE_ERROR_EXTERN_ACTION_TIMEOUT = 0xFEB00014;
/// The bundle stands at its target, but files could not be packed into it.
inline constexpr uint32_t MEROENGINE_ERROR_BUNDLE_INCOMPLETE = 0xFEB00016;

inline constexpr uint32_t XMLLOCALTLPOLMGR_ERROR_ALREADY_INITIALIZED = 0xFEB60008;

/// Status values, whatever their names say: a step is under way, the scan has ended, the request is written.
inline constexpr uint32_t MEROOFFLINE_ERROR_PROCESSING = 0xFEB1000B;
inline constexpr uint32_t MEROOFFLINE_ERROR_XML_CONFIG_PARSE_SUCCESS = 0xFEB1000C;
inline constexpr uint32_t MEROOFFLINE_ERROR_XML_REQUEST_GENERATE_SUCCESS = 0xFEB1000D;

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
