#include "Common/Xml/XmlText.h"

#include "Common/Utility/text/Utf8.h"

#include <libxml/chvalid.h>
#include <optional>

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
    while (!text.empty()) {
        const std::optional<char32_t> character = takeCharacter(text);
        if (!character || xmlIsCharQ(*character) == 0) {
            return false;
        }
    }
    return true;
}
