#pragma once

#include "Common/Utility/memory/Handles.h"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/tree.h>
#include <libxml/xmlIO.h>
#include <memory>

/// Lets a parser context go together with the document that libxml2 may have hung on it.
struct ParserContextRelease {
    void operator()(xmlParserCtxt* context) const noexcept {
        xmlFreeDoc(context->myDoc);
        context->myDoc = nullptr;
        xmlFreeParserCtxt(context);
    }
};

/// A parser context; its own SAX handler must stand in it again when it is let go.
using ParserContextHandle = std::unique_ptr<xmlParserCtxt, ParserContextRelease>;

/// An input buffer that no input stream has taken over yet.
using ParserInputBufferHandle = std::unique_ptr<xmlParserInputBuffer, Releaser<&xmlFreeParserInputBuffer>>;

/// Puts a SAX handler into a context and the former one back at its end. Must not outlive either.
class SaxHandlerScope {
public:
    SaxHandlerScope(xmlParserCtxt& context, xmlSAXHandler& handler) noexcept
        : m_context(context), m_pFormer(context.sax) {
        m_context.sax = &handler;
    }
    ~SaxHandlerScope() { m_context.sax = m_pFormer; }
    SaxHandlerScope(const SaxHandlerScope&) = delete;
    SaxHandlerScope& operator=(const SaxHandlerScope&) = delete;

private:
    xmlParserCtxt& m_context;
    xmlSAXHandler* m_pFormer;
};

/// Sends what libxml2 says outside of any context, which would go to standard error, to `receiver` instead.
/// Concerns the calling thread only; the former receivers come back at the end.
class XmlMessageScope {
public:
    explicit XmlMessageScope(xmlGenericErrorFunc receiver) noexcept
        : m_formerReceiver(xmlGenericError), m_pFormerContext(xmlGenericErrorContext),
          m_formerStructured(xmlStructuredError), m_pFormerStructuredContext(xmlStructuredErrorContext) {
        // A structured receiver would take the messages away from the SAX handler too.
        xmlSetStructuredErrorFunc(nullptr, nullptr);
        xmlSetGenericErrorFunc(nullptr, receiver);
    }
    ~XmlMessageScope() {
        xmlSetGenericErrorFunc(m_pFormerContext, m_formerReceiver);
        xmlSetStructuredErrorFunc(m_pFormerStructuredContext, m_formerStructured);
    }
    XmlMessageScope(const XmlMessageScope&) = delete;
    XmlMessageScope& operator=(const XmlMessageScope&) = delete;

private:
    xmlGenericErrorFunc m_formerReceiver;
    void* m_pFormerContext;
    xmlStructuredErrorFunc m_formerStructured;
    void* m_pFormerStructuredContext;
};
