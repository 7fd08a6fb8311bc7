// Where LibreOffice is.
#pragma once

#include <string>

namespace halden {

struct OfficeInstallation {
    std::string folder;   ///< of its programs and libraries; empty when word-processor documents cannot be read
    std::string product;  ///< "LibreOffice 7.4"; empty when it does not say
    std::string reason;   ///< why they cannot be read
};

/// LibreOffice in the folder that $QUARRY_LIBREOFFICE names, else where distributions and its makers put it.
[[nodiscard]] OfficeInstallation findOfficeInstallation();

/// Path of the worker quarry-office in the installation that the running program belongs to.
[[nodiscard]] std::string officeWorkerPath();

}  // namespace halden
