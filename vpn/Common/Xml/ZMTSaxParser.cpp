#include "Common/Xml/ZMTSaxParser.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/memory/WipedString.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Utility/text/BoundedString.h"
#include "Common/Utility/text/WhiteSpace.h"
#include "Common/Xml/DocumentSource.h"
#include "Common/Xml/XmlHandles.h"

#include <climits>
#include <cstdarg>
#include <exception>
#include <string_view>

namespace {

/// Longer messages are cut, as every log line is.
constexpr std::size_t kMessageBytes = 2048;
constexpr std::string_view kBlanks = " \n\r\t";

/// libxml2's characters as ours; null as the empty text.
[[nodiscard]] std::string_view textOf(const xmlChar* text) {
    return text == nullptr ? std::string_view() : reinterpret_cast<const char*>(text);
}

/// Ends a parse from within a callback, with a failure as its result.
void stopParser(xmlParserCtxt* parser) {
    xmlStopParser(parser);
    // Stopping alone would leave the document well-formed so far.
    parser->wellFormed = 0;
}

/// Hands an event to the context's manager. No exception passes on into libxml2's frames: one that arises
/// stops the parser.
template <typename Event> void forward(void* context, const char* callback, Event event) noexcept {
    auto* parser = static_cast<xmlParserCtxt*>(context);
    try {
        auto* manager = static_cast<XmlMgr*>(parser->_private);
        if (manager == nullptr) {
            ZRN_LOG_FOR(callback, 'E', "No XML Manager provided.");
            return;
        }
        event(*manager);
    } catch (...) {
        stopParser(parser);
        // The memory that the event lacked may be missing for the log line too.
        try {
            ZRN_LOG_FOR(callback, 'E', "The document can't be taken in; parsing stops.");
        } catch (...) {
            return;
        }
    }
}

void startElementCB(void* context, const xmlChar* name, const xmlChar** attributes) {
    forward(context, __func__, [&](XmlMgr& manager) {
        manager.startElement(std::string(textOf(name)));
        if (attributes == nullptr) {
            return;
        }
        for (const xmlChar** entry = attributes; entry[0] != nullptr && entry[1] != nullptr; entry += 2) {
            const WipedString value(trimmed(textOf(entry[1])));
            manager.addAttribute(std::string(trimmed(textOf(entry[0]))), value.str());
        }
    });
}

void endElementCB(void* context, const xmlChar* name) {
    forward(context, __func__, [&](XmlMgr& manager) { manager.endElement(std::string(textOf(name))); });
}

void elementValueCB(void* context, const xmlChar* characters, int length) {
    forward(context, __func__, [&](XmlMgr& manager) {
        std::string_view piece =
            trimmed({reinterpret_cast<const char*>(characters), static_cast<std::size_t>(length)});
        if (piece.empty()) {
            // Most pieces of an indented document; nothing of it is left to wipe.
            manager.setElementValue({});
            return;
        }
        piece = trimmed(piece.substr(0, piece.find('\0')));
        const WipedString value(piece);
        manager.setElementValue(value.str());
    });
}

/// Logs what the parser has to say. The verdict on the document is xmlParseDocument's result alone.
void errorCB(void* /*context*/, const char* format, ...) {
    char message[kMessageBytes] = "";
    va_list arguments;
    va_start(arguments, format);
    formatBoundedV(message, sizeof message, format, arguments);
    va_end(arguments);
    try {
        ZRN_LOG('E', "xml errorCB: %s", message);
    } catch (...) {
        return; // nothing is left to tell it with
    }
}

/// Newer libraries pass over an entity of the document type that they don't know, and over each reference to
/// what it may have declared; to us, as to their elders, such a document is not good.
xmlEntityPtr parameterEntityCB(void* context, const xmlChar* name) {
    errorCB(context, "PEReference: %%%s; not found\n", reinterpret_cast<const char*>(name));
    stopParser(static_cast<xmlParserCtxt*>(context));
    return nullptr;
}

/// Parses what stands in the context. @return true for a well-formed document.
[[nodiscard]] bool parseDocument(xmlParserCtxt& context, XmlMgr* manager) {
    context._private = manager;
    // The parser keeps the general entities that a document declares, and expands them, only in a document
    // that it has made itself; with one given, each is undefined and costs neither memory nor time.
    context.myDoc = xmlNewDoc(nullptr);
    if (context.myDoc == nullptr) {
        ZRN_LOG_CODE_FOR("startParser", 'E', "xmlNewDoc", GLOBAL_ERROR_NULL_POINTER, nullptr);
        return false;
    }
    // With `initialized` left at 0 the parser uses the element callbacks with flat attribute arrays.
    xmlSAXHandler handler = {};
    handler.startElement = &startElementCB;
    handler.endElement = &endElementCB;
    handler.characters = &elementValueCB;
    handler.error = &errorCB;
    if (LIBXML_VERSION >= 21400) {
        handler.getParameterEntity = &parameterEntityCB;
    }
    const SaxHandlerScope scope(context, handler);
    const int result = xmlParseDocument(&context);
    if (result != 0) {
        ZRN_LOG_CODE_FOR("startParser", 'E', "xmlParseDocument", result, nullptr);
    }
    return result == 0;
}

[[nodiscard]] uint32_t parseText(std::string_view input, XmlMgr* manager) {
    const std::size_t start = input.find_first_not_of(kBlanks);
    if (start == std::string_view::npos) {
        return GLOBAL_ERROR_UNEXPECTED;
    }
    const WipedString text(input.substr(start));
    const DocumentSource source;
    // libxml2 counts the bytes of a document in an int.
    const ParserContextHandle context(
        text.size() > INT_MAX ? nullptr
                              : xmlCreateMemoryParserCtxt(text.c_str(), static_cast<int>(text.size())));
    if (!context) {
        ZRN_LOG_CODE_FOR("startParser", 'E', "xmlCreateMemoryParserCtxt", GLOBAL_ERROR_NULL_POINTER, nullptr);
        return GLOBAL_ERROR_UNEXPECTED;
    }
    return parseDocument(*context, manager) ? 0 : GLOBAL_ERROR_UNEXPECTED;
}

[[nodiscard]] uint32_t parseFile(const std::string& path, XmlMgr* manager) {
    const DocumentSource source(path);
    const ParserContextHandle context(xmlCreateFileParserCtxt(path.c_str()));
    if (!context) {
        ZRN_LOG_CODE_FOR("startParser", 'E', "xmlCreateFileParserCtxt", GLOBAL_ERROR_NULL_POINTER, nullptr);
        return GLOBAL_ERROR_UNEXPECTED;
    }
    const bool wellFormed = parseDocument(*context, manager);
    return wellFormed && !source.readFailed() ? 0 : GLOBAL_ERROR_UNEXPECTED;
}

} // namespace

ZMTSaxParser::ZMTSaxParser(XmlMgr* manager) : m_pManager(manager) {}

uint32_t ZMTSaxParser::startParser(const std::string& input, unsigned mode) {
    if (input.empty() || (mode != kParseText && mode != kParseFile)) {
        return GLOBAL_ERROR_UNEXPECTED;
    }
    try {
        DocumentSource::initializeLibrary();
        const XmlMessageScope messages(&errorCB);
        return mode == kParseText ? parseText(input, m_pManager) : parseFile(input, m_pManager);
    } catch (const std::exception& exception) {
        ZRN_LOG('E', "The document can't be parsed: %s", exception.what());
        return GLOBAL_ERROR_UNEXPECTED;
    }
}
