// Messages that anybody may have put into the stream, and the lines of standard input that become such messages: what
// is understood is understood the same when it has been written and read again.
#include "queue/MergedResults.h"
#include "queue/WorkMessage.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

using namespace quarry;

void require(bool condition) {
    if (!condition) std::abort();
}

void checkShard(std::string_view message) {
    const auto shard = queue::shardOf(message);
    if (!shard) return;
    const auto again = queue::shardOf(queue::messageOf(*shard));
    require(again && again->path == shard->path && again->offset == shard->offset && again->length == shard->length &&
            again->first == shard->first);
}

void checkRequest(std::string_view line) {
    const auto& standard = *tools::findBatchOperation("document");
    const auto request = tools::batchRequestFromJson(line, 7, standard);
    require(request.operation != nullptr);
    if (!request.problem.empty()) return;
    require(request.path.starts_with('/'));
    const std::string message = queue::messageOf(request);
    const auto again = tools::batchRequestFromJson(message, 7, standard);
    require(again.problem.empty() && again.path == request.path && again.operation == request.operation);
    require(again.hasOwnId == request.hasOwnId && again.key() == request.key());
    require(queue::messageOf(again) == message);
    require(queue::identifierOf("job", message) == queue::identifierOf("job", queue::messageOf(again)));
}

void checkKey(std::string_view text) {
    const auto key = queue::resultKeyFrom(text);
    const auto again = queue::resultKeyFrom(queue::textOf(key));
    require(again.sequence == key.sequence && again.line == key.line);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(bytes), size);
    checkShard(text);
    checkRequest(text);
    checkKey(text);
    return 0;
}
