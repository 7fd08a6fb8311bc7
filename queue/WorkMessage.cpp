#include "queue/WorkMessage.h"

#include "foundation/Json.h"
#include "foundation/Path.h"
#include "foundation/Unicode.h"

#include <fmt/format.h>

namespace quarry::queue {
namespace {

using halden::Dictionary;
using halden::Value;

std::optional<std::uint64_t> number(const Dictionary& message, std::u16string_view key) {
    const Value* value = message.find(key);
    const auto* integer = value != nullptr ? value->as<std::int64_t>() : nullptr;
    return integer != nullptr && *integer >= 0 ? std::optional(static_cast<std::uint64_t>(*integer)) : std::nullopt;
}

}  // namespace

std::string messageOf(const Shard& shard) {
    return halden::jsonFromValue(Value(Dictionary{{u"shard", halden::stringFromPathBytes(shard.path)},
                                                  {u"offset", static_cast<std::int64_t>(shard.offset)},
                                                  {u"length", static_cast<std::int64_t>(shard.length)},
                                                  {u"first", static_cast<std::int64_t>(shard.first)}}));
}

std::string messageOf(const tools::BatchRequest& request) {
    Dictionary message{{u"op", halden::utf16FromUtf8(request.operation->name)},
                       {u"path", halden::stringFromPathBytes(request.path)}};
    if (request.hasOwnId) {
        message.set(u"id", request.id);
    }
    for (const auto& [key, value] : request.fields) {
        message.set(key, value);
    }
    return halden::jsonFromValue(Value(std::move(message)));
}

std::optional<Shard> shardOf(std::string_view message) {
    const auto value = halden::valueFromJson(message);
    const auto* dictionary = value ? value->as<Dictionary>() : nullptr;
    const Value* name = dictionary != nullptr ? dictionary->find(u"shard") : nullptr;
    const auto* text = name != nullptr ? name->as<std::u16string>() : nullptr;
    const auto path = text != nullptr ? halden::pathBytesFromString(*text) : std::nullopt;
    if (!path) {
        return std::nullopt;
    }
    const auto offset = number(*dictionary, u"offset");
    const auto length = number(*dictionary, u"length");
    const auto first = number(*dictionary, u"first");
    return offset && length && first ? std::optional(Shard{*path, *offset, *length, *first}) : std::nullopt;
}

std::string identifierOf(std::string_view job, std::string_view message) {
    std::uint64_t low = 0xCBF29CE484222325;
    std::uint64_t high = 0x9AE16A3B2F90404F;
    for (const char byte : message) {
        low = (low ^ static_cast<unsigned char>(byte)) * 0x100000001B3;
        high = (high + static_cast<unsigned char>(byte)) * 0x9E3779B97F4A7C15;
        high ^= high >> 29;
    }
    return fmt::format("{}-{:016x}{:016x}", job, high, low);
}

}  // namespace quarry::queue
