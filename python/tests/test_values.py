"""Values crossing between Python and the library, through real methods."""

import datetime
import decimal

import pytest

import vantrove
from vantrove import _vantrove as core
from conftest import needs


@pytest.mark.parametrize("value, type_name", [
    ("text", "String"), ("", "String"), ("Grundriß ✓", "String"),
    (7, "Long"), (-2**31, "Long"), (2**31, "Double"), (1.5, "Double"),
    (True, "Boolean"), (False, "Boolean"), (None, "Null"), (vantrove.Empty, "Empty"),
    (decimal.Decimal("12.3456"), "Currency"), (datetime.datetime(2024, 1, 31, 13, 5), "Date"),
    (datetime.date(2024, 1, 31), "Date"), (datetime.time(6, 30), "Date"),
    ([1, 2], "Variant()"), ([[1, 2], [3, 4]], "Variant()"), ((1, "a"), "Variant()"), ([], "Variant()"),
])
def test_each_python_type_arrives_as_its_variant(value, type_name):
    assert core.type_name(value) == type_name


@pytest.mark.parametrize("value", [
    "a", 0, -7, 2**31 - 1, 0.1, 1e300, True, False, None, vantrove.Empty,
    decimal.Decimal("-922337203685477.5808"), decimal.Decimal("1.5000"),
    datetime.datetime(2024, 2, 29, 23, 59, 59, 500000), datetime.datetime(1899, 12, 30),
    datetime.datetime(1899, 12, 29, 6, 0), datetime.datetime(1700, 3, 1, 18, 30),
    [[1, "x"], [None, 2.5]], [1, [2, 3], "z"], [],
])
def test_values_round_trip(value):
    assert core.to_variant_and_back(value) == value


def test_ragged_rows_are_a_list_of_arrays():
    assert core.to_variant_and_back([[1, 2], [3]]) == [[1, 2], [3]]
    assert core.to_variant_and_back(([1], (2,))) == [[1], [2]]


def test_currency_rounds_half_even_and_refuses_overflow():
    assert core.to_variant_and_back(decimal.Decimal("0.00005")) == decimal.Decimal("0")
    assert core.to_variant_and_back(decimal.Decimal("0.00015")) == decimal.Decimal("0.0002")
    with pytest.raises(vantrove.Error) as caught:
        core.to_variant_and_back(decimal.Decimal("1e20"))
    assert caught.value.number == 6
    with pytest.raises(OverflowError):
        core.to_variant_and_back(decimal.Decimal("NaN"))


def test_huge_int_overflows():
    with pytest.raises(vantrove.Error) as caught:
        core.to_variant_and_back(10**400)
    assert caught.value.number == 6


def test_unsupported_values_are_type_mismatches():
    for value in ({"a": 1}, {1, 2}, b"bytes", object()):
        with pytest.raises(vantrove.ArgumentError) as caught:
            core.to_variant_and_back(value)
        assert caught.value.number == 13


def test_numpy_arrays_and_scalars():
    np = pytest.importorskip("numpy")
    grid = np.arange(6, dtype=np.int64).reshape(2, 3)
    assert core.to_variant_and_back(grid) == [[0, 1, 2], [3, 4, 5]]
    assert core.to_variant_and_back(np.array([0.5, 1.5])) == [0.5, 1.5]
    assert core.to_variant_and_back(np.array([["a", "b"]], dtype=object)) == [["a", "b"]]
    assert core.type_name(np.float32(2.5)) == "Double"
    assert core.type_name(np.int16(3)) == "Long"
    assert core.to_variant_and_back(np.bool_(True)) is True
    assert core.to_variant_and_back(np.zeros((2, 0))) == [[], []]
    with pytest.raises(vantrove.Error):
        core.to_variant_and_back(np.zeros((2, 2, 2)))


def test_numpy_2d_through_a_writer(v):
    np = pytest.importorskip("numpy")
    text = vantrove.Ref("")
    assert v.TwoDArrayToText(np.array([[1.5, 2.0], [3.0, 4.25]]), text, ",", "\n") == 1
    assert text.value == "1.5,2\n3,4.25\n"


# ---- every parameter kind, through real methods

def test_string_boolean_and_variant_parameters(v, tmp_path):
    path = tmp_path / "out.csv"
    rows = [["Tag", "Value"], ["DWGNO", "A-101"], ["DATE", datetime.datetime(2026, 3, 2)],
            ["COST", decimal.Decimal("12.5")], ["OK", True], ["N", 3]]
    assert v.TwoDArrayToTextFile(rows, str(path), ";", blnQuotes=True) == 1
    assert path.read_bytes().decode() == (
        '"Tag";"Value"\r\n"DWGNO";"A-101"\r\n"DATE";"3/2/2026"\r\n"COST";"12.5"\r\n"OK";"True"\r\n"N";"3"\r\n')


def test_integer_and_enumeration_parameters(v):
    table = vantrove.Ref("")
    assert v.TwoDArrayToHTMLTable([["a"]], table, lngTableAlign=2, intBorder=3, intWidthPct=50) == 1
    assert table.value.startswith("<TABLE ALIGN=RIGHT BORDER=3 ") and "WIDTH='50%'" in table.value
    with pytest.raises(vantrove.Error) as caught:
        v.TwoDArrayToHTMLTable([["a"]], vantrove.Ref(""), intBorder=70000)
    assert caught.value.number == 6


def test_enumeration_parameter_changes_the_result(v):
    up, down = [3, 1, 2], [3, 1, 2]
    assert v.SortOneDArray(up) == 1
    assert v.SortOneDArray(down, lngSortOrder=1) == 1
    assert up == [1, 2, 3] and down == [3, 2, 1]


def test_result_codes_come_back_as_they_are(v):
    assert v.TwoDArrayToText("not an array", vantrove.Ref(""), ",", "\n") == -1
    assert v.TwoDArrayToText([[None]], vantrove.Ref(""), ",", "\n") == 0  # Null cannot become text
    assert v.OpenDrawing("/no/such/drawing.dwg") != "OK"
    assert v.FileExists("/no/such/file") is False
    assert v.FixXML("/no/such/file.xml") is None


# ---- by reference

def test_list_passed_for_an_array_is_filled_in_place(v, tmp_path):
    path = tmp_path / "t.txt"
    path.write_text("a,b\r\n1,2\r\n", encoding="utf-8")
    rows = []
    assert v.TextFileToArray(str(path), rows, ",") == 1
    assert rows == [["a", "b"], ["1", "2"]]
    lines = []
    assert v.MultiLineTextToOneDArray("x,y", lines) == 1
    assert lines[:2] == ["x", "y"]


def test_list_left_alone_when_the_method_does_not_change_it(v):
    stamp = datetime.date(2024, 1, 1)
    rows = [[stamp, (1, 2)]]
    assert v.TwoDArrayToText(rows, vantrove.Ref(""), ",", "\n") in (0, 1)
    assert rows == [[stamp, (1, 2)]] and isinstance(rows[0][0], datetime.date)


def test_ref_receives_by_reference_results(v, tmp_path):
    path = tmp_path / "lines.txt"
    path.write_text("first\r\nlast\r\n", encoding="utf-8")
    name = vantrove.Ref(str(path))
    lines = vantrove.Ref([])
    assert v.TextFileToOneDArray(name, lines) == 1
    assert lines.value[:2] == ["first", "last"]
    assert name.value == "last"  # the path variable ends holding the last line, as documented
    assert repr(vantrove.Ref(1)) == "vantrove.Ref(1)"


def test_plain_values_for_by_reference_parameters_stay_unchanged(v):
    text = ""
    assert v.TwoDArrayToText([["a"]], text, ",", "\n") == 1
    assert text == ""


def test_ref_of_tuple_gets_a_list(v):
    data = vantrove.Ref((3, 1, 2))
    assert v.SortOneDArray(data) == 1
    assert data.value == [1, 2, 3]


# ---- objects in and out

def test_objects_in_and_out(v):
    box = vantrove.TextBox()
    box.Text = "one\ntwo"
    lines = []
    assert v.TextBoxToOneDArray(box, lines) == 1
    assert lines == ["one", "two"]
    assert v.TextBoxToOneDArray(vantrove.Dictionary(), lines) == -1  # not a text box


def test_dictionary_and_collection_objects():
    d = vantrove.Dictionary()
    d.Add("k", 1)
    d["n"] = [1, 2]
    inner = vantrove.Collection()
    inner.Add("x", "key")
    d.Add("c", inner)
    assert len(d) == 3 and "k" in d and list(d) == ["k", "n", "c"]
    assert d["n"] == [1, 2]
    back = d["c"]
    assert isinstance(back, vantrove.Collection) and back == inner and back["KEY"] == "x"
    assert list(inner) == ["x"]
    assert d.Items()[0] == 1
    with pytest.raises(vantrove.Error) as caught:
        d.Add("k", 2)
    assert caught.value.number == 457
    with pytest.raises(vantrove.Error) as caught:
        inner[5]
    assert caught.value.number == 9


@needs("TwoDArrayToDictionary")
def test_array_into_a_dictionary(v):
    d = vantrove.Dictionary()
    assert v.TwoDArrayToDictionary([["a", 1], ["b", 2]], d) == 1
    assert len(d) == 2


@needs("TwoDArrayToCollection")
def test_array_into_a_collection(v):
    c = vantrove.Collection()
    assert v.TwoDArrayToCollection([["a", 1], ["b", 2]], c) == 1
    assert len(c) >= 1


@needs("CreateRecordsetFromArray")
def test_recordset_returned(v):
    rs = v.CreateRecordsetFromArray([["Tag", "Value"], ["A", "1"]])
    assert isinstance(rs, vantrove.Recordset)


def test_one_object_shared_by_threads(v):
    from concurrent.futures import ThreadPoolExecutor

    def sort(n):
        data = list(range(n, 0, -1))
        assert v.SortOneDArray(data) == 1
        return data == sorted(data)

    with ThreadPoolExecutor(4) as pool:
        assert all(pool.map(sort, [2000] * 16))


def test_recordset_passed_in_is_filled_and_read_back(v, tmp_path):
    path = tmp_path / "rows.xml"
    path.write_text('<?xml version="1.0"?>\n<Rows><Row><Tag>DWGNO</Tag><Value>A-101</Value></Row>'
                    "<Row><Tag>REV</Tag><Value>C</Value></Row></Rows>\n", encoding="utf-8")
    rs = vantrove.Recordset()
    assert v.XMLFileToRecordset(str(path), rs) == 2
    assert rs.RecordCount == 2 and [f.Name for f in rs.Fields][:2] == ["Tag", "Value"]
    assert [(r["Tag"], r["Value"]) for r in rs] == [("DWGNO", "A-101"), ("REV", "C")]
    rs.Filter = "Tag = 'REV'"
    assert rs.RecordCount == 1 and rs.Fields("Value").Value == "C" and rs.Fields["Tag"].Value == "REV"
    field = rs.Fields[0]
    assert isinstance(field, vantrove.Field) and field.Name == "Tag"
    with pytest.raises(vantrove.MemberError):
        rs.NoSuchMember()
