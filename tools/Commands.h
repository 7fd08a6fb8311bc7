// The subcommands. Each prints its results and says how it ended.
#pragma once

#include "tools/Arguments.h"
#include "tools/Output.h"

namespace quarry::tools {

Status metadataCommand(const Invocation& invocation);
Status supportsCommand(const Invocation& invocation);
Status richTextCommand(const Invocation& invocation);
Status writeRtfdCommand(const Invocation& invocation);
Status imageCommand(const Invocation& invocation);
Status posterCommand(const Invocation& invocation);
Status pdfCommand(const Invocation& invocation);
Status pdfDataCommand(const Invocation& invocation);
Status importersCommand(const Invocation& invocation);
Status importerCommand(const Invocation& invocation);
Status applyCommand(const Invocation& invocation);
Status webArchiveCommand(const Invocation& invocation);
Status htmlCommand(const Invocation& invocation);
Status textCommand(const Invocation& invocation);
Status pageCommand(const Invocation& invocation);
Status feedCommand(const Invocation& invocation);
Status batchCommand(const Invocation& invocation);
Status doctorCommand(const Invocation& invocation);

}  // namespace quarry::tools
