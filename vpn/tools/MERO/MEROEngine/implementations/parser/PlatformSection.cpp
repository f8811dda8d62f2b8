#include "tools/MERO/MEROEngine/implementations/parser/PlatformSection.h"

#include "Common/Utility/SystemIdentity.h"

namespace {

bool isThisPlatform(const std::string& opsys) {
    return (opsys == "mac" && isMac()) || (opsys == "win" && isWindows()) || (opsys == "linux" && isLinux());
}

} // namespace

MEROComponent* findPlatformSection(const MEROComponent& instructions) {
    for (MEROComponent* child : instructions.getChildren()) {
        const MEROAttribute* opsys = child->FindAttribute("opsys");
        if (child->getName() == "os" && opsys != nullptr && isThisPlatform(opsys->getValue())) {
            return child;
        }
    }
    return nullptr;
}
