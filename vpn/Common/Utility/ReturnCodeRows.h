#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string_view>

/// What each return code is: its module, its row in it, its name and its text, each written here and nowhere
/// else. The constants of ReturnCodes.h and the table behind getReturnCodeDescription are made of these rows.
namespace returnCodes {

inline constexpr uint32_t kFirstCode = 0xFE000000;

/// The rows that every module starts with, by their names behind the module's and "_".
inline constexpr std::array<std::string_view, 10> kCommonRows = {
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

/// A row of one module only.
struct Row {
    uint32_t number;
    /// A literal: "NAME", or "NAME:text" for a log line to show as a whole.
    std::string_view text;
};

/// One module: the common rows, and its own from there on in ascending order. The last one is the text of
/// what the module doesn't know; a row that this system never meets may be missing.
template <std::size_t Count> struct Module {
    std::string_view name;
    uint32_t number;
    std::array<Row, Count> ownRows;

    /// The code of the first row with that whole name; 0 if there is none.
    [[nodiscard]] constexpr uint32_t codeOf(std::string_view rowName) const {
        if (rowName.size() <= name.size() || rowName[name.size()] != '_' || !rowName.starts_with(name)) {
            return 0;
        }
        const uint32_t firstCode = kFirstCode + number * 0x10000;
        const std::string_view commonName = rowName.substr(name.size() + 1);
        for (uint32_t row = 0; row < kCommonRows.size(); ++row) {
            if (commonName == kCommonRows[row]) {
                return firstCode + row;
            }
        }
        for (const Row& row : ownRows) {
            const std::size_t size = rowName.size();
            const bool maybe = row.text.size() == size || (row.text.size() > size && row.text[size] == ':');
            if (maybe && row.text.starts_with(rowName)) {
                return firstCode + row.number;
            }
        }
        return 0;
    }

    /// How many rows there are, those left out included.
    [[nodiscard]] constexpr uint32_t rowCount() const { return ownRows.back().number + 1; }

    /// Whether the rows stand in order, each under a name of the module's.
    [[nodiscard]] constexpr bool isInOrder() const {
        std::size_t least = kCommonRows.size();
        for (const Row& row : ownRows) {
            if (row.number < least || !row.text.starts_with(name) ||
                !row.text.substr(name.size()).starts_with("_ERROR_")) {
                return false;
            }
            least = row.number + 1;
        }
        return true;
    }
};

template <std::size_t Count> Module(const char*, uint32_t, std::array<Row, Count>) -> Module<Count>;

inline constexpr Module kGlobal{
    "GLOBAL", 0x00,
    std::to_array<Row>({
        {0x0A, "GLOBAL_ERROR_NO_INSTANCE"},
        {0x0C, "GLOBAL_ERROR_RESOURCE_NOT_ALLOCATED:Attempt to free an unheld resource."},
        {0x0D, "GLOBAL_ERROR_RESOURCE_NOT_AVAILABLE:Attempt to allocate or free a resource"},
        {0x0E, "GLOBAL_ERROR_UNKNOWN"},
    })};

inline constexpr Module kEvent{
    "EVENT", 0x01,
    std::to_array<Row>({
        {0x0A, "EVENT_ERROR_NO_CALLBACK:An operation requiring an event callback was attempted on an event "
               "without a callback."},
        {0x0B, "EVENT_ERROR_EVENT_IS_ALREADY_ON_A_LIST:Attempted to place an event on an event list while it "
               "was already on an event list."},
        {0x0C, "EVENT_ERROR_WAIT_TIMEOUT:A wait on an event or a list of events timed out."},
        {0x0D, "EVENT_ERROR_WAIT_FAILED:A wait on an event or a list of events failed."},
        {0x0E, "EVENT_ERROR_DUPLICATE_FAILED:An attempt to duplicate an event's OS handle failed."},
        {0x0F, "EVENT_ERROR_CREATE_FAILED:An attempt to create an event's OS handle failed."},
        {0x10, "EVENT_ERROR_SET_FAILED:An attempt to set an event's signaled state failed."},
        {0x11, "EVENT_ERROR_RESET_FAILED:An attempt to reset an event's signaled state failed."},
        {0x12, "EVENT_ERROR_EVENT_TYPE_INVALID_FOR_LISTS:Attempted to place an event, with an event type "
               "that is not valid for lists, on an event list."},
        {0x13, "EVENT_ERROR_UNKNOWN"},
    })};

inline constexpr Module kProcessApi{"PROCESS_API", 0x2B,
                                    std::to_array<Row>({
                                        {0x0A, "PROCESS_API_ERROR_NOTRUNNING"},
                                        {0x26, "PROCESS_API_ERROR_NO_USER_TOKEN"},
                                        {0x2A, "PROCESS_API_ERROR_GET_THREAD_PRIORITY_FAILED"},
                                        {0x2B, "PROCESS_API_ERROR_SET_THREAD_PRIORITY_FAILED"},
                                        {0x2C, "PROCESS_API_ERROR_WAIT_INTERRUPTED"},
                                        {0x2D, "PROCESS_API_ERROR_WAIT_TIMEOUT"},
                                        {0x35, "PROCESS_API_ERROR_PROCESS_NOT_FOUND"},
                                        {0x3A, "PROCESS_API_ERROR_UNKNOWN"},
                                    })};

inline constexpr Module kThread{"THREAD", 0x34,
                                std::to_array<Row>({
                                    {0x0A, "THREAD_ERROR_CREATE_FAILED"},
                                    {0x0B, "THREAD_ERROR_INVALID_STACK_SIZE"},
                                    {0x0C, "THREAD_ERROR_INVALID_CALLER"},
                                    {0x0D, "THREAD_ERROR_INVALID_STATE"},
                                    {0x0E, "THREAD_ERROR_POSIX_JOIN_FAILED"},
                                    {0x0F, "THREAD_ERROR_WIN_GET_EXIT_CODE_THREAD_FAILED"},
                                    {0x10, "THREAD_ERROR_WIN_WAIT_FAILED"},
                                    {0x11, "THREAD_ERROR_WIN_WAIT_TIMEOUT"},
                                    {0x12, "THREAD_ERROR_COM_INIT_FAILED"},
                                    {0x13, "THREAD_ERROR_UNKNOWN"},
                                })};

inline constexpr Module kDirectory{"DIRECTORY", 0x58,
                                   std::to_array<Row>({
                                       {0x0A, "DIRECTORY_ERROR_DIRECTORY_NOT_SPECIFIED"},
                                       {0x0B, "DIRECTORY_ERROR_DIRECTORY_NOT_FOUND"},
                                       {0x0C, "DIRECTORY_ERROR_NO_MORE_FILES"},
                                       {0x0D, "DIRECTORY_ERROR_FAILED_TO_CREATE_DIR"},
                                       {0x0E, "DIRECTORY_ERROR_DIRECTORY_ALREADY_EXISTS"},
                                       {0x0F, "DIRECTORY_ERROR_UNKNOWN"},
                                   })};

inline constexpr Module kEventList{
    "EVENTLIST", 0x8C,
    std::to_array<Row>({
        {0x0A, "EVENTLIST_ERROR_LIMIT_EXCEEDED:The maximum number of events an event list can support has "
               "been exceeded."},
        {0x0B, "EVENTLIST_ERROR_EVENT_NOT_FOUND:A list was searched for a specific event and was not found."},
        {0x0C, "EVENTLIST_ERROR_BAD_EVENT_PIPE:The event's data structure does not contain a valid OS pipe "
               "handle."},
        {0x0D, "EVENTLIST_ERROR_BAD_EVENT_HANDLE_TYPE:The event's data structure does not contain a valid OS "
               "handle type specifier."},
        {0x0E, "EVENTLIST_ERROR_UNKNOWN"},
    })};

inline constexpr Module kStoragePath{"CSTORAGEPATH", 0x9E,
                                     std::to_array<Row>({
                                         {0x0A, "CSTORAGEPATH_ERROR_NO_INSTANCE"},
                                         {0x0B, "CSTORAGEPATH_ERROR_GETTEMPPATH_FAILED"},
                                         {0x0C, "CSTORAGEPATH_ERROR_TEMPPATH_TOO_BIG"},
                                         {0x0D, "CSTORAGEPATH_ERROR_UNKNOWN"},
                                     })};

inline constexpr Module kMeroEngine{
    "MEROENGINE", 0xB0,
    std::to_array<Row>({
        {0x0A, "MEROENGINE_ERROR_INTERNAL:Error: MERO encountered an unspecified internal error"},
        {0x0B, "MEROENGINE_ERROR_WRITE_FAILURE:Error: Failed to write to file"},
        {0x0C, "MEROENGINE_ERROR_FILE_NOT_FOUND:Error: File not found"},
        {0x0D, "MEROENGINE_ERROR_FILE_OPEN_FAILURE:Error: File could not be opened"},
        {0x0E, "MEROENGINE_ERROR_ACCESS_DENIED:Error: Access denied"},
        {0x0F, "MEROENGINE_ERROR_NULL_XML_ROOT:Error: XML configuration tree root is NULL"},
        {0x10, "MEROENGINE_ERROR_NULL_XML_CHILD:Error: XML configuration tree child is NULL"},
        {0x11, "MEROENGINE_ERROR_INVALID_XML:Error: Encountered invalid XML configuration tree"},
        {0x12, "MEROENGINE_ERROR_UNKNOWN_XML_TAG:Error: Encountered unknown XML configuration tag"},
        {0x13, "MEROENGINE_ERROR_ACTION_CANCELED_BY_USER:Notice: Action canceled by user"},
        {0x14, "MEROENGINE_ERROR_EXTERN_ACTION_TIMEOUT:Error: Binary executable took too long to finish."},
        {0x15, "MEROENGINE_ERROR_UNKNOWN"},
        {0x16, "MEROENGINE_ERROR_BUNDLE_INCOMPLETE:Warning: Files could not be packed into the bundle"},
        // No code moves for the text of what is unknown, so it comes again behind a later code.
        {0x17, "MEROENGINE_ERROR_UNKNOWN"},
    })};

inline constexpr Module kMeroOffline{
    "MEROOFFLINE", 0xB1,
    std::to_array<Row>({
        {0x0A, "MEROOFFLINE_ERROR_INTERNAL:Error: MERO GUI encounted an unspecified internal error"},
        {0x0B, "MEROOFFLINE_ERROR_PROCESSING:Notice: MERO GUI is processing..."},
        {0x0C, "MEROOFFLINE_ERROR_XML_CONFIG_PARSE_SUCCESS:Notice: Successfully parsed XML configuration"},
        {0x0D, "MEROOFFLINE_ERROR_XML_REQUEST_GENERATE_SUCCESS:Notice: Successfully generated request XML"},
        {0x0E, "MEROOFFLINE_ERROR_UNKNOWN"},
    })};

inline constexpr Module kXmlLocalTLPolMgr{"XMLLOCALTLPOLMGR", 0xB6,
                                          std::to_array<Row>({
                                              {0x0A, "XMLLOCALTLPOLMGR_ERROR_NO_INSTANCE"},
                                              {0x0B, "XMLLOCALTLPOLMGR_ERROR_UNKNOWN"},
                                          })};

template <const auto&... Modules> struct ModuleList {};
using AllModules = ModuleList<kGlobal, kEvent, kProcessApi, kThread, kDirectory, kEventList, kStoragePath,
                              kMeroEngine, kMeroOffline, kXmlLocalTLPolMgr>;

template <const auto&... Modules>
constexpr uint32_t codeIn(ModuleList<Modules...> /*all*/, std::string_view name) {
    return std::max({Modules.codeOf(name)...});
}

} // namespace returnCodes

/// The code of the row with that whole name, for a constant: a name without a row doesn't compile.
constexpr uint32_t returnCodeOf(std::string_view name) {
    const uint32_t code = returnCodes::codeIn(returnCodes::AllModules(), name);
    return code != 0 ? code : throw std::invalid_argument("no row has that name");
}
