#pragma once

#include "tools/MERO/MEROConsole/ItemSelection.h"
#include "tools/MERO/MEROConsole/PrivateFolder.h"
#include "tools/MERO/MEROOffline/Common/GenerateReqXML.h"

#include <optional>
#include <string>

/// A request file of one run alone, in a folder of its own below /tmp: the name that the wizard uses is
/// shared by all jobs of a minute. File and folder go with this object.
class OwnRequest {
public:
    /// Writes the items that are selected and the comment to the file.
    /// @return 0 or an errno; with 0 the engine's word tells whether all of it could be written.
    [[nodiscard]] int write(ItemSelection& items);
    /// Path of the file once write has given 0.
    [[nodiscard]] std::string path() const { return m_writer->getRequestPath(); }

private:
    // In this order, so that the folder is empty when it goes.
    PrivateFolder m_folder;
    std::optional<GenerateReqXML> m_writer;
};

/// Why no request can ask for the item of an id that the configuration has; empty if one can.
[[nodiscard]] std::string faultOfId(const std::string& id);
