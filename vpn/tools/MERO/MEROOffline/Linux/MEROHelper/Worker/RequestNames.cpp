#include "RequestNames.h"

#include "Log.h"
#include "MEROXmlLoader.h"

#include <algorithm>
#include <list>

namespace {

bool staysInBundle(const MEROComponent* name) {
    const std::string& text = name->getValue();
    return text.find('/') == std::string::npos && text.find("..") == std::string::npos;
}

} // namespace

bool namesStayInBundle(const std::string& requestPath) {
    MEROXmlLoader loader;
    std::list<MEROXmlObject*> requests;
    // How many trees there are tells whether it worked.
    static_cast<void>(loader.load(requestPath, kLoadFile, requests));
    std::list<MEROComponent*> names;
    for (const MEROXmlObject* request : requests) {
        request->findAllByName("name", names);
    }
    const bool stay = std::ranges::all_of(names, staysInBundle);
    if (!stay) {
        ZRN_LOG('W', "The request names a file outside of the bundle.");
    }
    return stay;
}
