#include "Common/Utility/ReturnCodes.h"

#include <array>
#include <gtest/gtest.h>
#include <set>
#include <string>

namespace {

struct Module {
    const char* name;
    uint32_t number;
    uint32_t rowCount;
};

constexpr std::array kModules = {
    Module{"GLOBAL", 0x00, 15},           Module{"EVENT", 0x01, 20},      Module{"PROCESS_API", 0x2B, 59},
    Module{"THREAD", 0x34, 20},           Module{"DIRECTORY", 0x58, 16},  Module{"EVENTLIST", 0x8C, 15},
    Module{"CSTORAGEPATH", 0x9E, 14},     Module{"MEROENGINE", 0xB0, 24}, Module{"MEROOFFLINE", 0xB1, 15},
    Module{"XMLLOCALTLPOLMGR", 0xB6, 12},
};

/// The rows that every module starts with.
constexpr std::array kCommonRows = {
    "SUCCESS",
    "ERROR_NOT_IMPLEMENTED",
    "ERROR_BAD_PARAMETER",
    "ERROR_BAD_HANDLE",
    "ERROR_MEMALLOC_FAILED",
    "ERROR_NULL_POINTER",
    "ERROR_INSUFFICIENT_BUFFER",
    "ERROR_NOT_INITIALIZED",
    "ERROR_ALREADY_INITIALIZED",
    "ERROR_UNEXPECTED",
};

struct Row {
    uint32_t code;
    const char* text;
};

constexpr std::array kRows = {
    Row{0xFE000000, "GLOBAL_SUCCESS"},
    Row{0xFE000002, "GLOBAL_ERROR_BAD_PARAMETER"},
    Row{0xFE000003, "GLOBAL_ERROR_BAD_HANDLE"},
    Row{0xFE000005, "GLOBAL_ERROR_NULL_POINTER"},
    Row{0xFE000007, "GLOBAL_ERROR_NOT_INITIALIZED"},
    Row{0xFE000009, "GLOBAL_ERROR_UNEXPECTED"},
    Row{0xFE00000A, "GLOBAL_ERROR_NO_INSTANCE"},
    Row{0xFE00000C, "GLOBAL_ERROR_RESOURCE_NOT_ALLOCATED:Attempt to free an unheld resource."},
    Row{0xFE00000D, "GLOBAL_ERROR_RESOURCE_NOT_AVAILABLE:Attempt to allocate or free a resource"},
    Row{0xFE00000E, "GLOBAL_ERROR_UNKNOWN"},
    Row{0xFE010002, "EVENT_ERROR_BAD_PARAMETER"},
    Row{0xFE01000A, "EVENT_ERROR_NO_CALLBACK:An operation requiring an event callback was attempted on an "
                    "event without a callback."},
    Row{0xFE01000B, "EVENT_ERROR_EVENT_IS_ALREADY_ON_A_LIST:Attempted to place an event on an event list "
                    "while it was already on an event list."},
    Row{0xFE01000C, "EVENT_ERROR_WAIT_TIMEOUT:A wait on an event or a list of events timed out."},
    Row{0xFE01000D, "EVENT_ERROR_WAIT_FAILED:A wait on an event or a list of events failed."},
    Row{0xFE01000E, "EVENT_ERROR_DUPLICATE_FAILED:An attempt to duplicate an event's OS handle failed."},
    Row{0xFE01000F, "EVENT_ERROR_CREATE_FAILED:An attempt to create an event's OS handle failed."},
    Row{0xFE010010, "EVENT_ERROR_SET_FAILED:An attempt to set an event's signaled state failed."},
    Row{0xFE010011, "EVENT_ERROR_RESET_FAILED:An attempt to reset an event's signaled state failed."},
    Row{0xFE010012, "EVENT_ERROR_EVENT_TYPE_INVALID_FOR_LISTS:Attempted to place an event, with an event "
                    "type that is not valid for lists, on an event list."},
    Row{0xFE010013, "EVENT_ERROR_UNKNOWN"},
    Row{0xFE2B0002, "PROCESS_API_ERROR_BAD_PARAMETER"},
    Row{0xFE2B0003, "PROCESS_API_ERROR_BAD_HANDLE"},
    Row{0xFE2B0009, "PROCESS_API_ERROR_UNEXPECTED"},
    Row{0xFE2B000A, "PROCESS_API_ERROR_NOTRUNNING"},
    Row{0xFE2B0026, "PROCESS_API_ERROR_NO_USER_TOKEN"},
    Row{0xFE2B002A, "PROCESS_API_ERROR_GET_THREAD_PRIORITY_FAILED"},
    Row{0xFE2B002B, "PROCESS_API_ERROR_SET_THREAD_PRIORITY_FAILED"},
    Row{0xFE2B002C, "PROCESS_API_ERROR_WAIT_INTERRUPTED"},
    Row{0xFE2B002D, "PROCESS_API_ERROR_WAIT_TIMEOUT"},
    Row{0xFE2B0035, "PROCESS_API_ERROR_PROCESS_NOT_FOUND"},
    Row{0xFE2B003A, "PROCESS_API_ERROR_UNKNOWN"},
    Row{0xFE340001, "THREAD_ERROR_NOT_IMPLEMENTED"},
    Row{0xFE340002, "THREAD_ERROR_BAD_PARAMETER"},
    Row{0xFE340009, "THREAD_ERROR_UNEXPECTED"},
    Row{0xFE34000A, "THREAD_ERROR_CREATE_FAILED"},
    Row{0xFE34000B, "THREAD_ERROR_INVALID_STACK_SIZE"},
    Row{0xFE34000C, "THREAD_ERROR_INVALID_CALLER"},
    Row{0xFE34000D, "THREAD_ERROR_INVALID_STATE"},
    Row{0xFE34000E, "THREAD_ERROR_POSIX_JOIN_FAILED"},
    Row{0xFE34000F, "THREAD_ERROR_WIN_GET_EXIT_CODE_THREAD_FAILED"},
    Row{0xFE340010, "THREAD_ERROR_WIN_WAIT_FAILED"},
    Row{0xFE340011, "THREAD_ERROR_WIN_WAIT_TIMEOUT"},
    Row{0xFE340012, "THREAD_ERROR_COM_INIT_FAILED"},
    Row{0xFE340013, "THREAD_ERROR_UNKNOWN"},
    Row{0xFE580002, "DIRECTORY_ERROR_BAD_PARAMETER"},
    Row{0xFE580009, "DIRECTORY_ERROR_UNEXPECTED"},
    Row{0xFE58000A, "DIRECTORY_ERROR_DIRECTORY_NOT_SPECIFIED"},
    Row{0xFE58000B, "DIRECTORY_ERROR_DIRECTORY_NOT_FOUND"},
    Row{0xFE58000C, "DIRECTORY_ERROR_NO_MORE_FILES"},
    Row{0xFE58000D, "DIRECTORY_ERROR_FAILED_TO_CREATE_DIR"},
    Row{0xFE58000E, "DIRECTORY_ERROR_DIRECTORY_ALREADY_EXISTS"},
    Row{0xFE58000F, "DIRECTORY_ERROR_UNKNOWN"},
    Row{0xFE8C0002, "EVENTLIST_ERROR_BAD_PARAMETER"},
    Row{0xFE8C0005, "EVENTLIST_ERROR_NULL_POINTER"},
    Row{0xFE8C000A, "EVENTLIST_ERROR_LIMIT_EXCEEDED:The maximum number of events an event list can support "
                    "has been exceeded."},
    Row{0xFE8C000B,
        "EVENTLIST_ERROR_EVENT_NOT_FOUND:A list was searched for a specific event and was not found."},
    Row{0xFE8C000C,
        "EVENTLIST_ERROR_BAD_EVENT_PIPE:The event's data structure does not contain a valid OS pipe handle."},
    Row{0xFE8C000D, "EVENTLIST_ERROR_BAD_EVENT_HANDLE_TYPE:The event's data structure does not contain a "
                    "valid OS handle type specifier."},
    Row{0xFE8C000E, "EVENTLIST_ERROR_UNKNOWN"},
    Row{0xFE9E000A, "CSTORAGEPATH_ERROR_NO_INSTANCE"},
    Row{0xFE9E000B, "CSTORAGEPATH_ERROR_GETTEMPPATH_FAILED"},
    Row{0xFE9E000C, "CSTORAGEPATH_ERROR_TEMPPATH_TOO_BIG"},
    Row{0xFE9E000D, "CSTORAGEPATH_ERROR_UNKNOWN"},
    Row{0xFEB00001, "MEROENGINE_ERROR_NOT_IMPLEMENTED"},
    Row{0xFEB00002, "MEROENGINE_ERROR_BAD_PARAMETER"},
    Row{0xFEB00005, "MEROENGINE_ERROR_NULL_POINTER"},
    Row{0xFEB00007, "MEROENGINE_ERROR_NOT_INITIALIZED"},
    Row{0xFEB00009, "MEROENGINE_ERROR_UNEXPECTED"},
    Row{0xFEB0000A, "MEROENGINE_ERROR_INTERNAL:Error: MERO encountered an unspecified internal error"},
    Row{0xFEB0000B, "MEROENGINE_ERROR_WRITE_FAILURE:Error: Failed to write to file"},
    Row{0xFEB0000C, "MEROENGINE_ERROR_FILE_NOT_FOUND:Error: File not found"},
    Row{0xFEB0000D, "MEROENGINE_ERROR_FILE_OPEN_FAILURE:Error: File could not be opened"},
    Row{0xFEB0000E, "MEROENGINE_ERROR_ACCESS_DENIED:Error: Access denied"},
    Row{0xFEB0000F, "MEROENGINE_ERROR_NULL_XML_ROOT:Error: XML configuration tree root is NULL"},
    Row{0xFEB00010, "MEROENGINE_ERROR_NULL_XML_CHILD:Error: XML configuration tree child is NULL"},
    Row{0xFEB00011, "MEROENGINE_ERROR_INVALID_XML:Error: Encountered invalid XML configuration tree"},
    Row{0xFEB00012, "MEROENGINE_ERROR_UNKNOWN_XML_TAG:Error: Encountered unknown XML configuration tag"},
    Row{0xFEB00013, "MEROENGINE_ERROR_ACTION_CANCELED_BY_USER:Notice: Action canceled by user"},
    Row{0xFEB00014,
        "MEROENGINE_ERROR_EXTERN_ACTION_TIMEOUT:Error: Binary executable took too long to finish."},
    Row{0xFEB00015, "MEROENGINE_ERROR_UNKNOWN"},
    Row{0xFEB00016, "MEROENGINE_ERROR_BUNDLE_INCOMPLETE:Warning: Files could not be packed into the bundle"},
    Row{0xFEB00017, "MEROENGINE_ERROR_UNKNOWN"},
    Row{0xFEB1000A, "MEROOFFLINE_ERROR_INTERNAL:Error: MERO GUI encounted an unspecified internal error"},
    Row{0xFEB1000B, "MEROOFFLINE_ERROR_PROCESSING:Notice: MERO GUI is processing..."},
    Row{0xFEB1000C,
        "MEROOFFLINE_ERROR_XML_CONFIG_PARSE_SUCCESS:Notice: Successfully parsed XML configuration"},
    Row{0xFEB1000D,
        "MEROOFFLINE_ERROR_XML_REQUEST_GENERATE_SUCCESS:Notice: Successfully generated request XML"},
    Row{0xFEB1000E, "MEROOFFLINE_ERROR_UNKNOWN"},
    Row{0xFEB60008, "XMLLOCALTLPOLMGR_ERROR_ALREADY_INITIALIZED"},
    Row{0xFEB6000A, "XMLLOCALTLPOLMGR_ERROR_NO_INSTANCE"},
    Row{0xFEB6000B, "XMLLOCALTLPOLMGR_ERROR_UNKNOWN"},
};

/// The description, with "null" in words for none.
std::string describe(uint32_t code) {
    const char* const text = getReturnCodeDescription(code);
    return text == nullptr ? "null" : text;
}

uint32_t codeOf(uint32_t module, uint32_t index) {
    return 0xFE000000 + module * 0x10000 + index;
}

TEST(ReturnCodes, NamedRowsHaveTheirTexts) {
    for (const Row& row : kRows) {
        EXPECT_EQ(describe(row.code), row.text) << std::hex << row.code;
    }
}

TEST(ReturnCodes, EveryModuleStartsWithTheCommonRows) {
    for (const Module& module : kModules) {
        for (uint32_t index = 0; index < kCommonRows.size(); ++index) {
            EXPECT_EQ(describe(codeOf(module.number, index)),
                      std::string(module.name) + "_" + kCommonRows[index]);
        }
    }
}

TEST(ReturnCodes, EveryModuleHasItsNumberOfRowsAndEndsInUnknown) {
    for (const Module& module : kModules) {
        const ReturnCodeModule& slot = getReturnCodeTable()[module.number];
        EXPECT_EQ(slot.rowCount, module.rowCount) << module.name;
        EXPECT_EQ(describe(codeOf(module.number, module.rowCount - 1)),
                  std::string(module.name) + "_ERROR_UNKNOWN");
    }
}

TEST(ReturnCodes, IndexBeyondTheRowsGivesTheLastRow) {
    EXPECT_EQ(describe(0xFE34FFFF), "THREAD_ERROR_UNKNOWN");
    for (const Module& module : kModules) {
        EXPECT_EQ(describe(codeOf(module.number, module.rowCount)),
                  std::string(module.name) + "_ERROR_UNKNOWN");
    }
}

TEST(ReturnCodes, RowLeftOutGivesTheLastRow) {
    EXPECT_EQ(getReturnCodeTable()[0x2B].rows[0x0B], nullptr);
    EXPECT_EQ(describe(0xFE2B000B), "PROCESS_API_ERROR_UNKNOWN");
    EXPECT_EQ(describe(0xFE00000B), "GLOBAL_ERROR_UNKNOWN");
}

TEST(ReturnCodes, CanceledByUserDescribesAsItsRow) {
    EXPECT_EQ(describe(0xFEB00013),
              "MEROENGINE_ERROR_ACTION_CANCELED_BY_USER:Notice: Action canceled by user");
}

TEST(ReturnCodes, SlotsOfOtherProgramsAreEmpty) {
    std::set<uint32_t> own;
    for (const Module& module : kModules) {
        own.insert(module.number);
    }
    for (uint32_t number = 0; number < kReturnCodeModuleCount; ++number) {
        if (own.count(number) == 0) {
            EXPECT_EQ(getReturnCodeTable()[number].rowCount, 0U) << number;
            EXPECT_EQ(getReturnCodeTable()[number].rows, nullptr) << number;
        }
    }
    EXPECT_EQ(describe(0xFE7F0002), "null");
    EXPECT_EQ(describe(0xFEFFFFFF), "null");
}

TEST(ReturnCodes, TableHas265Slots) {
    EXPECT_EQ(kReturnCodeModuleCount, 265U);
}

TEST(ReturnCodes, ValuesBelowTheCodedRangeHaveNoText) {
    for (const uint32_t code : {0U, 2U, 0x340002U, 0x00B0000AU, 0xFDFFFFFFU}) {
        EXPECT_EQ(describe(code), "null") << std::hex << code;
    }
    EXPECT_EQ(describe(0xFE000000), "GLOBAL_SUCCESS");
}

TEST(ReturnCodes, TopByteAboveTheMarkIsNotLookedAt) {
    // Only the lower bound is tested.
    EXPECT_EQ(describe(0xFF34000A), "THREAD_ERROR_CREATE_FAILED");
}

TEST(ReturnCodes, UnsetOrEmptyTableHasNoTexts) {
    EXPECT_EQ(getReturnCodeDescription(0xFE000002, nullptr, kReturnCodeModuleCount), nullptr);
    EXPECT_EQ(getReturnCodeDescription(0xFE000002, getReturnCodeTable(), 0), nullptr);
}

TEST(ReturnCodes, ModuleBeyondTheTableHasNoText) {
    EXPECT_EQ(getReturnCodeDescription(0xFE34000A, getReturnCodeTable(), 0x34), nullptr);
    EXPECT_STREQ(getReturnCodeDescription(0xFE34000A, getReturnCodeTable(), 0x35),
                 "THREAD_ERROR_CREATE_FAILED");
}

TEST(ReturnCodes, ModuleWithoutAnyRowHasNoText) {
    const std::array<const char*, 1> rows = {"NEVER_SHOWN"};
    const ReturnCodeModule slot = {0, rows.data()};
    EXPECT_EQ(getReturnCodeDescription(0xFE000000, &slot, 1), nullptr);
}

TEST(ReturnCodes, LastRowLeftOutHasNoText) {
    const std::array<const char*, 2> rows = {"FIRST", nullptr};
    const ReturnCodeModule slot = {2, rows.data()};
    EXPECT_STREQ(getReturnCodeDescription(0xFE000000, &slot, 1), "FIRST");
    EXPECT_EQ(getReturnCodeDescription(0xFE000001, &slot, 1), nullptr);
    EXPECT_EQ(getReturnCodeDescription(0xFE000009, &slot, 1), nullptr);
}

/// A constant of the header beside the name at the start of its row.
struct NamedCode {
    uint32_t code;
    const char* name;
};

TEST(ReturnCodes, ConstantsHaveTheCodesOfTheirRows) {
    constexpr std::array kNamed = {
        NamedCode{GLOBAL_ERROR_BAD_PARAMETER, "GLOBAL_ERROR_BAD_PARAMETER"},
        NamedCode{GLOBAL_ERROR_BAD_HANDLE, "GLOBAL_ERROR_BAD_HANDLE"},
        NamedCode{GLOBAL_ERROR_NULL_POINTER, "GLOBAL_ERROR_NULL_POINTER"},
        NamedCode{GLOBAL_ERROR_NOT_INITIALIZED, "GLOBAL_ERROR_NOT_INITIALIZED"},
        NamedCode{GLOBAL_ERROR_UNEXPECTED, "GLOBAL_ERROR_UNEXPECTED"},
        NamedCode{GLOBAL_ERROR_NO_INSTANCE, "GLOBAL_ERROR_NO_INSTANCE"},
        NamedCode{EVENT_ERROR_BAD_PARAMETER, "EVENT_ERROR_BAD_PARAMETER"},
        NamedCode{EVENT_ERROR_NOT_INITIALIZED, "EVENT_ERROR_NOT_INITIALIZED"},
        NamedCode{EVENT_ERROR_NO_CALLBACK, "EVENT_ERROR_NO_CALLBACK"},
        NamedCode{EVENT_ERROR_EVENT_IS_ALREADY_ON_A_LIST, "EVENT_ERROR_EVENT_IS_ALREADY_ON_A_LIST"},
        NamedCode{EVENT_ERROR_WAIT_TIMEOUT, "EVENT_ERROR_WAIT_TIMEOUT"},
        NamedCode{EVENT_ERROR_WAIT_FAILED, "EVENT_ERROR_WAIT_FAILED"},
        NamedCode{EVENT_ERROR_CREATE_FAILED, "EVENT_ERROR_CREATE_FAILED"},
        NamedCode{EVENT_ERROR_SET_FAILED, "EVENT_ERROR_SET_FAILED"},
        NamedCode{EVENT_ERROR_RESET_FAILED, "EVENT_ERROR_RESET_FAILED"},
        NamedCode{EVENT_ERROR_EVENT_TYPE_INVALID_FOR_LISTS, "EVENT_ERROR_EVENT_TYPE_INVALID_FOR_LISTS"},
        NamedCode{PROCESS_API_ERROR_BAD_PARAMETER, "PROCESS_API_ERROR_BAD_PARAMETER"},
        NamedCode{PROCESS_API_ERROR_BAD_HANDLE, "PROCESS_API_ERROR_BAD_HANDLE"},
        NamedCode{PROCESS_API_ERROR_UNEXPECTED, "PROCESS_API_ERROR_UNEXPECTED"},
        NamedCode{PROCESS_API_ERROR_NOTRUNNING, "PROCESS_API_ERROR_NOTRUNNING"},
        NamedCode{PROCESS_API_ERROR_NO_USER_TOKEN, "PROCESS_API_ERROR_NO_USER_TOKEN"},
        NamedCode{PROCESS_API_ERROR_GET_THREAD_PRIORITY_FAILED,
                  "PROCESS_API_ERROR_GET_THREAD_PRIORITY_FAILED"},
        NamedCode{PROCESS_API_ERROR_SET_THREAD_PRIORITY_FAILED,
                  "PROCESS_API_ERROR_SET_THREAD_PRIORITY_FAILED"},
        NamedCode{PROCESS_API_ERROR_WAIT_INTERRUPTED, "PROCESS_API_ERROR_WAIT_INTERRUPTED"},
        NamedCode{PROCESS_API_ERROR_WAIT_TIMEOUT, "PROCESS_API_ERROR_WAIT_TIMEOUT"},
        NamedCode{PROCESS_API_ERROR_PROCESS_NOT_FOUND, "PROCESS_API_ERROR_PROCESS_NOT_FOUND"},
        NamedCode{PROCESS_API_ERROR_UNKNOWN, "PROCESS_API_ERROR_UNKNOWN"},
        NamedCode{EVENTLIST_ERROR_BAD_PARAMETER, "EVENTLIST_ERROR_BAD_PARAMETER"},
        NamedCode{EVENTLIST_ERROR_MEMALLOC_FAILED, "EVENTLIST_ERROR_MEMALLOC_FAILED"},
        NamedCode{EVENTLIST_ERROR_NULL_POINTER, "EVENTLIST_ERROR_NULL_POINTER"},
        NamedCode{EVENTLIST_ERROR_LIMIT_EXCEEDED, "EVENTLIST_ERROR_LIMIT_EXCEEDED"},
        NamedCode{EVENTLIST_ERROR_EVENT_NOT_FOUND, "EVENTLIST_ERROR_EVENT_NOT_FOUND"},
        NamedCode{EVENTLIST_ERROR_BAD_EVENT_PIPE, "EVENTLIST_ERROR_BAD_EVENT_PIPE"},
        NamedCode{EVENTLIST_ERROR_BAD_EVENT_HANDLE_TYPE, "EVENTLIST_ERROR_BAD_EVENT_HANDLE_TYPE"},
        NamedCode{THREAD_ERROR_NOT_IMPLEMENTED, "THREAD_ERROR_NOT_IMPLEMENTED"},
        NamedCode{THREAD_ERROR_BAD_PARAMETER, "THREAD_ERROR_BAD_PARAMETER"},
        NamedCode{THREAD_ERROR_UNEXPECTED, "THREAD_ERROR_UNEXPECTED"},
        NamedCode{THREAD_ERROR_CREATE_FAILED, "THREAD_ERROR_CREATE_FAILED"},
        NamedCode{THREAD_ERROR_INVALID_STACK_SIZE, "THREAD_ERROR_INVALID_STACK_SIZE"},
        NamedCode{THREAD_ERROR_INVALID_CALLER, "THREAD_ERROR_INVALID_CALLER"},
        NamedCode{THREAD_ERROR_INVALID_STATE, "THREAD_ERROR_INVALID_STATE"},
        NamedCode{THREAD_ERROR_POSIX_JOIN_FAILED, "THREAD_ERROR_POSIX_JOIN_FAILED"},
        NamedCode{DIRECTORY_ERROR_BAD_PARAMETER, "DIRECTORY_ERROR_BAD_PARAMETER"},
        NamedCode{DIRECTORY_ERROR_UNEXPECTED, "DIRECTORY_ERROR_UNEXPECTED"},
        NamedCode{DIRECTORY_ERROR_DIRECTORY_NOT_SPECIFIED, "DIRECTORY_ERROR_DIRECTORY_NOT_SPECIFIED"},
        NamedCode{DIRECTORY_ERROR_DIRECTORY_NOT_FOUND, "DIRECTORY_ERROR_DIRECTORY_NOT_FOUND"},
        NamedCode{DIRECTORY_ERROR_NO_MORE_FILES, "DIRECTORY_ERROR_NO_MORE_FILES"},
        NamedCode{DIRECTORY_ERROR_FAILED_TO_CREATE_DIR, "DIRECTORY_ERROR_FAILED_TO_CREATE_DIR"},
        NamedCode{DIRECTORY_ERROR_DIRECTORY_ALREADY_EXISTS, "DIRECTORY_ERROR_DIRECTORY_ALREADY_EXISTS"},
        NamedCode{CSTORAGEPATH_ERROR_NO_INSTANCE, "CSTORAGEPATH_ERROR_NO_INSTANCE"},
        NamedCode{CSTORAGEPATH_ERROR_TEMPPATH_TOO_BIG, "CSTORAGEPATH_ERROR_TEMPPATH_TOO_BIG"},
        NamedCode{MEROENGINE_ERROR_NOT_IMPLEMENTED, "MEROENGINE_ERROR_NOT_IMPLEMENTED"},
        NamedCode{MEROENGINE_ERROR_BAD_PARAMETER, "MEROENGINE_ERROR_BAD_PARAMETER"},
        NamedCode{MEROENGINE_ERROR_NULL_POINTER, "MEROENGINE_ERROR_NULL_POINTER"},
        NamedCode{MEROENGINE_ERROR_NOT_INITIALIZED, "MEROENGINE_ERROR_NOT_INITIALIZED"},
        NamedCode{MEROENGINE_ERROR_UNEXPECTED, "MEROENGINE_ERROR_UNEXPECTED"},
        NamedCode{MEROENGINE_ERROR_INTERNAL, "MEROENGINE_ERROR_INTERNAL"},
        NamedCode{MEROENGINE_ERROR_WRITE_FAILURE, "MEROENGINE_ERROR_WRITE_FAILURE"},
        NamedCode{MEROENGINE_ERROR_FILE_NOT_FOUND, "MEROENGINE_ERROR_FILE_NOT_FOUND"},
        NamedCode{MEROENGINE_ERROR_FILE_OPEN_FAILURE, "MEROENGINE_ERROR_FILE_OPEN_FAILURE"},
        NamedCode{MEROENGINE_ERROR_ACCESS_DENIED, "MEROENGINE_ERROR_ACCESS_DENIED"},
        NamedCode{MEROENGINE_ERROR_NULL_XML_ROOT, "MEROENGINE_ERROR_NULL_XML_ROOT"},
        NamedCode{MEROENGINE_ERROR_NULL_XML_CHILD, "MEROENGINE_ERROR_NULL_XML_CHILD"},
        NamedCode{MEROENGINE_ERROR_INVALID_XML, "MEROENGINE_ERROR_INVALID_XML"},
        NamedCode{MEROENGINE_ERROR_UNKNOWN_XML_TAG, "MEROENGINE_ERROR_UNKNOWN_XML_TAG"},
        NamedCode{MEROENGINE_ERROR_ACTION_CANCELED_BY_USER, "MEROENGINE_ERROR_ACTION_CANCELED_BY_USER"},
        NamedCode{MEROENGINE_ERROR_EXTERN_ACTION_TIMEOUT, "MEROENGINE_ERROR_EXTERN_ACTION_TIMEOUT"},
        NamedCode{MEROENGINE_ERROR_BUNDLE_INCOMPLETE, "MEROENGINE_ERROR_BUNDLE_INCOMPLETE"},
        NamedCode{MEROOFFLINE_ERROR_PROCESSING, "MEROOFFLINE_ERROR_PROCESSING"},
        NamedCode{MEROOFFLINE_ERROR_XML_CONFIG_PARSE_SUCCESS, "MEROOFFLINE_ERROR_XML_CONFIG_PARSE_SUCCESS"},
        NamedCode{MEROOFFLINE_ERROR_XML_REQUEST_GENERATE_SUCCESS,
                  "MEROOFFLINE_ERROR_XML_REQUEST_GENERATE_SUCCESS"},
        NamedCode{XMLLOCALTLPOLMGR_ERROR_ALREADY_INITIALIZED, "XMLLOCALTLPOLMGR_ERROR_ALREADY_INITIALIZED"},
    };
    for (const NamedCode& named : kNamed) {
        const std::string text = describe(named.code);
        EXPECT_EQ(text.substr(0, text.find(':')), named.name);
    }
}

} // namespace
