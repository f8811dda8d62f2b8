#include "XmlText.h"

#include <array>
#include <libxml/chvalid.h>
#include <libxml/parserInternals.h>
#include <libxml/xmlstring.h>

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
    const auto* position = reinterpret_cast<const unsigned char*>(text.data());
    std::size_t left = text.size();
    while (left > 0) {
        int length = left < 4 ? static_cast<int>(left) : 4;
        const int character = xmlGetUTF8Char(position, &length);
        if (character < 0 || xmlIsCharQ(static_cast<unsigned>(character)) == 0) {
            return false;
        }
        // An encoding that is longer than it needs to be is decoded here, but refused by parsers.
        if (std::array<xmlChar, 8> shortest{}; xmlCopyCharMultiByte(shortest.data(), character) != length) {
            return false;
        }
        position += length;
        left -= static_cast<std::size_t>(length);
    }
    return true;
}
