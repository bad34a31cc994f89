"""Vantrove for Python: AutoCAD drawings (DWG, DXF) and tabular data.

``vantrove.Vantrove()`` is one clsVantrove object; its 127 methods are
Python methods under their own names, in interface order, with their own
parameter names::

    import vantrove
    v = vantrove.Vantrove()
    print(v.OpenDrawing("plan.dwg"))             # "OK" or the drawing's status text
    rows = []
    v.CreateBlockAttributeArray(rows, strBlock="TITLE")
    v.CloseDrawing()

Values cross as Python values: str, int, float, bool, None (Null),
datetime (Date), decimal.Decimal (Currency), lists and lists of lists
(arrays; NumPy arrays too), and library objects (Recordset, Dictionary,
Collection, TextBox). A list passed where a method fills an array is filled
in place; ``Ref(value)`` receives any other by-reference result. Methods
return their result codes as they are; late-binding errors raise
``vantrove.Error`` (with ``number`` and ``description``).
"""

import enum as _enum

from . import _vantrove as _core
from ._binding import Ref, build_class
from ._errors import ArgumentError, Error, MemberError, NotAvailableError
from ._objects import Collection, Dictionary, Field, Fields, Object, Recordset, TextBox, wrap as _wrap

Empty = _core.Empty
Missing = _core.Missing

_core.set_object_wrapper(_wrap)

# The public enumerations, as IntEnum classes (vantrove.ChapterType) and as
# plain constants (vantrove.dwgBlocksAndAttributes), as scripts write them.
_ENUMERATIONS = []
for _name, _constants in _core.enumerations():
    globals()[_name] = _enum.IntEnum(_name, _constants, module=__name__)
    _ENUMERATIONS.append(_name)
    for _constant, _value in _constants:
        globals().setdefault(_constant, getattr(globals()[_name], _constant))


class Vantrove:
    """One clsVantrove object: the library's automation class. It owns one
    drawing engine and at most one open drawing, which it closes when it is
    released."""

    __slots__ = ("_component",)

    def __init__(self):
        self._component = _core.Component()

    def __getattr__(self, name):
        if name.startswith("__"):
            raise AttributeError(name)
        raise MemberError(438, f"Object doesn't support this property or method: {name}")

    def Invoke(self, member, *args):
        """Calls a method late-bound by name (any case) or DISPID, with its
        arguments in order; by-reference results go into lists and Refs."""
        method = _find(member)
        return getattr(self, method["name"])(*args)


build_class(Vantrove)


def _find(member):
    for method in interface():
        if isinstance(member, str):
            if method["name"].lower() == member.lower():
                return method
        elif method["dispid"] == member:
            return method
    raise MemberError(438, f"Object doesn't support this property or method: {member}")


_INTERFACE = None


def interface():
    """The methods of clsVantrove in interface order: dicts with position,
    dispid, name, result, params, help, declaration, implemented."""
    global _INTERFACE
    if _INTERFACE is None:
        _INTERFACE = _core.interface()
    return _INTERFACE


def methods():
    """The names of the 127 methods in interface order."""
    return [m["name"] for m in interface()]


def version():
    """The library's version (what Vantrove().Version() returns)."""
    return Vantrove().Version()


def __getattr__(name):
    if name == "__version__":
        return version()
    raise AttributeError(f"module 'vantrove' has no attribute {name!r}")


__all__ = ["Vantrove", "Ref", "Empty", "Missing", "Error", "MemberError", "ArgumentError", "NotAvailableError",
           "Object", "Recordset", "Fields", "Field", "Dictionary", "Collection", "TextBox", "interface", "methods",
           "version"] + _ENUMERATIONS
