"""The header's enumerations as IntEnums: stp_state_t is StpState, with members
named without their common prefix (StpState.FORWARDING) as long as every name
stays an identifier (SpeedType.SPEED_10M); the *_RANGE_* bounds are left out."""

import enum

from ._library import ffi


def class_name(c_name):
    words = c_name[:-2] if c_name.endswith("_t") else c_name
    return "".join(word.capitalize() for word in words.split("_"))


def _member_names(names):
    split = [name.split("_") for name in names]
    common = 0
    while all(len(words) > common + 1 and words[common] == split[0][common] for words in split):
        common += 1
    while common and not all(words[common].isidentifier() for words in split):
        common -= 1
    return ["_".join(words[common:]) for words in split]


def _enumeration(c_name):
    elements = {name: value for name, value in ffi.typeof(c_name).relements.items()
                if "_RANGE_" not in name}
    ordered = sorted(elements, key=lambda name: (elements[name], name))
    members = [(member, elements[name]) for member, name in zip(_member_names(ordered), ordered)]
    return enum.IntEnum(class_name(c_name), members, module=__name__)


def _enumerations():
    found = {}
    for name in ffi.list_types()[0]:
        if ffi.typeof(name).kind == "enum":
            found[name] = _enumeration(name)
    return found


# C type name ("stp_state_t") to its IntEnum.
BY_C_NAME = _enumerations()
globals().update({enumeration.__name__: enumeration for enumeration in BY_C_NAME.values()})
__all__ = sorted(enumeration.__name__ for enumeration in BY_C_NAME.values())


def from_c(enumeration):
    """A converter of a C value to the enumeration's member, or the int itself when no
    member has it (the C types span every 32-bit value)."""
    members = enumeration._value2member_map_.get
    return lambda value: members(value, value)
