#include "tools/MERO/MEROEngine/implementations/helperUtil/ToldPaths.h"

#include <boost/algorithm/string/replace.hpp>

namespace {

// Both change before a run only, and so need no lock.
std::string g_folder;
std::string g_known;

} // namespace

namespace helperUtil {

void tellFolderAs(const std::string& folder, const std::string& known) {
    g_folder = folder;
    g_known = known;
}

std::string toldText(const std::string& text) {
    return g_folder.empty() ? text : boost::algorithm::replace_all_copy(text, g_folder, g_known);
}

} // namespace helperUtil
