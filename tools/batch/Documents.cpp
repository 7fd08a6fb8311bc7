#include "tools/batch/Documents.h"

#include "foundation/Path.h"
#include "platform/types/ContentTypes.h"

namespace quarry::tools {
namespace {

/// Whether a folder is one document, as its name says.
bool isPackage(const std::string& path) {
    const std::u16string name = halden::stringFromPathBytes(path);
    return !halden::pathExtension(name).empty() && halden::contentTypeOfFile(name) != u"public.folder";
}

}  // namespace

DocumentWalk batchWalkOf(const Invocation& invocation) {
    return {invocation.files, {invocation.batch.include, invocation.batch.exclude}, isPackage};
}

std::unique_ptr<BatchInput> batchInputOf(const Invocation& invocation, int standardInput, int stop) {
    const BatchOperation& operation = *findBatchOperation(invocation.batch.operation);
    if (invocation.files.empty()) {
        return std::make_unique<LineInput>(standardInput, stop, operation);
    }
    return std::make_unique<WalkInput>(batchWalkOf(invocation), operation);
}

}  // namespace quarry::tools
