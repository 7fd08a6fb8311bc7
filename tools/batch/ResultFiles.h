// Data of results as files: thumbnails, PDF data, RTFD packages.
#pragma once

#include "platform/ipc/HaldenImExport.h"
#include "tools/batch/Request.h"

#include <string>

namespace quarry::tools {

/// Puts the data in results into files below a folder, and into the results what they are called: {"file":
/// "files/3f/...", "bytes": N, "type": TYPE}. RTFD data become packages, which the helper writes. A name is made of the
/// request, so that the same request gives the same. Used by several threads.
class ResultFiles {
public:
    explicit ResultFiles(std::string folder) : folder_(std::move(folder)) {}

    /// Data that cannot be written stay in the result.
    void keep(halden::HaldenImExportProxy& helper, const BatchRequest& request, halden::Value& result) const;

private:
    [[nodiscard]] bool writeFile(const std::string& path, const halden::Data& data) const;

    std::string folder_;
};

}  // namespace quarry::tools
