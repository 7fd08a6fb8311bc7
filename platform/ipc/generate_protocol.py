#!/usr/bin/env python3
"""Makes the two sides of an interface from its introspection file.

    generate_protocol.py INTERFACE.xml OUTPUT_FOLDER INCLUDE_PREFIX

writes OUTPUT_FOLDER/NAME.h and NAME.cpp, NAME being the annotation org.quarry.Protocol of the file's one interface:
the abstract class NAME with a pure virtual function a method, nameProtocol(), NAMERootObject (the serving side's
dispatcher) and NAMEProxy (the calling side, of the same abstract class). INCLUDE_PREFIX is the folder by which the
header is included.

A function is called like its wire member, with the case of the selector's first letter. Arguments keep their order,
except that flags move into an options structure, which comes last.
"""

import re
import sys
import xml.etree.ElementTree as ElementTree
from pathlib import Path

# Type: the annotation, its D-Bus type, ArgumentType's enumerator, C++ type, C++ parameter, C++ nullable parameter.
TYPES = {
    "flag": ("b", "flag", "bool", None, None),
    "string": ("v", "string", "std::u16string", "std::u16string_view", "const std::optional<std::u16string>&"),
    "URL": ("v", "url", "std::u16string", "std::u16string_view", "const std::optional<std::u16string>&"),
    "data": ("v", "data", "Data", "const Data&", "const std::optional<Data>&"),
    "dictionary": ("v", "dictionary", "Dictionary", "const Dictionary&", "const std::optional<Dictionary>&"),
    "array": ("v", "array", "Array", "const Array&", "const std::optional<Array>&"),
    "value": ("v", "value", "Value", "const Value&", "const std::optional<Value>&"),
}


class Mistake(Exception):
    pass


def annotations(element):
    return {a.get("name"): a.get("value") for a in element.findall("annotation")}


class Argument:
    def __init__(self, element, method):
        self.name = element.get("name", "")
        if not re.fullmatch(r"[a-z][A-Za-z0-9]*", self.name):
            raise Mistake(f"{method}: an argument needs a name in camel case")
        notes = annotations(element)
        self.type = notes.get("org.quarry.Type")
        self.nullable = notes.get("org.quarry.Nullable") == "true"
        if self.type not in TYPES:
            raise Mistake(f"{method}.{self.name}: org.quarry.Type {self.type!r} is none of {', '.join(TYPES)}")
        if self.is_flag and self.nullable:
            raise Mistake(f"{method}.{self.name}: a flag cannot be nullable")
        wanted = "av" if self.nullable else TYPES[self.type][0]
        if element.get("type") != wanted:
            raise Mistake(f"{method}.{self.name}: its type must be {wanted!r}")

    @property
    def is_flag(self):
        return self.type == "flag"

    @property
    def plain(self):
        return TYPES[self.type][2]

    @property
    def parameter(self):
        return f"{TYPES[self.type][4 if self.nullable else 3]} {self.name}"


class Method:
    def __init__(self, element):
        self.member = element.get("name")
        if not re.fullmatch(r"[A-Z][A-Za-z0-9]*", self.member):
            raise Mistake(f"{self.member}: a method's name is in camel case and begins with a capital")
        self.selector = annotations(element).get("org.quarry.Selector")
        if not self.selector:
            raise Mistake(f"{self.member}: org.quarry.Selector is missing")
        arguments = element.findall("arg")
        self.arguments = [Argument(a, self.member) for a in arguments if a.get("direction", "in") == "in"]
        results = [Argument(a, self.member) for a in arguments if a.get("direction", "in") == "out"]
        if len(results) != 1:
            raise Mistake(f"{self.member}: there must be one result")
        self.result = results[0]
        if self.selector.count(":") != len(self.arguments):
            raise Mistake(f"{self.member}: the selector takes another number of arguments")

    @property
    def function(self):
        return self.member if self.selector[0].isupper() else self.member[0].lower() + self.member[1:]

    @property
    def options(self):
        return [a for a in self.arguments if a.is_flag]

    @property
    def options_type(self):
        return self.member + "Options"

    @property
    def result_type(self):
        return f"std::optional<{self.result.plain}>" if self.result.nullable else self.result.plain

    @property
    def parameters(self):
        parameters = [a.parameter for a in self.arguments if not a.is_flag]
        if self.options:
            parameters.append(f"{self.options_type} options")
        return ", ".join(parameters)

    @property
    def signature(self):
        return f"{self.result_type} {{}}{self.function}({self.parameters})"


class Interface:
    def __init__(self, path):
        root = ElementTree.parse(path).getroot()
        interfaces = root.findall("interface")
        if len(interfaces) != 1:
            raise Mistake("there must be one interface")
        self.element = interfaces[0]
        self.interface = self.element.get("name")
        self.name = annotations(self.element).get("org.quarry.Protocol")
        if not self.name or not re.fullmatch(r"[A-Z][A-Za-z0-9]*", self.name):
            raise Mistake("org.quarry.Protocol must be a class name")
        self.methods = [Method(m) for m in self.element.findall("method")]
        for element in self.element.iter():
            element.text = element.tail = None
        self.introspection = f"<node>{ElementTree.tostring(self.element, encoding='unicode')}</node>"

    @property
    def protocol_function(self):
        return self.name[0].lower() + self.name[1:] + "Protocol"


HEADER = """\
// Generated by generate_protocol.py from {source}. Do not edit.
#pragma once

#include "platform/ipc/RootObject.h"
#include "platform/ipc/RootProxy.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace halden {{

{options}
/// The protocol {name}: {selectors}.
///
/// Both the object that is vended and the proxy that stands for it are of this class. A proxy's functions also throw
/// ConnectionException.
class {name} {{
public:
    virtual ~{name}() = default;

{functions}

protected:
    {name}() = default;
    {name}(const {name}&) = default;
    {name}& operator=(const {name}&) = default;
}};

/// The description of {name}, interface {interface}.
[[nodiscard]] const Protocol& {protocol}();

/// Vends an implementation of {name}.
class {name}RootObject : public RootObject {{
public:
    explicit {name}RootObject(std::shared_ptr<{name}> implementation);
    [[nodiscard]] std::optional<Value> invoke(std::size_t method, const Arguments& arguments) override;

private:
    std::shared_ptr<{name}> implementation_;
}};

/// {name} as another process carries it out.
class {name}Proxy final : public {name} {{
public:
    /// `rootProxy` must not be null. Its protocol is left as it is.
    explicit {name}Proxy(std::shared_ptr<RootProxy> rootProxy) noexcept : rootProxy_(std::move(rootProxy)) {{}}

    [[nodiscard]] const std::shared_ptr<RootProxy>& rootProxy() const noexcept {{ return rootProxy_; }}

{overrides}

private:
    [[nodiscard]] std::optional<Value> call(std::size_t method, const Arguments& arguments) const;

    std::shared_ptr<RootProxy> rootProxy_;
}};

}}  // namespace halden
"""

SOURCE = """\
// Generated by generate_protocol.py from {source}. Do not edit.
#include "{prefix}{name}.h"

#include <utility>

namespace halden {{

const Protocol& {protocol}() {{
    static const Protocol protocol = Protocol::fromIntrospection(R"xml({introspection})xml", "{interface}").value();
    return protocol;
}}

{name}RootObject::{name}RootObject(std::shared_ptr<{name}> implementation)
    : RootObject({protocol}()), implementation_(std::move(implementation)) {{}}

std::optional<Value> {name}RootObject::invoke(std::size_t method, [[maybe_unused]] const Arguments& arguments) {{
    switch (method) {{
{cases}
        default: return std::nullopt;
    }}
}}

std::optional<Value> {name}Proxy::call(std::size_t method, const Arguments& arguments) const {{
    return rootProxy_->invoke({protocol}(), {protocol}().methods()[method], arguments);
}}

{proxies}
}}  // namespace halden
"""


def documentation(method):
    return f"    /// {method.selector}\n"


def options_structures(interface):
    text = ""
    for method in interface.methods:
        if method.options:
            fields = "".join(f"    bool {o.name} = false;\n" for o in method.options)
            text += f"/// The flags of {method.selector}\nstruct {method.options_type} {{\n{fields}}};\n\n"
    return text


def unpacked(argument, index):
    """The C++ expression of argument number `index` of a call that is being dispatched."""
    if argument.type == "value":
        return f"arguments[{index}]" if argument.nullable else f"*arguments[{index}]"
    if not argument.nullable:
        return f"*arguments[{index}]->as<{argument.plain}>()"
    return (f"arguments[{index}] ? std::optional<{argument.plain}>(*arguments[{index}]->as<{argument.plain}>())"
            " : std::nullopt")


def dispatch_case(number, method):
    values = [unpacked(a, i) for i, a in enumerate(method.arguments) if not a.is_flag]
    if method.options:
        flags = ", ".join(f".{a.name} = {unpacked(a, i)}" for i, a in enumerate(method.arguments) if a.is_flag)
        values.append(f"{method.options_type}{{{flags}}}")
    call = f"implementation_->{method.function}({', '.join(values)})"
    if not method.result.nullable or method.result.type == "value":
        return f"        case {number}: return {call};"
    return (f"        case {number}: {{\n            auto result = {call};\n"
            "            if (!result) return std::nullopt;\n"
            "            return Value(std::move(*result));\n        }")


def packed(argument):
    if argument.is_flag:
        return f"options.{argument.name}"
    if argument.type == "value":
        return argument.name
    if argument.nullable:
        return f"{argument.name} ? std::optional<Value>(*{argument.name}) : std::nullopt"
    return f"Value({argument.name})"


def proxy_function(interface, number, method):
    lines = [method.signature.format(interface.name + "Proxy::") + " {", "    Arguments arguments;"]
    if method.arguments:
        lines.append(f"    arguments.reserve({len(method.arguments)});")
    lines += [f"    arguments.emplace_back({packed(a)});" for a in method.arguments]
    if method.result.type == "value":
        end = "" if method.result.nullable else ".value()"
        lines.append(f"    return call({number}, arguments){end};")
    else:
        constant = "const " if method.result.is_flag else ""
        lines.append(f"    {constant}auto result = call({number}, arguments);")
        if method.result.nullable:
            lines.append("    if (!result) return std::nullopt;")
        content = f"*result->as<{method.result.plain}>()"
        lines.append(f"    return {content};" if method.result.is_flag else f"    return std::move({content});")
    return "\n".join(lines) + "\n}\n"


def generate(source, folder, prefix):
    interface = Interface(source)
    common = {"source": Path(source).name, "name": interface.name, "interface": interface.interface,
              "protocol": interface.protocol_function, "prefix": prefix}
    functions = "\n".join(documentation(m) + f"    virtual {m.signature.format('')} = 0;" for m in interface.methods)
    overrides = "\n".join(f"    {m.signature.format('')} override;" for m in interface.methods)
    header = HEADER.format(**common, options=options_structures(interface), functions=functions, overrides=overrides,
                           selectors=", ".join(m.selector for m in interface.methods))
    text = SOURCE.format(**common, introspection=interface.introspection,
                         cases="\n".join(dispatch_case(i, m) for i, m in enumerate(interface.methods)),
                         proxies="\n".join(proxy_function(interface, i, m) for i, m in enumerate(interface.methods)))
    folder = Path(folder)
    folder.mkdir(parents=True, exist_ok=True)
    (folder / f"{interface.name}.h").write_text(header, encoding="utf-8")
    (folder / f"{interface.name}.cpp").write_text(text, encoding="utf-8")


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    try:
        generate(*sys.argv[1:])
    except (Mistake, ElementTree.ParseError, OSError) as mistake:
        sys.exit(f"{sys.argv[1]}: {mistake}")


main()
