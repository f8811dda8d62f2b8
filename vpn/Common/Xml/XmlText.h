#pragma once

#include "Common/Xml/SaxWriterIfc.h"

#include <string>
#include <string_view>

/// The attributes with which the root of each document that the suite writes begins: the namespaces, and
/// where the schema is.
/// @param schemaFile  name of the schema.
[[nodiscard]] XmlAttributes schemaAttributes(const std::string& schemaFile);

/// Whether a document can hold a text: UTF-8 without a character that XML doesn't know, as most of the
/// control characters are.
[[nodiscard]] bool isXmlText(std::string_view text);
