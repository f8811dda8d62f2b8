#include "Common/Utility/log/Log.h"
#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Names.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Paths.h"
#include "tools/MERO/MEROEngine/implementations/MEROAction.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

/// The value has to be exactly this, in this case: anything else leaves an option off.
bool isSwitchedOn(const MEROComponent& element, std::string_view attributeName) {
    const MEROAttribute* attribute = element.FindAttribute(attributeName);
    return attribute != nullptr && attribute->getValue() == "true";
}

constexpr std::array<std::string_view, 4> kPathTags{"path", "plugin", "regis", "regis64"};

bool isPathTag(std::string_view tag) {
    return std::find(kPathTags.begin(), kPathTags.end(), tag) != kPathTags.end();
}

bool isArgumentsTag(std::string_view tag) {
    return tag == "args" || tag == "admin_args";
}

/// What the log says when this child of a tool instruction has children; null where they do no harm.
const char* nestedTagsMessage(std::string_view tag) {
    if (isPathTag(tag)) {
        return "Internal Error: unexpected further nested tags inside the <path></path> tag pairs in "
               "<action></action>.";
    }
    if (isArgumentsTag(tag)) {
        return "Internal Error: unexpected further nested tags inside the <args></args> or "
               "<admin_args></admin_args> tag pairs in <action></action>.";
    }
    if (tag == "temp_out") {
        return "Internal Error: unexpected further nested tags inside the <temp_out></temp_out> tag pairs in "
               "<action></action>";
    }
    return nullptr;
}

void takeArguments(const MEROComponent& element, ExternalActionAttrs& attrs) {
    if (isSwitchedOn(element, "replace_args")) {
        attrs.replaceArguments = true;
    }
    attrs.arguments = element.getValue();
    attrs.commandName = helperUtil::stringBeforeFirst(attrs.arguments, " ");
    if (attrs.commandName.empty()) {
        attrs.commandName = attrs.arguments;
    } else {
        attrs.commandName = helperUtil::stringAfterLast(attrs.commandName, "/");
    }
    attrs.baseName = helperUtil::stringBeforeLast(attrs.commandName, ".", false);
}

/// Adds the folder part of the command line, if it has one, to the tool's folder.
void addCommandFolder(ExternalActionAttrs& attrs) {
    const std::string program = helperUtil::stringBeforeFirst(attrs.arguments, " ");
    const std::string folder = helperUtil::stringBeforeLast(program, "/", false);
    if (folder == attrs.commandName) {
        return;
    }
    if (attrs.path.empty()) {
        attrs.path = folder;
        return;
    }
    // Exactly one "/" between the two; npos + 1 is 0, so a path of nothing but "/" shrinks to that one.
    attrs.path.erase(attrs.path.find_last_not_of('/') + 1);
    attrs.path += '/';
    const std::size_t folderStart = folder.find_first_not_of('/');
    if (folderStart != std::string::npos) {
        attrs.path.append(folder, folderStart);
    }
}

} // namespace

uint32_t MEROAction::parseFileActionAttributes(MEROXmlObject& subtree, FileActionAttrs& attrs) const {
    const MEROComponent* root = subtree.GetRoot();
    if (root == nullptr) {
        ZRN_LOG('E', "rXMLActionSubtree.GetRoot() is NULL");
        return MEROENGINE_ERROR_BAD_PARAMETER;
    }
    const MEROComponent* truncateType = root->FindChild("truncate_type");
    attrs.truncateType = truncateType == nullptr ? std::string() : truncateType->getValue();
    for (const MEROComponent* child : root->getChildren()) {
        if (child->getName() == "clear_log") {
            attrs.clearLog = attrs.clearLog || isSwitchedOn(*child, "apply");
        } else if (child->getName() == "loc") {
            attrs.gatherNewest = attrs.gatherNewest || isSwitchedOn(*child, "gather_newest");
            attrs.path = child->getValue();
            attrs.translatedPath = helperUtil::translatePath(attrs.path);
        }
    }
    return 0;
}

uint32_t MEROAction::parseDirectoryActionAttributes(MEROXmlObject& subtree,
                                                    DirectoryActionAttrs& attrs) const {
    const MEROComponent* root = subtree.GetRoot();
    if (root == nullptr) {
        ZRN_LOG('E', "rXMLActionSubtree.GetRoot() is NULL");
        return MEROENGINE_ERROR_BAD_PARAMETER;
    }
    for (const MEROComponent* child : root->getChildren()) {
        if (child->getName() == "pattern") {
            attrs.patterns.push_back(child->getValue());
        } else if (child->getName() == "loc") {
            attrs.path = child->getValue();
            if (!attrs.path.empty() && attrs.path.back() != '/') {
                attrs.path += '/';
            }
            attrs.translatedPath = helperUtil::translatePath(attrs.path);
        } else {
            ZRN_LOG('E', "Unexpected xml child for directory_copy_action.");
            return MEROENGINE_ERROR_UNEXPECTED;
        }
    }
    return 0;
}

uint32_t MEROAction::parseExternalActionAttributes(MEROXmlObject& subtree, bool adminRun,
                                                   ExternalActionAttrs& attrs) const {
    attrs = ExternalActionAttrs{};
    const MEROComponent* root = subtree.GetRoot();
    if (root == nullptr) {
        ZRN_LOG('E', "rXMLActionSubtree.GetRoot() is NULL");
        return MEROENGINE_ERROR_BAD_PARAMETER;
    }
    bool adminArgsTaken = false;
    for (const MEROComponent* child : root->getChildren()) {
        const std::string& tag = child->getName();
        attrs.tagName = tag;
        const char* nestedTags = nestedTagsMessage(tag);
        if (nestedTags != nullptr && !child->isLeaf()) {
            ZRN_LOG('E', "%s", nestedTags);
            return MEROENGINE_ERROR_INVALID_XML;
        }
        if (isPathTag(tag)) {
            attrs.path = getPath(child);
        } else if (tag == "stdout") {
            attrs.captureStdout = true;
        } else if (tag == "temp_out") {
            attrs.tempOut = child->getValue();
        } else if (tag == "clear_log") {
            if (isSwitchedOn(*child, "apply")) {
                attrs.clearLog = true;
                attrs.clearArguments = child->getValue();
            }
        } else if (isArgumentsTag(tag)) {
            // On an administrator's run admin_args win wherever they stand; on any other they are not there.
            const bool forAdmin = tag == "admin_args";
            const bool wanted = forAdmin ? adminRun : !adminArgsTaken;
            if (wanted) {
                adminArgsTaken = adminArgsTaken || forAdmin;
                takeArguments(*child, attrs);
            }
        } else {
            ZRN_LOG('E', "Internal Error: Unrecognized XML tag.");
            return MEROENGINE_ERROR_UNKNOWN_XML_TAG;
        }
    }
    addCommandFolder(attrs);
    return 0;
}

std::string MEROAction::getPath(const MEROComponent* element) const {
    if (element == nullptr) {
        ZRN_LOG('E', "pDC is NULL");
        return {};
    }
    std::string path;
    if (element->getName() == "path") {
        path = element->getValue();
    } else if (element->getName() == "plugin") {
        path = helperUtil::getExecutableDirectory() + "./plugin";
        if (!element->getValue().empty()) {
            path += "/" + element->getValue();
        }
    } else {
        ZRN_LOG('E', "pDC is of unknown type \"%s\"", element->getName().c_str());
    }
    constexpr std::size_t kShortestQuoted = 3;
    if (path.size() >= kShortestQuoted && path.front() == '"' && path.back() == '"') {
        path = path.substr(1, path.size() - 2);
    }
    return path;
}
