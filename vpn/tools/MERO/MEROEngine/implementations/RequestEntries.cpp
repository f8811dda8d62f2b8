#include "tools/MERO/MEROEngine/implementations/RequestEntries.h"

#include "Common/Utility/text/StringUtils.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Paths.h"
#include "tools/MERO/MEROEngine/implementations/parser/AttributeText.h"

#include <algorithm>
#include <map>

namespace {

bool leadsOut(const std::string& name) {
    return CStringUtils::hasParentComponent(name) ||
           CStringUtils::hasParentComponent(helperUtil::translatePath(name));
}

bool leadsOutOfBundle(const MEROComponent* entry) {
    const std::string id = attributeOf(*entry, "id");
    if (id != "summary" && id != "comments") {
        return false;
    }
    const MEROComponent* name = entry->FindChild("name");
    return name != nullptr && leadsOut(name->getValue());
}

bool hasTooManyOfOneId(const std::list<MEROComponent*>& entries, std::size_t most) {
    std::map<std::string, std::size_t> counts;
    return std::ranges::any_of(entries, [&counts, most](const MEROComponent* entry) {
        return ++counts[attributeOf(*entry, "id")] > most;
    });
}

} // namespace

std::string objectionToEntries(const std::list<MEROComponent*>& entries, const RequestLimits& limits) {
    if (entries.size() > limits.mostEntries) {
        return "it has more than " + std::to_string(limits.mostEntries) + " entries";
    }
    if (hasTooManyOfOneId(entries, limits.mostOfOneId)) {
        return "it has more than " + std::to_string(limits.mostOfOneId) + " entries of one id";
    }
    return std::ranges::any_of(entries, leadsOutOfBundle) ? "a name leads out of the bundle" : "";
}
