#include "platform/ipc/Protocol.h"

#include "platform/ipc/GPointer.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

namespace halden {
namespace {

constexpr std::size_t kMaxIntrospection = std::size_t{1} << 20;
constexpr const char* kProtocolAnnotation = "org.quarry.Protocol";

// Which element may stand in which, an empty name for the text itself. The transport's own parser relies on it without
// looking, and falls over otherwise.
struct Nesting {
    std::string_view parent;
    std::string_view child;
};
constexpr std::array kNestings = {
    Nesting{"", "node"},
    Nesting{"node", "node"},
    Nesting{"node", "interface"},
    Nesting{"interface", "method"},
    Nesting{"interface", "signal"},
    Nesting{"interface", "property"},
    Nesting{"method", "arg"},
    Nesting{"signal", "arg"},
    Nesting{"node", "annotation"},
    Nesting{"arg", "annotation"},
    Nesting{"interface", "annotation"},
    Nesting{"method", "annotation"},
    Nesting{"signal", "annotation"},
    Nesting{"property", "annotation"},
    Nesting{"annotation", "annotation"},
};
constexpr guint kMaxNesting = 8;

void checkElement(GMarkupParseContext* context, const char* name, const char**, const char**, gpointer,
                  GError** error) {
    const GSList* const stack = g_markup_parse_context_get_element_stack(context);
    const std::string_view parent = stack->next != nullptr ? static_cast<const char*>(stack->next->data) : "";
    const auto isThis = [&](const Nesting& nesting) { return nesting.parent == parent && nesting.child == name; };
    if (std::any_of(kNestings.begin(), kNestings.end(), isThis) &&
        g_slist_length(const_cast<GSList*>(stack)) <= kMaxNesting)
        return;
    g_set_error(error, G_MARKUP_ERROR, G_MARKUP_ERROR_UNKNOWN_ELEMENT, "misplaced <%s>", name);
}

bool isWellNested(const std::string& introspection) {
    static const GMarkupParser kParser = {checkElement, nullptr, nullptr, nullptr, nullptr};
    const auto release = [](GMarkupParseContext* context) { g_markup_parse_context_free(context); };
    const std::unique_ptr<GMarkupParseContext, decltype(release)> context(
        g_markup_parse_context_new(&kParser, static_cast<GMarkupParseFlags>(0), nullptr, nullptr), release);
    return g_markup_parse_context_parse(context.get(), introspection.data(), static_cast<gssize>(introspection.size()),
                                        nullptr) != FALSE &&
           g_markup_parse_context_end_parse(context.get(), nullptr) != FALSE;
}

struct TypeName {
    const char* name;
    ArgumentType type;
};
constexpr std::array kTypeNames = {
    TypeName{"flag", ArgumentType::flag},   TypeName{"string", ArgumentType::string},
    TypeName{"URL", ArgumentType::url},     TypeName{"data", ArgumentType::data},
    TypeName{"array", ArgumentType::array}, TypeName{"dictionary", ArgumentType::dictionary},
    TypeName{"value", ArgumentType::value},
};

std::string annotation(GDBusAnnotationInfo** annotations, const char* name) {
    const char* const text = g_dbus_annotation_info_lookup(annotations, name);
    return text != nullptr ? text : "";
}

GDBusInterfaceInfo* interfaceNamed(GDBusNodeInfo& node, const std::string& name) {
    for (GDBusInterfaceInfo** info = node.interfaces; info != nullptr && *info != nullptr; ++info) {
        if (name.empty() ? !annotation((*info)->annotations, kProtocolAnnotation).empty() : name == (*info)->name)
            return *info;
    }
    return nullptr;
}

std::optional<ArgumentType> typeNamed(const std::string& name) {
    for (const auto& entry : kTypeNames) {
        if (name == entry.name) return entry.type;
    }
    return std::nullopt;
}

std::optional<ProtocolArgument> argumentFromInfo(const GDBusArgInfo& info) {
    ProtocolArgument argument;
    argument.name = info.name != nullptr ? info.name : "";
    argument.nullable = std::strcmp(info.signature, "av") == 0;
    const bool flag = std::strcmp(info.signature, "b") == 0;
    if (!argument.nullable && !flag && std::strcmp(info.signature, "v") != 0) return std::nullopt;
    const std::string name = annotation(info.annotations, "org.quarry.Type");
    const auto type = name.empty() ? (flag ? ArgumentType::flag : ArgumentType::value) : typeNamed(name);
    if (!type || (*type == ArgumentType::flag) != flag) return std::nullopt;
    argument.type = *type;
    return argument;
}

const char* signatureOf(const ProtocolArgument& argument) {
    if (argument.nullable) return "av";
    return argument.type == ArgumentType::flag ? "b" : "v";
}

std::optional<ProtocolMethod> methodFromInfo(const GDBusMethodInfo& info) {
    ProtocolMethod method;
    method.member = info.name;
    method.selector = annotation(info.annotations, "org.quarry.Selector");
    if (method.selector.empty()) method.selector = method.member;
    method.argumentSignature = "(";
    for (GDBusArgInfo** in = info.in_args; in != nullptr && *in != nullptr; ++in) {
        auto argument = argumentFromInfo(**in);
        if (!argument) return std::nullopt;
        method.argumentSignature += signatureOf(*argument);
        method.arguments.push_back(std::move(*argument));
    }
    method.argumentSignature += ')';
    if (info.out_args == nullptr || info.out_args[0] == nullptr || info.out_args[1] != nullptr) return std::nullopt;
    auto result = argumentFromInfo(*info.out_args[0]);
    if (!result) return std::nullopt;
    method.result = std::move(*result);
    method.resultSignature = std::string("(") + signatureOf(method.result) + ")";
    return method;
}

}  // namespace

struct Protocol::Parts {
    std::string name;
    std::string interfaceName;
    std::vector<ProtocolMethod> methods;
    GPointer<GDBusNodeInfo> node;
    GDBusInterfaceInfo* info = nullptr;
};

bool ProtocolArgument::accepts(const std::optional<Value>& value) const noexcept {
    if (!value) return nullable;
    switch (type) {
        case ArgumentType::flag:
            return value->is<bool>();
        case ArgumentType::string:
        case ArgumentType::url:
            return value->is<std::u16string>();
        case ArgumentType::data:
            return value->is<Data>();
        case ArgumentType::dictionary:
            return value->is<Dictionary>();
        case ArgumentType::array:
            return value->is<Array>();
        case ArgumentType::value:
            return true;
    }
    return false;
}

std::optional<Protocol> Protocol::fromIntrospection(std::string_view introspection, std::string_view interfaceName) {
    if (introspection.size() > kMaxIntrospection) return std::nullopt;
    auto parts = std::make_shared<Parts>();
    parts->interfaceName = interfaceName;
    const std::string text(introspection);
    if (!isWellNested(text)) return std::nullopt;
    parts->node.reset(g_dbus_node_info_new_for_xml(text.c_str(), nullptr));
    if (!parts->node) return std::nullopt;
    parts->info = interfaceNamed(*parts->node, parts->interfaceName);
    if (parts->info == nullptr) return std::nullopt;
    parts->interfaceName = parts->info->name;
    parts->name = annotation(parts->info->annotations, kProtocolAnnotation);
    for (GDBusMethodInfo** info = parts->info->methods; info != nullptr && *info != nullptr; ++info) {
        auto method = methodFromInfo(**info);
        if (!method) return std::nullopt;
        parts->methods.push_back(std::move(*method));
    }
    return Protocol(std::move(parts));
}

const std::string& Protocol::name() const noexcept {
    return parts_->name;
}
const std::string& Protocol::interfaceName() const noexcept {
    return parts_->interfaceName;
}
const std::vector<ProtocolMethod>& Protocol::methods() const noexcept {
    return parts_->methods;
}
GDBusInterfaceInfo* Protocol::interfaceInfo() const noexcept {
    return parts_->info;
}

const ProtocolMethod* Protocol::methodForMember(std::string_view member) const noexcept {
    const auto& methods = parts_->methods;
    const auto found =
        std::find_if(methods.begin(), methods.end(), [member](const auto& m) { return m.member == member; });
    return found == methods.end() ? nullptr : &*found;
}

const ProtocolMethod* Protocol::methodForSelector(std::string_view selector) const noexcept {
    const auto& methods = parts_->methods;
    const auto found =
        std::find_if(methods.begin(), methods.end(), [selector](const auto& m) { return m.selector == selector; });
    return found == methods.end() ? nullptr : &*found;
}

}  // namespace halden
