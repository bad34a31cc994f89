"""The methods of clsVantrove as Python methods, made from the interface table.

Each method takes its parameters under their own names, positionally or as
keywords; a left-out optional parameter takes its declared default. By
reference parameters hand back what the call wrote: into a list passed for
an array (filled in place) or into a ``Ref``. Binding errors carry the
classic numbers: 448 named argument not found, 449 argument not optional,
450 wrong number of arguments.
"""

import inspect

from . import _errors
from . import _vantrove as _core


class Ref:
    """A by-reference argument: holds a value before the call and what the
    method wrote into it afterwards (``ref.value``)."""

    __slots__ = ("value",)

    def __init__(self, value=_core.Empty):
        self.value = value

    def __repr__(self):
        return f"vantrove.Ref({self.value!r})"


def _python_default(param):
    if param["param_array"]:
        return inspect.Parameter.empty
    return param["default"] if param["optional"] else inspect.Parameter.empty


def _signature(method):
    params = [inspect.Parameter("self", inspect.Parameter.POSITIONAL_OR_KEYWORD)]
    for p in method["params"]:
        if p["param_array"]:
            params.append(inspect.Parameter(p["name"], inspect.Parameter.VAR_POSITIONAL))
        else:
            params.append(inspect.Parameter(p["name"], inspect.Parameter.POSITIONAL_OR_KEYWORD,
                                            default=_python_default(p)))
    return inspect.Signature(params)


def _docstring(method):
    lines = [method["help"] or method["name"], "", method["declaration"]]
    lines.append(f"Position {method['position']}, DISPID {method['dispid']:#x}.")
    by_ref = [p["name"] for p in method["params"] if p["by_ref"] and not p["param_array"]]
    if by_ref:
        lines.append("By reference: " + ", ".join(by_ref) +
                     " (pass a list for an array, or vantrove.Ref(value), to receive what the method writes).")
    if not method["implemented"]:
        lines.append("Not available in this build: calling it raises error 445.")
    return "\n".join(lines)


def _bind(method, args, kwargs):
    """The argument list in parameter order, Missing where left out."""
    name = method["name"]
    params = method["params"]
    fixed = [p for p in params if not p["param_array"]]
    has_rest = len(fixed) < len(params)
    if len(args) > len(fixed) and not has_rest:
        raise _errors.error_for(_errors.WRONG_ARGUMENT_COUNT,
                                f"Wrong number of arguments: {name} takes at most {len(fixed)} arguments, not {len(args)}")
    values = list(args[:len(fixed)]) + [_core.Missing] * (len(fixed) - min(len(args), len(fixed)))
    given = [i < len(args) for i in range(len(fixed))]
    for key, value in kwargs.items():
        index = next((i for i, p in enumerate(fixed) if p["name"] == key), None)
        if index is None:
            index = next((i for i, p in enumerate(fixed) if p["name"].lower() == key.lower()), None)
        if index is None:
            raise _errors.error_for(_errors.NAMED_ARGUMENT_NOT_FOUND, f"Named argument not found: {key} of {name}")
        if given[index]:
            raise _errors.error_for(_errors.WRONG_ARGUMENT_COUNT,
                                    f"Wrong number of arguments: {fixed[index]['name']} of {name} is given twice")
        values[index] = value
        given[index] = True
    for p, value in zip(fixed, values):
        if value is _core.Missing and not p["optional"]:
            raise _errors.error_for(_errors.ARGUMENT_NOT_OPTIONAL, f"Argument not optional: {p['name']} of {name}")
    return values + list(args[len(fixed):])


def _write_back(target, value):
    if isinstance(target, Ref):
        target.value = value
    elif isinstance(target, list):
        target[:] = value if isinstance(value, list) else [value]


def _make_method(method):
    position = method["position"]
    returns = bool(method["result"])

    def call(self, *args, **kwargs):
        values = _bind(method, args, kwargs)
        passed = [v.value if isinstance(v, Ref) else v for v in values]
        result, changed = self._component.call(position, passed)
        for index, value in changed:
            _write_back(values[index], value)
        return result if returns else None

    call.__name__ = call.__qualname__ = method["name"]
    call.__doc__ = _docstring(method)
    call.__signature__ = _signature(method)
    return call


def build_class(base):
    """Adds the interface's methods to ``base`` in interface order."""
    for method in _core.interface():
        setattr(base, method["name"], _make_method(method))
        base.__qualname__ = base.__name__
    return base
