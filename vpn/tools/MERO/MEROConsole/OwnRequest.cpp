#include "tools/MERO/MEROConsole/OwnRequest.h"

int OwnRequest::write(ItemSelection& items) {
    const int error = m_folder.make();
    if (error != 0) {
        return error;
    }
    m_writer.emplace(&items, nullptr, m_folder.path() + "/request");
    m_writer->run();
    return 0;
}

// Ids are written as they stand, so that these would end the attribute, or come back from the parser as
// blanks. An ampersand does no harm: an attribute of the configuration keeps it as a reference.
std::string faultOfId(const std::string& id) {
    if (id.find_first_of("\"<\t\n\r") != std::string::npos) {
        return "a request can't carry an id with a \", a <, a tab or a line end";
    }
    if (id == "summary" || id == "comments") {
        return "in a request this id stands for a file that every bundle has";
    }
    return {};
}
