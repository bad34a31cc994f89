"""Library objects (recordsets, dictionaries, collections, controls) as Python objects.

Members are reached by name, without regard to case. Properties read and
written as attributes where the class is known (``rs.RecordCount``,
``rs.Filter = "Tag = 'DWGNO'"``); every other member is a method
(``rs.MoveNext()``). ``obj[key]`` is the default member (``Item``),
``obj.get(name, *args)``, ``obj.set(name, value, *args)`` and
``obj.invoke(name, *args)`` reach any member explicitly.
"""

from . import _vantrove as _core

_CLASSES = {}


def _register(cls):
    for name in cls._class_names:
        _CLASSES[name.lower()] = cls
    return cls


def wrap(handle):
    """The Python object for a library object of any class."""
    cls = _CLASSES.get(handle.class_name.lower(), Object)
    obj = cls.__new__(cls)
    object.__setattr__(obj, "_vantrove_handle", handle)
    return obj


class _Member:
    """A member of a library object, called as a method."""

    __slots__ = ("_handle", "_name")

    def __init__(self, handle, name):
        self._handle = handle
        self._name = name

    def __call__(self, *args):
        return self._handle.invoke(self._name, _core.METHOD, list(args))

    def __repr__(self):
        return f"<member {self._name} of {self._handle.class_name}>"


class Object:
    """A library object; subclasses name the members that are properties."""

    __slots__ = ("_vantrove_handle",)
    _class_names = ()
    _properties = frozenset()

    def __init__(self):
        if not self._class_names:
            raise TypeError(f"{type(self).__name__} objects come from the library; they cannot be created")
        object.__setattr__(self, "_vantrove_handle", _core.Handle.create(self._class_names[0]))

    @property
    def class_name(self):
        """The library's class name of the object ("Recordset", "Dictionary", ...)."""
        return self._vantrove_handle.class_name

    def invoke(self, member, *args):
        """Calls a member as a method."""
        return self._vantrove_handle.invoke(member, _core.METHOD, list(args))

    def get(self, member, *args):
        """Reads a property (with arguments when it takes some)."""
        return self._vantrove_handle.invoke(member, _core.PROPERTY_GET, list(args))

    def set(self, member, value, *args):
        """Writes a property."""
        self._vantrove_handle.invoke(member, _core.PROPERTY_PUT, list(args) + [value])

    def __getattr__(self, name):
        if name.startswith("_"):
            raise AttributeError(name)
        if name.lower() in self._properties:
            return self.get(name)
        return _Member(self._vantrove_handle, name)

    def __setattr__(self, name, value):
        if name.startswith("_"):
            raise AttributeError(f"{name} cannot be set")
        self.set(name, value)

    def __getitem__(self, key):
        return self.get("Item", *(key if isinstance(key, tuple) else (key,)))

    def __setitem__(self, key, value):
        self.set("Item", value, *(key if isinstance(key, tuple) else (key,)))

    def __call__(self, *args):
        return self.get("", *args)

    def __eq__(self, other):
        return isinstance(other, Object) and self._vantrove_handle == other._vantrove_handle

    def __hash__(self):
        return hash(self._vantrove_handle)

    def __repr__(self):
        return f"<vantrove.{type(self).__name__} {self.class_name}>"


class _Counted(Object):
    __slots__ = ()

    def __len__(self):
        return self.get("Count")


@_register
class Dictionary(_Counted):
    """Keys and items in the order they were added (Add, Item, Exists, Keys,
    Items, Count, Remove, RemoveAll, CompareMode). ``key in d``, ``len(d)``,
    ``d[key]`` and iteration over the keys work as for a dict."""

    __slots__ = ()
    _class_names = ("Dictionary", "Scripting.Dictionary")
    _properties = frozenset({"count", "comparemode"})

    def __contains__(self, key):
        return self.get("Exists", key)

    def __iter__(self):
        return iter(self.get("Keys"))


@_register
class Collection(_Counted):
    """Items numbered from 1, with optional keys (Add, Item, Count, Remove).
    Iteration yields the items."""

    __slots__ = ()
    _class_names = ("Collection",)
    _properties = frozenset({"count"})

    def __iter__(self):
        return (self[i] for i in range(1, len(self) + 1))


@_register
class TextBox(Object):
    """An in-memory text box: its Text property."""

    __slots__ = ()
    _class_names = ("TextBox",)
    _properties = frozenset({"text"})


@_register
class Recordset(Object):
    """Rows of fields with a cursor (MoveFirst, MoveNext, AddNew, Update, Open,
    Close, Filter, RecordCount, BOF, EOF, Fields, ...). Iteration yields each
    row from the first as a dict of field name to value, leaving the cursor
    after the last."""

    __slots__ = ()
    _class_names = ("Recordset", "ADODB.Recordset")
    _properties = frozenset({"recordcount", "bof", "eof", "state", "absoluteposition", "filter",
                             "activeconnection", "cursortype", "locktype", "cursorlocation", "fields"})

    def __iter__(self):
        if self.RecordCount == 0:
            return
        self.MoveFirst()
        names = [f.Name for f in self.Fields]
        while not self.EOF:
            yield {n: self.get("Collect", n) for n in names}
            self.MoveNext()


@_register
class Fields(_Counted):
    """The fields of a recordset: ``rs.Fields[0]``, ``rs.Fields["Tag"]``, Append, Count."""

    __slots__ = ()
    _class_names = ()
    _properties = frozenset({"count"})

    def __iter__(self):
        return (self[i] for i in range(len(self)))


_CLASSES["fields"] = Fields


class Field(Object):
    """One field of the current row: Name, Value, Type, DefinedSize, ActualSize, Attributes."""

    __slots__ = ()
    _properties = frozenset({"name", "value", "type", "definedsize", "actualsize", "attributes",
                             "originalvalue", "underlyingvalue"})


_CLASSES["field"] = Field
