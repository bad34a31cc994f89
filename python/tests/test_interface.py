"""The module's face: methods in interface order, names, parameters, help, binding errors."""

import inspect
import json

import pytest

import vantrove
from conftest import needs


def module_methods():
    return [n for n, f in vars(vantrove.Vantrove).items() if callable(f) and not n.startswith("_") and n != "Invoke"]


def test_methods_in_the_order_the_tool_lists(cli):
    listed = json.loads(cli("methods", "--json").stdout)
    assert module_methods() == [m["name"] for m in listed]
    assert len(module_methods()) == 127
    for m, info in zip(listed, vantrove.interface()):
        assert [p["name"] for p in m["params"]] == [p["name"] for p in info["params"]]
        assert int(m["dispid"], 16) == info["dispid"]


def test_signature_keeps_names_and_declared_defaults():
    sig = inspect.signature(vantrove.Vantrove.CreateBlockAttributeArray)
    assert list(sig.parameters) == ["self", "vArr", "lngDrawingSpace", "strLayout", "strBlock", "strLayer",
                                    "lngDrawingField", "blnIncludeHeadings", "varAttributeTags"]
    assert sig.parameters["vArr"].default is inspect.Parameter.empty
    assert sig.parameters["blnIncludeHeadings"].default is True
    assert sig.parameters["strBlock"].default == ""
    assert sig.parameters["varAttributeTags"].default is vantrove.Missing
    web = inspect.signature(vantrove.Vantrove.Web_TwoDArrayToHTMLTable)
    assert web.parameters["intWidthPct"].default == 100
    sort = inspect.signature(vantrove.Vantrove.SortTwoDArray)
    assert sort.parameters["SortOrder"].kind is inspect.Parameter.VAR_POSITIONAL


def test_help_shows_help_string_and_declaration():
    doc = vantrove.Vantrove.CreateBlockAttributeArray.__doc__
    assert doc.startswith("Method to extract block attribute tags and values")
    assert "Function CreateBlockAttributeArray(ByRef vArr As Variant" in doc
    assert "DISPID 0x6003000e" in doc
    text = pydoc_text(vantrove.Vantrove.CreateBlockAttributeArray)
    assert "CreateBlockAttributeArray(self, vArr, lngDrawingSpace=0" in text


def pydoc_text(obj):
    import pydoc
    return pydoc.plain(pydoc.render_doc(obj))


def test_keywords_any_order_and_omitted_optionals(v):
    text = vantrove.Ref("")
    assert v.OneDArrayToText(strEndOfRowChar=";", varArray=["a", "b"], strText=text) == 1
    assert text.value == "a;b"
    text = vantrove.Ref("")
    assert v.OneDArrayToText(["a", "b"], text, ";", strEndOfArrayChar="|", blnQuotes=True) == 1
    assert text.value == '"a";"b"|'


def test_missing_marker_takes_the_default(v):
    text = vantrove.Ref("")
    assert v.OneDArrayToText(["a"], text, ";", vantrove.Missing, True) == 1
    assert text.value == '"a"'


@pytest.mark.parametrize("call, number", [
    (lambda v: v.Nope(), 438),
    (lambda v: v.OpenDrawing(), 449),
    (lambda v: v.Version(1), 450),
    (lambda v: v.FileExists("/", strFile="/"), 450),
    (lambda v: v.FileExists(strFolder="/"), 448),
    (lambda v: v.Invoke("NoSuchMethod"), 438),
    (lambda v: v.FileExists({"a": 1}), 13),
    (lambda v: v.FileExists(object()), 13),
])
def test_late_binding_errors_carry_number_and_text(v, call, number):
    with pytest.raises(vantrove.Error) as caught:
        call(v)
    assert caught.value.number == number
    assert caught.value.description
    assert str(caught.value).startswith(f"error {number}: ")


def test_errors_are_also_the_python_exceptions():
    v = vantrove.Vantrove()
    with pytest.raises(AttributeError):
        v.Nope
    with pytest.raises(TypeError):
        v.OpenDrawing()
    assert not hasattr(v, "Nope")


def test_type_mismatch_from_the_library(v):
    with pytest.raises(vantrove.ArgumentError) as caught:
        v.SortOneDArray([3, 1], lngSortOrder="down")
    assert caught.value.number == 13


def test_unavailable_member_raises_445(v):
    missing = [m["name"] for m in vantrove.interface() if not m["implemented"]]
    if not missing:
        pytest.skip("every member is available in this build")
    info = next(m for m in vantrove.interface() if m["name"] == missing[0])
    with pytest.raises(vantrove.NotAvailableError) as caught:
        getattr(v, info["name"])(*[vantrove.Empty] * len(info["params"]))
    assert caught.value.number == 445


def test_invoke_by_name_and_dispid(v):
    assert v.Invoke("version") == v.Version() == vantrove.__version__
    assert v.Invoke(0x60030000) == v.Version()
    assert v.Invoke("FileExists", "/") is True


@needs("SortTwoDArray")
def test_param_array_takes_the_rest(v):
    rows = [["n", "v"], [2, "b"], [1, "a"], [3, "c"]]
    assert v.SortTwoDArray(rows, True, 0, "dec") == 1
    assert rows == [["n", "v"], [3, "c"], [2, "b"], [1, "a"]]
