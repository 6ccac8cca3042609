"""The dispatch interface in the build's languages, from the member table docs/members.toml: the
body of the interface in the IDL, and the members of the COM class that implements it.

A variable or property has a get, then a put; a method's result is its last parameter.
"""
import json

IDL = {"String": "BSTR", "Long": "long", "Integer": "short", "Boolean": "VARIANT_BOOL",
       "Variant": "VARIANT"}
CPP = IDL | {"Long": "LONG", "Integer": "SHORT"}


def idl(members):
    lines = []

    def add(member, attributes, parameters):
        hidden = ["nonbrowsable"] if member.kind == "variable" else []
        listed = ", ".join([f"id(0x{member.id:08X})", *attributes, *hidden,
                            f"helpstring({json.dumps(member.help)})"])
        lines.extend([f"[{listed}]", f"HRESULT {member.name}({', '.join(parameters)});", ""])

    for member in members:
        result = [f"[out, retval] {IDL[member.type]} *result"] if member.type else []
        if member.kind == "method":
            add(member, [], [f"[in] {IDL[argument.type]} {argument.name}" if argument.by_value else
                             f"[in, out] {IDL[argument.type]} *{argument.name}"
                             for argument in member.arguments] + result)
        else:
            add(member, ["propget"], result)
            add(member, ["propput"], [f"[in] {IDL[member.type]} value"])
    return lines


def functions(members):
    """(member, name in C++, parameters) of every slot."""
    for member in members:
        result = [f"{CPP[member.type]}* result"] if member.type else []
        if member.kind == "method":
            yield member, member.name, [
                f"{CPP[argument.type]}{'' if argument.by_value else '*'} {argument.name}"
                for argument in member.arguments] + result
        else:
            yield member, "get_" + member.name, result
            yield member, "put_" + member.name, [f"{CPP[member.type]} value"]


def declarations(members):
    return [f"HRESULT STDMETHODCALLTYPE {name}({', '.join(parameters)}) override;"
            for _, name, parameters in functions(members)]


def body(member, name):
    """How a member of the COM class runs that of the core: see link_object.h, member_call.h."""
    if name.startswith("put_") and member.kind != "method":
        value = {"String": "text_of(value)", "Boolean": "value != VARIANT_FALSE"}.get(
            member.type, "value")
        return f"run_member([&] {{ link_.{member.name}({value}); }})"
    if member.kind != "method":
        result = "TextResult{result}" if member.type == "String" else "result"
        return (f"run_member({result}, [](plexum::PlexumLink& link) "
                f"{{ return link.{member.name}(); }})")
    if not member.type:
        arguments = ", ".join(argument.name for argument in member.arguments)
        return f"run_member([&] {{ link_.{member.name}({arguments}); }})"
    arguments = [f"{'bytes' if argument.bytes else 'text'}({argument.name})"
                 for argument in member.arguments]
    return f"run_member({', '.join(['result', f'&plexum::PlexumLink::{member.name}', *arguments])})"


def definitions(members):
    lines = ['#include "activex/link_object.h"', "", "namespace plexum::activex {", ""]
    for member, name, parameters in functions(members):
        lines += [f"HRESULT LinkObject::{name}({', '.join(parameters)}) {{",
                  f"  return {body(member, name)};", "}", ""]
    return lines + ["}  // namespace plexum::activex"]
