#pragma once

#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlLoader.h"

#include <optional>
#include <string>
#include <vector>

/// A request as the engine takes it from a file.
struct ReadRequest {
    std::vector<std::string> ids;
    std::string comment;
};

/// Nothing for a file that the engine refuses.
[[nodiscard]] inline std::optional<ReadRequest> readRequest(const std::string& path) {
    MEROXmlLoader loader;
    std::list<MEROXmlObject*> trees;
    if (loader.load(path, kLoadFile, trees) == nullptr) {
        return std::nullopt;
    }
    ReadRequest request;
    const MEROComponent& root = *trees.front()->GetRoot();
    for (const MEROComponent* child : root.getChildren()) {
        if (child->getName() == "file") {
            const MEROAttribute* id = child->FindAttribute("id");
            request.ids.push_back(id == nullptr ? "no id" : id->getValue());
        }
    }
    if (const MEROComponent* comments = root.FindChild("comments")) {
        request.comment = comments->getValue();
    }
    return request;
}
