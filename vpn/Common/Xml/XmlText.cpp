#include "Common/Xml/XmlText.h"

#include <boost/locale/utf.hpp>
#include <libxml/chvalid.h>

namespace {

constexpr const char* kSoapEncodingNamespace = "http://schemas.xmlsoap.org/encoding/";
constexpr const char* kSchemaInstanceNamespace = "http://www.w3.org/2001/XMLSchema-instance";

} // namespace

XmlAttributes schemaAttributes(const std::string& schemaFile) {
    return {{"xmlns", kSoapEncodingNamespace},
            {"xmlns:xsi", kSchemaInstanceNamespace},
            {"xsi:schemaLocation", std::string(kSoapEncodingNamespace) + " " + schemaFile}};
}

bool isXmlText(std::string_view text) {
    using Utf8 = boost::locale::utf::utf_traits<char>;
    for (auto position = text.begin(); position != text.end();) {
        const boost::locale::utf::code_point character = Utf8::decode(position, text.end());
        if (!boost::locale::utf::is_valid_codepoint(character) || xmlIsCharQ(character) == 0) {
            return false;
        }
    }
    return true;
}
