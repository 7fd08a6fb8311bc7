#include "markup/XmlExtensions.h"

#include "foundation/Exception.h"

#include <cxxabi.h>

#include <utility>

namespace halden {
namespace {

template <class String>
bool parse(String string, TagHandler handler, void* context) {
    try {
        return GetTagsOfString(string, handler, context);
    } catch (...) {
        // What has no C++ type is a forced unwind, or comes from another runtime: it must go on.
        if (abi::__cxa_current_exception_type() == nullptr) throw;
        logCaughtException("parseXmlWithHandler:context:mutable:", "NSString");
        return false;
    }
}

}  // namespace

std::u16string optimizedXml(std::u16string string) noexcept {
    return string;
}

bool parseXmlWithHandler(std::u16string_view string, TagHandler handler, void* context) {
    return parse(string, handler, context);
}

bool parseXmlWithHandler(std::u16string* string, TagHandler handler, void* context) {
    return parse(string, handler, context);
}

}  // namespace halden
